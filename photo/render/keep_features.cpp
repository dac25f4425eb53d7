#include "photo/render/keep_features.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <vector>

#include "photo/base/raster.h"
#include "photo/render/feature_weights.h"

namespace qx::photo {
namespace {

constexpr double kCellsBetweenEyes = 40;
constexpr double kLargestCell = 128;   // pixels a side
constexpr double kPoreRadius = 0.012;  // eye distances; what is finer counts as pores
constexpr double kLargestRadius = 80;  // pixels; the sums of a square fit in 32 bits
constexpr float kPores = 0.6f;         // share of the pores that comes back
constexpr float kRelief = 0.25f;       // share of all else of the skin
constexpr double kFullStrength = 2;    // from which on the skin is all smoothed

// The smallest box outside which photograph and part are equal; empty when they are all equal.
PixelBox ChangedBox(const SavedPart& before, const Image& photograph) {
  const PixelBox& box = before.box;
  PixelBox changed{box.right, box.bottom, box.left, box.top};
  const auto same = [&](int32_t left, int32_t right, int32_t y) {
    return left >= right ||
           std::memcmp(before.At(left, y), photograph.At(left, y), 3 * static_cast<size_t>(right - left)) == 0;
  };
  for (int32_t y = box.top; y < box.bottom; ++y) {
    if (same(box.left, box.right, y)) continue;
    if (changed.left >= changed.right) {  // the first row
      changed.left = box.right;
      changed.right = box.left;
      changed.top = y;
    }
    changed.bottom = y + 1;
    if (!same(box.left, changed.left, y)) {
      changed.left = box.left;
      while (same(changed.left, changed.left + 1, y)) ++changed.left;
    }
    if (!same(std::max(changed.right, box.left), box.right, y)) {
      changed.right = box.right;
      while (same(changed.right - 1, changed.right, y)) --changed.right;
    }
  }
  return changed;
}

// Sums of the bytes of a box over the rows of a row of cells, few enough for 16 bits.
class RowSums {
 public:
  explicit RowSums(int32_t columns) : levels_(static_cast<size_t>(columns) * 3), changes_(levels_.size()) {}

  void Clear() {
    std::fill(levels_.begin(), levels_.end(), uint16_t{0});
    std::fill(changes_.begin(), changes_.end(), uint16_t{0});
  }
  void Add(const uint8_t* was, const uint8_t* is) {
    for (size_t i = 0; i < levels_.size(); ++i) {
      levels_[i] = static_cast<uint16_t>(levels_[i] + was[i]);
      changes_[i] = static_cast<uint16_t>(changes_[i] + std::abs(was[i] - is[i]));
    }
  }
  // Of columns `first` to `last` - 1.
  int32_t Level(int first, int last) const { return Sum(levels_, first, last); }
  int32_t Change(int first, int last) const { return Sum(changes_, first, last); }

 private:
  static int32_t Sum(const std::vector<uint16_t>& values, int first, int last) {
    return std::accumulate(values.begin() + 3 * ptrdiff_t{first}, values.begin() + 3 * ptrdiff_t{last}, 0);
  }

  std::vector<uint16_t> levels_, changes_;
};

CellMeans MeanCells(const SavedPart& before, const Image& photograph, const CellGrid& grid) {
  CellMeans means{Raster(grid.Width(), grid.Height(), 1), Raster(grid.Width(), grid.Height(), 1)};
  const PixelBox& box = grid.box;
  RowSums sums(box.Width());
  for (int cellY = 0; cellY < grid.Height(); ++cellY) {
    const int32_t top = box.top + cellY * grid.step, bottom = std::min(top + grid.step, box.bottom);
    sums.Clear();
    for (int32_t y = top; y < bottom; ++y) sums.Add(before.At(box.left, y), photograph.At(box.left, y));
    for (int cellX = 0; cellX < grid.Width(); ++cellX) {
      const int first = cellX * grid.step, last = std::min(first + grid.step, box.Width());
      const auto count = static_cast<float>(3 * (last - first) * (bottom - top));
      *means.level.At(cellX, cellY) = static_cast<float>(sums.Level(first, last)) / count;
      *means.change.At(cellX, cellY) = static_cast<float>(sums.Change(first, last)) / count;
    }
  }
  return means;
}

// A position between the middles of two neighbouring cells.
struct CellPosition {
  CellPosition(int pixel, int step, int cells) {
    const float at = std::max(0.0f, (static_cast<float>(pixel) + 0.5f) / static_cast<float>(step) - 0.5f);
    first = std::min(static_cast<int>(at), cells - 1);
    second = std::min(first + 1, cells - 1);
    share = at - static_cast<float>(first);
  }
  int first, second;
  float share;
};

// The weights of a row of pixels, bilinear between the cells.
class WeightRows {
 public:
  WeightRows(const CellGrid& grid, const Raster& weights)
      : grid_(grid),
        weights_(weights),
        cells_(static_cast<size_t>(weights.width)),
        row_(static_cast<size_t>(grid.box.Width())) {
    columns_.reserve(row_.size());
    for (int x = 0; x < grid.box.Width(); ++x) columns_.emplace_back(x, grid.step, weights.width);
  }

