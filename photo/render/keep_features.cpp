#include "photo/render/keep_features.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "photo/base/raster.h"
#include "photo/render/feature_weights.h"

namespace qx::photo {
namespace {

constexpr double kCellsBetweenEyes = 40;
constexpr double kPoreRadius = 0.012;  // eye distances; what is finer counts as pores
constexpr float kPores = 0.55f;        // share of the pores that comes back
constexpr float kRelief = 0.2f;        // share of all else of the skin
constexpr double kFullStrength = 2;    // from which on the skin is all smoothed

const uint8_t* RowOf(const SavedPart& before, int32_t y) {
  return before.image.At(0, y - before.box.top);
}

// The smallest box outside which photograph and part are equal; empty when they are all equal.
PixelBox ChangedBox(const SavedPart& before, const Image& photograph) {
  const PixelBox& box = before.box;
  PixelBox changed{box.right, box.bottom, box.left, box.top};
  const auto bytes = static_cast<ptrdiff_t>(box.Width()) * 3;
  for (int32_t y = box.top; y < box.bottom; ++y) {
    const uint8_t *was = RowOf(before, y), *is = photograph.At(box.left, y);
    const ptrdiff_t first = std::mismatch(was, was + bytes, is).first - was;
    if (first == bytes) continue;
    ptrdiff_t last = bytes - 1;
    while (was[last] == is[last]) --last;
    changed.left = std::min(changed.left, box.left + static_cast<int32_t>(first / 3));
    changed.right = std::max(changed.right, box.left + static_cast<int32_t>(last / 3) + 1);
    changed.top = std::min(changed.top, y);
    changed.bottom = y + 1;
  }
  return changed;
}

Raster MeanChanges(const SavedPart& before, const Image& photograph, const CellGrid& grid) {
  Raster changes(grid.Width(), grid.Height(), 1);
  const PixelBox& box = grid.box;
  std::vector<int32_t> sums(static_cast<size_t>(grid.Width()));
  for (int cellY = 0; cellY < grid.Height(); ++cellY) {
    const int32_t top = box.top + cellY * grid.step, bottom = std::min(top + grid.step, box.bottom);
    std::fill(sums.begin(), sums.end(), 0);
    for (int32_t y = top; y < bottom; ++y) {
      const uint8_t* was = RowOf(before, y) + (box.left - before.box.left) * 3;
      const uint8_t* is = photograph.At(box.left, y);
      for (int cellX = 0; cellX < grid.Width(); ++cellX) {
        const int bytes = 3 * std::min(grid.step, box.Width() - cellX * grid.step);
        int32_t sum = 0;
        for (int i = 0; i < bytes; ++i) sum += std::abs(*was++ - *is++);
        sums[static_cast<size_t>(cellX)] += sum;
      }
    }
    for (int cellX = 0; cellX < grid.Width(); ++cellX) {
      const int count = 3 * std::min(grid.step, box.Width() - cellX * grid.step) * (bottom - top);
      *changes.At(cellX, cellY) = static_cast<float>(sums[static_cast<size_t>(cellX)]) / static_cast<float>(count);
    }
  }
  return changes;
}

// The weights of a row of pixels, bilinear between the middles of the cells.
class WeightRows {
 public:
  WeightRows(const CellGrid& grid, const Raster& weights)
      : grid_(grid),
        weights_(weights),
        cells_(static_cast<size_t>(weights.width)),
        row_(static_cast<size_t>(grid.box.Width())) {}

  const float* Row(int32_t y) {
    const Position at = Find(y - grid_.box.top, weights_.height);
    const float *upper = weights_.At(0, at.first), *lower = weights_.At(0, at.second);
    for (size_t i = 0; i < cells_.size(); ++i) cells_[i] = upper[i] + at.share * (lower[i] - upper[i]);
    for (int x = 0; x < grid_.box.Width(); ++x) {
      const Position across = Find(x, weights_.width);
      const float a = cells_[static_cast<size_t>(across.first)], b = cells_[static_cast<size_t>(across.second)];
      row_[static_cast<size_t>(x)] = a + across.share * (b - a);
    }
    return row_.data();
  }

 private:
  struct Position {
    int first, second;
    float share;
  };
  Position Find(int pixel, int cells) const {
    const float at = std::max(0.0f, (static_cast<float>(pixel) + 0.5f) / static_cast<float>(grid_.step) - 0.5f);
    const int first = std::min(static_cast<int>(at), cells - 1);
    return {first, std::min(first + 1, cells - 1), at - static_cast<float>(first)};
  }

