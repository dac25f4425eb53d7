#include "photo/foreground/colour_field.h"

#include <algorithm>
#include <cmath>

namespace qx::photo {
namespace {

// Sums of a coarser level and, after the way back, its colours (with the mean square in place of the variance).
struct Level {
  Level(int w, int h)
      : width(w), height(h), values(static_cast<size_t>(w) * static_cast<size_t>(h)), weights(values.size()) {}
  size_t At(int x, int y) const { return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x); }

  int width, height;
  std::vector<FieldColour> values;
  Floats weights;
};

struct View {
  int width, height;
  FieldColour* values;
  float* weights;
};

// A tent over four by four cells (1 3 3 1), those beyond the border left out. The weights stay those of one cell.
Level Halve(const View& from) {
  Level to((from.width + 1) / 2, (from.height + 1) / 2);
  constexpr float kTent[4] = {0.125f, 0.375f, 0.375f, 0.125f};
  const auto stride = static_cast<size_t>(from.width);
  std::vector<FieldColour> row(stride);
  Floats weight(stride);
  for (int y = 0; y < to.height; ++y) {
    std::fill(row.begin(), row.end(), FieldColour{});
    std::fill(weight.begin(), weight.end(), 0.0f);
    for (int i = std::max(0, 1 - 2 * y); i < 4 && 2 * y - 1 + i < from.height; ++i) {
      const int line = 2 * y - 1 + i;
      const size_t start = static_cast<size_t>(line) * stride;
      for (size_t x = 0; x < stride; ++x) {
        for (size_t c = 0; c < 4; ++c) row[x][c] += kTent[i] * from.values[start + x][c];
        weight[x] += kTent[i] * from.weights[start + x];
      }
    }
    for (int x = 0; x < to.width; ++x) {
      FieldColour sum{};
      float total = 0;
      for (int i = std::max(0, 1 - 2 * x); i < 4 && 2 * x - 1 + i < from.width; ++i) {
        const int column = 2 * x - 1 + i;
        const auto at = static_cast<size_t>(column);
        for (size_t c = 0; c < 4; ++c) sum[c] += kTent[i] * row[at][c];
        total += kTent[i] * weight[at];
      }
      to.values[to.At(x, y)] = sum;
      to.weights[to.At(x, y)] = total;
    }
  }
  return to;
}

// What the weights do not reach comes from the coarser level, bilinear between its cells.
void Fill(const View& to, const Level& coarser, float need) {
  const std::vector<CellTap> columns = CellTaps(to.width, 2, coarser.width),
                             rows = CellTaps(to.height, 2, coarser.height);
  size_t i = 0;
  for (const CellTap& y : rows) {
    const FieldColour *upper = coarser.values.data() + coarser.At(0, y.first),
                      *lower = coarser.values.data() + coarser.At(0, y.second);
    for (const CellTap& x : columns) {
      const float weight = to.weights[i], rest = std::max(0.0f, need - weight), part = 1 / (weight + rest);
      const auto left = static_cast<size_t>(x.first), right = static_cast<size_t>(x.second);
      for (size_t c = 0; c < 4; ++c) {
        const float above = upper[left][c] + x.share * (upper[right][c] - upper[left][c]);
        const float below = lower[left][c] + x.share * (lower[right][c] - lower[left][c]);
        to.values[i][c] = (to.values[i][c] + rest * (above + y.share * (below - above))) * part;
      }
      ++i;
    }
  }
}

}  // namespace

std::vector<CellTap> CellTaps(int pixels, int side, int cells) {
  std::vector<CellTap> taps(static_cast<size_t>(pixels));
  const float part = 1 / static_cast<float>(side);
  int i = 0;
  for (CellTap& tap : taps) {
    const float at = std::clamp((static_cast<float>(i++) + 0.5f) * part - 0.5f, 0.0f, static_cast<float>(cells - 1));
    tap.first = static_cast<int>(at);
    tap.second = std::min(tap.first + 1, cells - 1);
    tap.share = at - static_cast<float>(tap.first);
  }
  return taps;
}

