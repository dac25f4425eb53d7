#include "photo/render/feature_weights.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace qx::photo {
namespace {

struct Place {
  double x, y;
};

// A line through some of the 88 points. Within `wide` of it, and inside when it is closed, the weight is 1; from there
// it falls to 0 over `fade`. Both are in eye distances.
struct Feature {
  std::vector<int> points;
  bool closed;
  double wide, fade;
};

const std::array<Feature, 6>& Features() {
  static const std::array<Feature, 6> features = {{
      {{0, 4, 2, 6, 1, 7, 3, 5}, true, 0.09, 0.10},          // left eye with its lashes
      {{16, 20, 18, 22, 17, 23, 19, 21}, true, 0.09, 0.10},  // right eye
      {{8, 12, 10, 14, 9, 15, 11, 13}, true, 0.05, 0.08},    // left brow
      {{24, 28, 26, 30, 25, 31, 27, 29}, true, 0.05, 0.08},  // right brow
      {{42, 37, 33, 35, 34, 39, 43}, false, 0.05, 0.07},     // from wing to wing along the nose's base
      {{45, 59, 51, 52, 47, 53, 54, 63, 46, 66, 58, 57, 48, 56, 55, 62}, true, 0.04, 0.07},  // lips
  }};
  return features;
}

// The face below the brows, on which its skin is measured.
const std::vector<int>& SkinOutline() {
  static const std::vector<int> outline = {67, 68, 69, 70, 71, 72, 73, 74, 75, 76, 77, 78, 79, 80, 81, 82,
                                           83, 84, 85, 86, 87, 25, 30, 26, 28, 24, 9,  14, 10, 12, 8};
  return outline;
}

std::vector<Place> InCells(const ProbedFace& face, const std::vector<int>& points, const CellGrid& grid) {
  std::vector<Place> places;
  places.reserve(points.size());
  for (const int i : points) {
    const Point& p = face.densePoints[static_cast<size_t>(i)];
    places.push_back({(p.x + 0.5 - grid.box.left) / grid.step, (p.y + 0.5 - grid.box.top) / grid.step});
  }
  return places;
}

double SquareToSegment(Place p, Place a, Place b) {
  const double dx = b.x - a.x, dy = b.y - a.y, length = dx * dx + dy * dy;
  const double along = length > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length, 0.0, 1.0) : 0;
  const double ex = a.x + along * dx - p.x, ey = a.y + along * dy - p.y;
  return ex * ex + ey * ey;
}

bool IsInside(Place p, const std::vector<Place>& line) {
  bool inside = false;
  for (size_t i = 0, j = line.size() - 1; i < line.size(); j = i++) {
    const Place a = line[i], b = line[j];
    if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x) inside = !inside;
  }
  return inside;
}

double Distance(Place p, const std::vector<Place>& line, bool closed) {
  if (closed && IsInside(p, line)) return 0;
  double least = 1e300;
  for (size_t i = closed ? 0 : 1; i < line.size(); ++i) {
    least = std::min(least, SquareToSegment(p, line[i == 0 ? line.size() - 1 : i - 1], line[i]));
  }
  return std::sqrt(least);
}

