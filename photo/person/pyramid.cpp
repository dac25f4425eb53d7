#include "photo/person/pyramid.h"

#include <algorithm>
#include <optional>

namespace qx::photo {
namespace {

// The share of a window that needs to be known for its average to stand alone.
constexpr float kEnough = 0.25f;

// Where a pixel of a raster lies in a field of half its size.
struct Between {
  Between(int at, int size) {
    const int doubled = std::clamp(2 * at - 1, 0, 4 * (size - 1));  // in quarters
    before = doubled / 4;
    after = std::min(before + 1, size - 1);
    part = static_cast<float>(doubled % 4) * 0.25f;
  }

  int before, after;
  float part;
};

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

// The averages with the variance behind them, and between them what the coarser level says. `settled` may be the
// level's own sums.
void Settle(const Scattered& level, const Field* coarser, Field* settled) {
  std::optional<FieldRow> rows;
  if (coarser) rows.emplace(*coarser, level.sums.width);
  for (int y = 0; y < level.sums.height; ++y) {
    const Pixel* wide = coarser ? rows->At(y) : nullptr;
    const Pixel* from = level.sums.Row(y);
    const float* square = level.squares.data() + (from - level.sums.pixels.data());
    Pixel* to = settled->Row(y);
    for (int x = 0; x < level.sums.width; ++x) {
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
}

}  // namespace

void FillGaps(const Scattered& known, Field* filled) {
  std::vector<Scattered> coarser;
  const Scattered* last = &known;
  for (; last->sums.width > 1 || last->sums.height > 1; last = &coarser.back()) coarser.push_back(Halved(*last));
  const Field* below = nullptr;
  for (size_t i = coarser.size(); i-- > 0; below = &coarser[i].sums) Settle(coarser[i], below, &coarser[i].sums);
  filled->width = known.sums.width;
  filled->height = known.sums.height;
  filled->pixels.resize(known.sums.pixels.size());
  Settle(known, below, filled);
}

FieldRow::FieldRow(const Field& field, int width)
    : field_(field), line_(static_cast<size_t>(field.width)), row_(static_cast<size_t>(width)) {}

const Pixel* FieldRow::At(int y, int begin, int end) {
  const Between rows(y, field_.height);
  const Pixel *above = field_.Row(rows.before), *below = field_.Row(rows.after);
  const size_t width = line_.size(), last = std::min(static_cast<size_t>(end) / 2 + 1, width);
  size_t x = static_cast<size_t>(std::max(begin - 1, 0)) / 2;
  for (size_t i = x; i < last; ++i) line_[i] = above[i] + rows.part * (below[i] - above[i]);
  // Pixels 2 x + 1 and 2 x + 2 lie between the field's x and x + 1, at a quarter and three quarters.
  if (x == 0) row_[0] = line_[0];
  for (; x + 1 < last && 2 * x + 2 < row_.size(); ++x) {
    const Pixel step = line_[x + 1] - line_[x];
    row_[2 * x + 1] = line_[x] + 0.25f * step;
    row_[2 * x + 2] = line_[x] + 0.75f * step;
  }
  if (2 * width == row_.size()) row_.back() = line_.back();
  return row_.data();
}

Pixel Doubled(const Field& field, int x, int y) {
  const Between rows(y, field.height), columns(x, field.width);
  const Pixel *above = field.Row(rows.before), *below = field.Row(rows.after);
  const auto line = [&](int i) { return above[i] + rows.part * (below[i] - above[i]); };
  const Pixel left = line(columns.before);
  return left + columns.part * (line(columns.after) - left);
}

}  // namespace qx::photo