ColourField::ColourField(const CellGrid& grid) : grid_(grid), values_(grid.Cells()), weights_(grid.Cells()) {
  std::fill(weights_.begin(), weights_.end(), 0.0f);
}

bool ColourField::Spread(float need) {
  std::vector<Level> levels;
  auto view = [&](size_t level) {
    if (level == 0) return View{grid_.width, grid_.height, values_.data(), weights_.data()};
    Level& coarse = levels[level - 1];
    return View{coarse.width, coarse.height, coarse.values.data(), coarse.weights.data()};
  };
  for (View finest = view(0); finest.width > 1 || finest.height > 1; finest = view(levels.size())) {
    levels.push_back(Halve(finest));
  }
  const View top = view(levels.size());
  if (!(top.weights[0] > 0)) return false;
  for (float& value : top.values[0]) value /= top.weights[0];
  for (size_t level = levels.size(); level-- > 0;) Fill(view(level), levels[level], need);
  for (FieldColour& colour : values_) {
    float square = 0;
    for (size_t c = 0; c < 3; ++c) square += colour[c] * colour[c];
    colour[3] = std::max(0.0f, (colour[3] - square) / 3);
    for (size_t c = 0; c < 3; ++c) colour[c] += kMiddle;
  }
  return true;
}

void ColourField::SpreadNear(float need, const ColourField& otherwise) {
  const int width = grid_.width, height = grid_.height;
  const auto stride = static_cast<size_t>(width);
  // Two rows as they were before: the one above and the one at hand.
  std::vector<FieldColour> above(stride), own(stride);
  Floats weightsAbove(stride), ownWeights(stride);
  std::vector<FieldColour> sums(stride);
  Floats totals(stride);
  std::fill(weightsAbove.begin(), weightsAbove.end(), 0.0f);
  for (int y = 0; y < height; ++y) {
    FieldColour* row = values_.data() + grid_.Cell(0, y);
    float* weight = weights_.data() + grid_.Cell(0, y);
    const bool below = y + 1 < height;
    std::copy_n(row, stride, own.begin());
    std::copy_n(weight, stride, ownWeights.begin());
    for (size_t x = 0; x < stride; ++x) {
      for (size_t c = 0; c < 4; ++c) {
        sums[x][c] = 0.5f * (above[x][c] + (below ? row[stride + x][c] : 0.0f)) + own[x][c];
      }
      totals[x] = 0.5f * (weightsAbove[x] + (below ? weight[stride + x] : 0.0f)) + ownWeights[x];
    }
    for (size_t x = 0; x < stride; ++x) {
      const size_t left = x > 0 ? x - 1 : x, right = std::min(x + 1, stride - 1);
      const float total = totals[x] + 0.5f * (totals[left] + totals[right]);
      const FieldColour& other = otherwise.values_[grid_.Cell(0, y) + x];
      const float rest = std::max(0.0f, need - total), part = 1 / (total + rest);
      FieldColour mean;
      float square = 0, otherSquare = 0;
      for (size_t c = 0; c < 3; ++c) {
        const float sum = sums[x][c] + 0.5f * (sums[left][c] + sums[right][c]), value = other[c] - kMiddle;
        mean[c] = (sum + rest * value) * part;
        square += mean[c] * mean[c];
        otherSquare += value * value;
      }
      const float squares = sums[x][3] + 0.5f * (sums[left][3] + sums[right][3]);
      mean[3] = std::max(0.0f, ((squares + rest * (otherSquare + 3 * other[3])) * part - square) / 3);
      for (size_t c = 0; c < 3; ++c) mean[c] += kMiddle;
      row[x] = mean;
    }
    std::swap(above, own);
    std::swap(weightsAbove, ownWeights);
  }
}

}  // namespace qx::photo
