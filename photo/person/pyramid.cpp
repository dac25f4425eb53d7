#include "photo/person/pyramid.h"

#include <algorithm>
#include <utility>

namespace qx::photo {
namespace {

// The share of a window that needs to be known for its average to stand alone.
constexpr float kEnough = 0.25f;

Scattered Halved(const Scattered& fine) {
  const int width = (fine.sums.width + 1) / 2, height = (fine.sums.height + 1) / 2;
  Scattered coarse(width, height);
  for (int y = 0; y < height; ++y) {
    const int below = std::min(2 * y + 1, fine.sums.height - 1);
    const bool twoRows = below > 2 * y;
    const Pixel *a = fine.sums.Row(2 * y), *b = fine.sums.Row(below);
    const float *sa = fine.squares.data() + (a - fine.sums.pixels.data()), *sb = sa + (b - a);
    Pixel* to = coarse.sums.Row(y);
    float* square = coarse.squares.data() + (to - coarse.sums.pixels.data());
    for (int x = 0; x < width; ++x) {
      const int left = 2 * x, right = left + 1;
      Pixel sum = a[left];
      float squares = sa[left];
      if (right < fine.sums.width) sum += a[right], squares += sa[right];
      if (twoRows) {
        sum += b[left], squares += sb[left];
        if (right < fine.sums.width) sum += b[right], squares += sb[right];
      }
      to[x] = sum * 0.25f;
      square[x] = squares * 0.25f;
    }
  }
  return coarse;
}

// The averages with the variance behind them, and between them what the coarser level says.
Field Settle(const Scattered& level, const Field* coarser) {
  Field settled(level.sums.width, level.sums.height);
  std::vector<FieldRow> rows;
  if (coarser) rows.emplace_back(*coarser, settled.width, 0.5);
  for (int y = 0; y < settled.height; ++y) {
    const Pixel* wide = coarser ? rows[0].At(y) : nullptr;
    const Pixel* from = level.sums.Row(y);
    const float* square = level.squares.data() + (from - level.sums.pixels.data());
    Pixel* to = settled.Row(y);
    for (int x = 0; x < settled.width; ++x) {
      const float weight = from[x][3];
      if (weight <= 0) {
        to[x] = wide ? wide[x] : Pixel{};
        continue;
      }
      const float part = 1 / weight;
      Pixel mean = from[x] * part;
      mean[3] = std::max(0.0f, square[x] * part - (mean[0] * mean[0] + mean[1] * mean[1] + mean[2] * mean[2]) / 3);
      const float share = std::min(1.0f, weight / kEnough);
      to[x] = wide ? wide[x] + share * (mean - wide[x]) : mean;
    }
  }
  return settled;
}

}  // namespace

Field FillGaps(Scattered known) {
  std::vector<Scattered> levels;
  levels.push_back(std::move(known));
  while (levels.back().sums.width > 1 || levels.back().sums.height > 1) levels.push_back(Halved(levels.back()));
  Field filled = Settle(levels.back(), nullptr);
  for (size_t i = levels.size() - 1; i-- > 0;) filled = Settle(levels[i], &filled);
  return filled;
}

FieldRow::FieldRow(const Field& field, int width, double scale)
    : field_(field), scale_(scale), line_(static_cast<size_t>(field.width) + 1), row_(static_cast<size_t>(width)) {
  for (int x = 0; x < width; ++x) {
    const double at = std::clamp((x + 0.5) * scale - 0.5, 0.0, field.width - 1.0);
    before_.push_back(static_cast<int>(at));
    fraction_.push_back(static_cast<float>(at - before_.back()));
  }
}

const Pixel* FieldRow::At(int y) {
  const double at = std::clamp((y + 0.5) * scale_ - 0.5, 0.0, field_.height - 1.0);
  const int above = static_cast<int>(at);
  const auto part = static_cast<float>(at - above);
  const Pixel *a = field_.Row(above), *b = field_.Row(std::min(above + 1, field_.height - 1));
  for (int x = 0; x < field_.width; ++x) line_[static_cast<size_t>(x)] = a[x] + part * (b[x] - a[x]);
  line_.back() = line_[line_.size() - 2];
  for (size_t x = 0; x < row_.size(); ++x) {
    const Pixel* from = line_.data() + before_[x];
    row_[x] = from[0] + fraction_[x] * (from[1] - from[0]);
  }
  return row_.data();
}

}  // namespace qx::photo