  const CellGrid& grid_;
  const Raster& weights_;
  std::vector<float> cells_, row_;
};

// Brightness that the retouching took away, for rows of a box. Luma in 256ths.
class LostBrightness {
 public:
  LostBrightness(const SavedPart& before, const Image& photograph, const PixelBox& box)
      : before_(before), photograph_(photograph), box_(box) {}

  Raster Rows(int32_t top, int32_t bottom) const {
    Raster lost(box_.Width(), bottom - top, 1);
    for (int32_t y = top; y < bottom; ++y) {
      const uint8_t* was = RowOf(before_, y) + (box_.left - before_.box.left) * 3;
      const uint8_t* is = photograph_.At(box_.left, y);
      float* to = lost.At(0, y - top);
      for (int x = 0; x < lost.width; ++x, was += 3, is += 3) {
        *to++ = static_cast<float>(29 * (was[0] - is[0]) + 150 * (was[1] - is[1]) + 77 * (was[2] - is[2])) / 256;
      }
    }
    return lost;
  }

 private:
  const SavedPart& before_;
  const Image& photograph_;
  PixelBox box_;
};

// How much of the skin's own look a pixel that lost so much brightness gets back: all of it up to the usual, nothing
// where a spot was.
float SpotGate(float lost, float usual) {
  return std::clamp(2 - std::abs(lost) / usual, 0.0f, 1.0f);
}

void LayRow(const uint8_t* was, const float* weights, const float* lost, const float* coarse, float usual, int count,
            uint8_t* is) {
  for (int x = 0; x < count; ++x, was += 3, is += 3) {
    const float gate = SpotGate(lost[x], usual);
    const float rest = (1 - weights[x]) * gate;
    const float keep = weights[x] + kRelief * rest;
    const float pores = (kPores - kRelief) * rest * (lost[x] - coarse[x]);
    for (int c = 0; c < 3; ++c) {
      const float value = static_cast<float>(is[c]) + keep * static_cast<float>(was[c] - is[c]) + pores;
      is[c] = static_cast<uint8_t>(std::clamp(value + 0.5f, 0.0f, 255.0f));
    }
  }
}

}  // namespace

SavedPart SavePart(const Image& photograph, const ProbedFace& face) {
  // The skin's region ends 7.8 eye distances below the eyes and 5.3 beside them.
  const double reach = 8 * EyeDistance(face) + 16;
  const auto clip = [](double at, int32_t extent) {
    return static_cast<int32_t>(std::clamp(at, 0.0, double{1} * extent));
  };
  const double x = (double{1} * face.keyPoints[0].x + face.keyPoints[1].x) / 2;
  const double y = (double{1} * face.keyPoints[0].y + face.keyPoints[1].y) / 2;
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
  grid.step = std::max(1, static_cast<int>(std::lround(unit / kCellsBetweenEyes)));
  const double share = std::min(strength / kFullStrength, 1.0);
  const FeatureWeights features = FindFeatures(face, grid, MeanChanges(before, *photograph, grid), share);
  const auto usual = static_cast<float>(4 * static_cast<double>(features.skinLevel) + 4 * share);
  const int radius = std::max(1, static_cast<int>(std::lround(kPoreRadius * unit)));
  WeightRows weights(grid, features.weights);
  const LostBrightness brightness(before, *photograph, grid.box);
  Raster next = brightness.Rows(grid.box.top, std::min(grid.box.top + kBand + radius, grid.box.bottom));
  int32_t begin = grid.box.top;  // of the rows in `next`
  for (int32_t top = grid.box.top; top < grid.box.bottom; top += kBand) {
    const int32_t bottom = std::min(top + kBand, grid.box.bottom);
    const Raster lost = std::move(next);
    const Raster coarse = BoxMean(lost, radius);
    // The rows of the next band that this one's result would hide, and those that are still to come.
    const int32_t from = std::max(bottom - radius, grid.box.top),
                  until = std::min(bottom + kBand + radius, grid.box.bottom);
    if (bottom < grid.box.bottom) next = brightness.Rows(from, until);
    for (int32_t y = top; y < bottom; ++y) {
      LayRow(RowOf(before, y) + (grid.box.left - before.box.left) * 3, weights.Row(y), lost.At(0, y - begin),
             coarse.At(0, y - begin), usual, grid.box.Width(), photograph->At(grid.box.left, y));
    }
    begin = from;
  }
}

}  // namespace qx::photo