  const float* Row(int32_t y) {
    const CellPosition at(y - grid_.box.top, grid_.step, weights_.height);
    const float *upper = weights_.At(0, at.first), *lower = weights_.At(0, at.second);
    for (size_t i = 0; i < cells_.size(); ++i) cells_[i] = upper[i] + at.share * (lower[i] - upper[i]);
    for (size_t x = 0; x < row_.size(); ++x) {
      const CellPosition& column = columns_[x];
      const float a = cells_[static_cast<size_t>(column.first)], b = cells_[static_cast<size_t>(column.second)];
      row_[x] = a + column.share * (b - a);
    }
    return row_.data();
  }

 private:
  const CellGrid& grid_;
  const Raster& weights_;
  std::vector<CellPosition> columns_;
  std::vector<float> cells_, row_;
};

// Brightness that the retouching took from the pixels of some rows of a box, in 256ths of a level.
struct LostRows {
  const int32_t* Row(int32_t y) const { return values.data() + static_cast<size_t>(y - top) * columns; }

  int32_t top = 0, bottom = 0;
  size_t columns = 0;
  std::vector<int32_t> values;
};

void Measure(const SavedPart& before, const Image& photograph, const PixelBox& box, int32_t top, int32_t bottom,
             LostRows* lost) {
  lost->top = std::max(top, box.top);
  lost->bottom = std::min(bottom, box.bottom);
  lost->columns = static_cast<size_t>(box.Width());
  lost->values.resize(lost->columns * static_cast<size_t>(std::max(lost->bottom - lost->top, 0)));
  int32_t* to = lost->values.data();
  for (int32_t y = lost->top; y < lost->bottom; ++y) {
    const uint8_t *was = before.At(box.left, y), *is = photograph.At(box.left, y);
    for (int x = 0; x < box.Width(); ++x, was += 3, is += 3) {
      *to++ = 29 * (was[0] - is[0]) + 150 * (was[1] - is[1]) + 77 * (was[2] - is[2]);
    }
  }
}

// Means of lost brightness over the square around each pixel of a row, in 256ths of a level. Outside the box nothing
// was lost.
class SquareMeans {
 public:
  SquareMeans(size_t columns, int radius)
      : radius_(radius), sums_(columns + 2 * static_cast<size_t>(radius) + 1), means_(columns) {}

  // Rows of `lost` reach `radius` beyond y, as far as the box goes. Rows of one block are asked for from top to bottom.
  const float* Row(const LostRows& lost, int32_t y) {
    const int32_t first = std::max(y - radius_, lost.top), last = std::min(y + radius_, lost.bottom - 1);
    if (lost.values.data() != block_ || first < first_) {
      std::fill(sums_.begin(), sums_.end(), 0);
      block_ = lost.values.data();
      first_ = last_ = first;
      --last_;
    }
    while (last_ < last) Add<1>(lost.Row(++last_));
    while (first_ < first) Add<-1>(lost.Row(first_++));
    const auto side = 2 * static_cast<size_t>(radius_) + 1;
    const float part = 1 / static_cast<float>(side * side);
    int32_t sum = std::accumulate(sums_.begin(), sums_.begin() + static_cast<ptrdiff_t>(side) - 1, 0);
    for (size_t x = 0; x < means_.size(); ++x) {
      sum += sums_[x + side - 1];
      means_[x] = static_cast<float>(sum) * part;
      sum -= sums_[x];
    }
    return means_.data();
  }

 private:
  template <int kSign>
  void Add(const int32_t* row) {
    int32_t* sums = sums_.data() + radius_;
    for (size_t x = 0; x < means_.size(); ++x) sums[x] += kSign * row[x];
  }

