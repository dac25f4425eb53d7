#include "photo/person/region.h"

#include <algorithm>
#include <cmath>

namespace qx::photo {
namespace {

constexpr float kFar = 1e6f;
constexpr float kDiagonal = 1.41421356f;

// Calls `visit` for each of the four neighbours within the picture.
template <typename Visit>
void ForNeighbours(const Region& region, int x, int y, Visit visit) {
  if (x > 0) visit(x - 1, y);
  if (x + 1 < region.width) visit(x + 1, y);
  if (y > 0) visit(x, y - 1);
  if (y + 1 < region.height) visit(x, y + 1);
}

// Distance of the pixels outside the set of `bit` from it, between centres; 0 in it.
Raster DistanceTo(const Region& region, uint8_t bit) {
  const int width = region.width, height = region.height;
  Raster distance(width, height, 1);
  for (size_t i = 0; i < region.bits.size(); ++i) distance.values[i] = region.bits[i] == bit ? 0.0f : kFar;
  // Forward from the top left with the neighbours already passed, then backward from the bottom right.
  for (const int step : {1, -1}) {
    const int firstX = step > 0 ? 0 : width - 1, firstY = step > 0 ? 0 : height - 1;
    for (int y = firstY; y >= 0 && y < height; y += step) {
      const float* before = y == firstY ? nullptr : distance.At(0, y - step);
      float* row = distance.At(0, y);
      for (int x = firstX; x >= 0 && x < width; x += step) {
        float best = row[x];
        if (x != firstX) best = std::min(best, row[x - step] + 1);
        if (before) {
          best = std::min(best, before[x] + 1);
          if (x > 0) best = std::min(best, before[x - 1] + kDiagonal);
          if (x + 1 < width) best = std::min(best, before[x + 1] + kDiagonal);
        }
        row[x] = best;
      }
    }
  }
  return distance;
}

}  // namespace

Region Above(const Raster& map, float threshold) {
  Region region(map.width, map.height);
  for (size_t i = 0; i < region.bits.size(); ++i) region.bits[i] = map.values[i] > threshold;
  return region;
}

Raster SignedDistance(const Region& region) {
  Raster distance = DistanceTo(region, 0);
  const Raster outside = DistanceTo(region, 1);
  for (size_t i = 0; i < region.bits.size(); ++i) {
    distance.values[i] = region.bits[i] ? distance.values[i] - 0.5f : 0.5f - outside.values[i];
  }
  return distance;
}

Region Grow(const Region& seed, const Region& region, int steps) {
  struct Pixel {
    int x, y;
  };
  Region grown(region.width, region.height);
  std::vector<Pixel> front, next;
  for (int y = 0; y < region.height; ++y) {
    for (int x = 0; x < region.width; ++x) {
      if (!seed.At(x, y) || !region.At(x, y)) continue;
      grown.At(x, y) = 1;
      front.push_back({x, y});
    }
  }
  for (int i = 0; i < steps && !front.empty(); ++i) {
    next.clear();
    for (const Pixel pixel : front) {
      ForNeighbours(region, pixel.x, pixel.y, [&](int x, int y) {
        if (!region.At(x, y) || grown.At(x, y)) return;
        grown.At(x, y) = 1;
        next.push_back({x, y});
      });
    }
    front.swap(next);
  }
  return grown;
}

void FillHoles(Region& region, int pixels) {
  Region seen = region;
  std::vector<std::pair<int, int>> hole;
  for (int y = 0; y < region.height; ++y) {
    for (int x = 0; x < region.width; ++x) {
      if (seen.At(x, y)) continue;
      hole.assign(1, {x, y});
      seen.At(x, y) = 1;
      bool enclosed = true;
      for (size_t i = 0; i < hole.size(); ++i) {
        const auto [px, py] = hole[i];
        enclosed &= px > 0 && py > 0 && px + 1 < region.width && py + 1 < region.height;
        ForNeighbours(region, px, py, [&](int nx, int ny) {
          if (seen.At(nx, ny)) return;
          seen.At(nx, ny) = 1;
          hole.emplace_back(nx, ny);
        });
      }
      if (!enclosed || hole.size() > static_cast<size_t>(pixels)) continue;
      for (const auto& [px, py] : hole) region.At(px, py) = 1;
    }
  }
}

}  // namespace qx::photo