// 0 up to `low`, 1 from `high` on, level at both ends.
double SmoothStep(double value, double low, double high) {
  const double t = std::clamp((value - low) / (high - low), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

// The cells whose middles lie within `reach` of a line, as far as the raster goes.
PixelBox CellsAround(const std::vector<Place>& line, double reach, const Raster& raster) {
  const auto byX = [](Place a, Place b) { return a.x < b.x; };
  const auto byY = [](Place a, Place b) { return a.y < b.y; };
  const auto [left, right] = std::minmax_element(line.begin(), line.end(), byX);
  const auto [top, bottom] = std::minmax_element(line.begin(), line.end(), byY);
  const auto cell = [](double at, int extent) {
    return static_cast<int>(std::clamp(at, 0.0, static_cast<double>(extent)));
  };
  return {cell(left->x - reach, raster.width), cell(top->y - reach, raster.height),
          cell(right->x + reach + 1, raster.width), cell(bottom->y + reach + 1, raster.height)};
}

void DrawFeature(const Feature& feature, const std::vector<Place>& line, double unit, Raster* weights) {
  const double wide = feature.wide * unit, fade = feature.fade * unit;
  const PixelBox cells = CellsAround(line, wide + fade, *weights);
  for (int y = cells.top; y < cells.bottom; ++y) {
    for (int x = cells.left; x < cells.right; ++x) {
      const double distance = Distance({x + 0.5, y + 0.5}, line, feature.closed);
      float& weight = *weights->At(x, y);
      weight = std::max(weight, static_cast<float>(1 - SmoothStep(distance, wide, wide + fade)));
    }
  }
}

// The median of the cells in the square around each cell, in `perLevel` steps of a level, at most 256 of them (T.
// Huang, G. Yang, G. Tang, "A fast two-dimensional median filtering algorithm", 1979).
Raster WindowMedian(const Raster& values, int radius, int perLevel) {
  constexpr int kSteps = 256;
  const int width = values.width, height = values.height;
  std::vector<uint8_t> levels(values.values.size());
  for (size_t i = 0; i < levels.size(); ++i) {
    levels[i] = static_cast<uint8_t>(std::clamp(values.values[i] * static_cast<float>(perLevel), 0.0f, kSteps - 1.0f));
  }
  Raster medians(width, height, 1);
  for (int y = 0; y < height; ++y) {
    const int top = std::max(y - radius, 0), bottom = std::min(y + radius, height - 1);
    std::array<int, kSteps> counts{};
    int median = 0, below = 0, total = 0;
    const auto column = [&](int x, int sign) {
      for (int row = top; row <= bottom; ++row) {
        const int level = levels[static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(x)];
        counts[static_cast<size_t>(level)] += sign;
        if (level < median) below += sign;
      }
      total += sign * (bottom - top + 1);
    };
    for (int x = 0; x < std::min(radius, width); ++x) column(x, 1);
    for (int x = 0; x < width; ++x) {
      if (x + radius < width) column(x + radius, 1);
      if (x - radius - 1 >= 0) column(x - radius - 1, -1);
      while (below > total / 2) below -= counts[static_cast<size_t>(--median)];
      while (below + counts[static_cast<size_t>(median)] <= total / 2) below += counts[static_cast<size_t>(median++)];
      *medians.At(x, y) = (static_cast<float>(median) + 0.5f) / static_cast<float>(perLevel);
    }
  }
  return medians;
}

// The lower third of what the skin loses: a beard may cover half of the face.
class SkinCells {
 public:
  SkinCells(const ProbedFace& face, const CellGrid& grid, const Raster& features) {
    const std::vector<Place> outline = InCells(face, SkinOutline(), grid);
    const PixelBox cells = CellsAround(outline, 0, features);
    for (int y = cells.top; y < cells.bottom; ++y) {
      for (int x = cells.left; x < cells.right; ++x) {
        if (*features.At(x, y) == 0 && IsInside({x + 0.5, y + 0.5}, outline)) cells_.push_back(features.Offset(x, y));
      }
    }
  }

  float LowerThird(const Raster& values) const {
    if (cells_.empty()) return 0;
    std::vector<float> levels;
    levels.reserve(cells_.size());
    for (const size_t cell : cells_) levels.push_back(values.values[cell]);
    const auto third = levels.begin() + static_cast<ptrdiff_t>(levels.size() / 3);
    std::nth_element(levels.begin(), third, levels.end());
    return *third;
  }

 private:
  std::vector<size_t> cells_;
};

// Raises the weights on and next to groups of strong cells (8 neighbours) that are longer than any spot. Next to them,
// since the edges of a thin thing cover their cells only in part.
class LongGroups {
 public:
  LongGroups(const Raster& contrast, float strong, int length)
      : contrast_(contrast), strong_(strong), length_(length), seen_(contrast.values.size()) {}

  void Raise(Raster* weights) {
    for (int y = 0; y < contrast_.height; ++y) {
      for (int x = 0; x < contrast_.width; ++x) {
        if (!Visit(x, y)) continue;
        Collect();
        if (std::max(right_ - left_, bottom_ - top_) < length_) continue;
        for (const size_t i : group_) {
          const auto weight = static_cast<float>(SmoothStep(contrast_.values[i], strong_, 1.8 * strong_));
          ForSquare(i, [&](int column, int row) {
            float& there = *weights->At(column, row);
            there = std::max(there, weight);
          });
        }
      }
    }
  }

 private:
  // Begins the group when the cell is strong and new.
  bool Visit(int x, int y) {
    group_.clear();
    left_ = right_ = x;
    top_ = bottom_ = y;
    return Add(x, y);
  }
  bool Add(int x, int y) {
    const size_t i = contrast_.Offset(x, y);
    if (seen_[i] || contrast_.values[i] < strong_) return false;
    seen_[i] = true;
    group_.push_back(i);
    left_ = std::min(left_, x);
    right_ = std::max(right_, x);
    top_ = std::min(top_, y);
    bottom_ = std::max(bottom_, y);
    return true;
  }
  void Collect() {
    for (size_t k = 0; k < group_.size(); ++k) {
      ForSquare(group_[k], [this](int column, int row) { Add(column, row); });
    }
  }
  // Calls `work` for a cell and its neighbours.
  template <typename Work>
  void ForSquare(size_t cell, Work work) const {
    const int x = static_cast<int>(cell) % contrast_.width, y = static_cast<int>(cell) / contrast_.width;
    for (int row = std::max(y - 1, 0); row <= std::min(y + 1, contrast_.height - 1); ++row) {
      for (int column = std::max(x - 1, 0); column <= std::min(x + 1, contrast_.width - 1); ++column) work(column, row);
    }
  }

  const Raster& contrast_;
  float strong_;
  int length_;
  std::vector<bool> seen_;
  std::vector<size_t> group_;
  int left_ = 0, top_ = 0, right_ = 0, bottom_ = 0;
};

}  // namespace

double EyeDistance(const ProbedFace& face) {
  const Point &a = face.keyPoints[0], &b = face.keyPoints[1];
  const double x = static_cast<double>(b.x) - a.x, y = static_cast<double>(b.y) - a.y;
  return std::sqrt(x * x + y * y);
}

// The mean over the square of three cells a side around each cell, as far as it lies in the grid.
Raster Softened(const Raster& weights) {
  Raster soft(weights.width, weights.height, 1);
  for (int y = 0; y < weights.height; ++y) {
    for (int x = 0; x < weights.width; ++x) {
      float sum = 0;
      int count = 0;
      for (int row = std::max(y - 1, 0); row <= std::min(y + 1, weights.height - 1); ++row) {
        for (int column = std::max(x - 1, 0); column <= std::min(x + 1, weights.width - 1); ++column, ++count) {
          sum += *weights.At(column, row);
        }
      }
      *soft.At(x, y) = sum / static_cast<float>(count);
    }
  }
  return soft;
}

FeatureWeights FindFeatures(const ProbedFace& face, const CellGrid& grid, const CellMeans& means, double strength) {
  constexpr double kWindow = 0.11, kLongest = 0.4;  // eye distances: half of the window's side, what no spot reaches
  const double unit = EyeDistance(face) / grid.step;
  FeatureWeights found;
  Raster& weights = found.weights;
  weights = Raster(grid.Width(), grid.Height(), 1);
  std::fill(weights.values.begin(), weights.values.end(), 0.0f);
  for (const Feature& feature : Features()) DrawFeature(feature, InCells(face, feature.points, grid), unit, &weights);
  const SkinCells skin(face, grid, weights);
  const int window = std::max(1, static_cast<int>(std::lround(kWindow * unit)));
  const Raster changes = WindowMedian(means.change, window, 4);
  found.skinTexture = skin.LowerThird(changes);
  const double texture = found.skinTexture;
  for (size_t i = 0; i < weights.values.size(); ++i) {
    const double weight = SmoothStep(changes.values[i], 1.3 * texture + strength, 2 * texture + 3 * strength);
    weights.values[i] = std::max(weights.values[i], static_cast<float>(weight));
  }
  Raster contrast = WindowMedian(means.level, window, 1);
  for (size_t i = 0; i < contrast.values.size(); ++i) {
    contrast.values[i] = std::abs(means.level.values[i] - contrast.values[i]);
  }
  const float strong = 2.5f * skin.LowerThird(contrast) + 5;
  LongGroups(contrast, strong, static_cast<int>(std::ceil(kLongest * unit))).Raise(&weights);
  weights = Softened(weights);
  return found;
}

}  // namespace qx::photo