  int32_t radius_;
  const int32_t* block_ = nullptr;
  int32_t first_ = 0, last_ = -1;  // rows in the sums
  std::vector<int32_t> sums_;      // of columns, `radius` more on each side
  std::vector<float> means_;
};

// What the face's own skin lost, in 256ths of a level.
struct SkinLoss {
  float usual;  // of brightness, at the most
  float grain;  // of pores and noise, at the most
};

// Gives the pixels of a row back a share of what they lost, and some brightness beside; what lost nothing stays.
// Skin gets back some relief and more of its pores, all of which fades out where more than the usual was lost: that was
// a spot. Features get back all but a share of their finest texture while that is no stronger than the skin's, so that
// noise does not end at their border.
void GiveBack(const uint8_t* was, const float* weights, const int32_t* lost, const float* coarse, const SkinLoss& skin,
              size_t count, uint8_t* is) {
  const float perUsual = 1 / skin.usual, perGrain = 1 / skin.grain;
  for (size_t x = 0; x < count; ++x, was += 3, is += 3) {
    const int blue = was[0] - is[0], green = was[1] - is[1], red = was[2] - is[2];
    if ((blue | green | red) == 0) continue;
    const auto all = static_cast<float>(lost[x]);
    const float fine = all - coarse[x];
    const float spot = std::max(std::abs(all), 2 * std::abs(coarse[x]));
    const float gate = std::min(std::max(2 - spot * perUsual, 0.0f), 1.0f);
    const float strong = std::min(std::max(std::abs(fine) * perGrain - 1, 0.0f), 1.0f);
    const float rest = (1 - weights[x]) * gate;
    const float share = weights[x] + kRelief * rest;
    const float texture = ((kPores - kRelief) * rest - weights[x] * (1 - kPores) * (1 - strong)) * fine / 256;
    const auto give = [&](int difference, uint8_t* byte) {
      const float value = static_cast<float>(*byte) + share * static_cast<float>(difference) + texture + 0.5f;
      *byte = static_cast<uint8_t>(std::min(std::max(static_cast<int>(value), 0), 255));
    };
    give(blue, is);
    give(green, is + 1);
    give(red, is + 2);
  }
}

}  // namespace

SavedPart SavePart(const Image& photograph, const ProbedFace& face) {
  // The skin's region ends 7.8 eye distances below the eyes and 5.3 beside them.
  const double reach = 8 * EyeDistance(face) + 16;
  const auto clip = [](double at, int32_t extent) {
    return static_cast<int32_t>(std::clamp(at, 0.0, static_cast<double>(extent)));
  };
  const double x = (static_cast<double>(face.keyPoints[0].x) + face.keyPoints[1].x) / 2;
  const double y = (static_cast<double>(face.keyPoints[0].y) + face.keyPoints[1].y) / 2;
  SavedPart part;
  part.box = {clip(x - reach, photograph.width), clip(y - reach, photograph.height), clip(x + reach, photograph.width),
              clip(y + reach, photograph.height)};
  part.image = Image(part.box.Width(), part.box.Height());
  const auto bytes = static_cast<size_t>(part.image.width) * 3;
  for (int32_t row = 0; row < part.image.height && bytes > 0; ++row) {
    std::memcpy(part.image.At(0, row), photograph.At(part.box.left, part.box.top + row), bytes);
  }
  return part;
}

void KeepFeatures(const SavedPart& before, const ProbedFace& face, double strength, Image* photograph) {
  constexpr int32_t kBand = 64;  // rows at a time
  CellGrid grid;
  grid.box = ChangedBox(before, *photograph);
  const double unit = EyeDistance(face);
  if (grid.box.Width() <= 0 || grid.box.Height() <= 0 || unit < 1) return;
  grid.step = static_cast<int>(std::lround(std::clamp(unit / kCellsBetweenEyes, 1.0, kLargestCell)));
  const double share = std::min(strength / kFullStrength, 1.0);
  const FeatureWeights features = FindFeatures(face, grid, MeanCells(before, *photograph, grid), share);
  const SkinLoss skin = {256 * (2.5f * features.skinTexture + 2 * static_cast<float>(share)),
                         256 * (1.5f * features.skinTexture + static_cast<float>(share))};
  const int radius = static_cast<int>(std::lround(std::clamp(kPoreRadius * unit, 1.0, kLargestRadius)));
  const PixelBox& box = grid.box;
  WeightRows weights(grid, features.weights);
  SquareMeans means(static_cast<size_t>(box.Width()), radius);
  LostRows lost, next;
  Measure(before, *photograph, box, box.top, box.top + kBand + radius, &next);
  for (int32_t top = box.top; top < box.bottom; top += kBand) {
    const int32_t bottom = std::min(top + kBand, box.bottom);
    std::swap(lost, next);
    // What the next band needs is taken before this one's result hides it.
    if (bottom < box.bottom) Measure(before, *photograph, box, bottom - radius, bottom + kBand + radius, &next);
    for (int32_t y = top; y < bottom; ++y) {
      GiveBack(before.At(box.left, y), weights.Row(y), lost.Row(y), means.Row(lost, y), skin, lost.columns,
               photograph->At(box.left, y));
    }
  }
}

}  // namespace qx::photo
