#include "photo/person/region.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace qx::photo {
namespace {

constexpr int kDiagonal = 181;  // sqrt 2 in distance units

// Calls `visit` for each of the four neighbours within the picture.
template <typename Visit>
void ForNeighbours(const Region& region, int x, int y, Visit visit) {
  if (x > 0) visit(x - 1, y);
  if (x + 1 < region.width) visit(x + 1, y);
  if (y > 0) visit(x, y - 1);
  if (y + 1 < region.height) visit(x, y + 1);
}

// Distances between centres from the set of `bit`, 0 in it, and at most `far`: steps to the left, the right and the
// next row at once for whole rows, which the processor takes eight pixels at a time.
class DistanceTo {
 public:
  DistanceTo(const Region& region, uint8_t bit, int16_t far)
      : width_(region.width),
        far_(far),
        distances_(region.bits.size()),
        row_(PaddedSize(), far),
        next_(PaddedSize(), far) {
    for (size_t i = 0; i < region.bits.size(); ++i) distances_[i] = region.bits[i] == bit ? int16_t{0} : far;
    Pass(region.height, 0, 1);
    Pass(region.height, region.height - 1, -1);
  }

  Distances Take() { return std::move(distances_); }

 private:
  // Rows with as many pixels on both sides as the distance reaches, all of them far.
  size_t Pad() const { return static_cast<size_t>(far_ / kDistanceUnit) + 2; }
  size_t PaddedSize() const { return static_cast<size_t>(width_) + 2 * Pad(); }

  // to[x] = the least of from[x] and from[x + offset] + cost.
  void Step(const int16_t* from, ptrdiff_t offset, int cost, const int16_t* least, int16_t* to) const {
    for (int x = 0; x < width_; ++x) {
      const auto other = static_cast<int16_t>(from[x + offset] + cost);
      to[x] = std::min(least[x], other);
    }
  }

  // Rows first, first + step ...: with the neighbours in the row before, then along the row.
  void Pass(int height, int first, int step) {
    int16_t *row = row_.data() + Pad(), *next = next_.data() + Pad();
    for (int i = 0, y = first; i < height; ++i, y += step) {
      int16_t* own = distances_.data() + static_cast<size_t>(y) * static_cast<size_t>(width_);
      if (i == 0) {
        std::copy_n(own, width_, row);
      } else {
        for (int x = 0; x < width_; ++x) {
          const int16_t side = std::min(row[x - 1], row[x + 1]);
          const auto straight = static_cast<int16_t>(row[x] + kDistanceUnit);
          const auto slanted = static_cast<int16_t>(side + kDiagonal);
          next[x] = std::min(own[x], std::min(straight, slanted));
        }
        std::swap(row, next);
      }
      // The least within 1, 2, 4 ... steps.
      for (int steps = 1; steps * kDistanceUnit < far_; steps *= 2) {
        Step(row, -step * steps, steps * kDistanceUnit, row, next);
        std::swap(row, next);
      }
      std::copy_n(row, width_, own);
    }
  }

  int width_;
  int16_t far_;
  Distances distances_;
  std::vector<int16_t> row_, next_;
};

// One step of growing, for a row; `above` and `below` are the row itself at the picture's edge.
void GrowRow(const uint8_t* own, const uint8_t* above, const uint8_t* below, const uint8_t* region, int width,
             uint8_t* to) {
  for (int x = 1; x + 1 < width; ++x) {
    to[x] = static_cast<uint8_t>(region[x] & (own[x] | own[x - 1] | own[x + 1] | above[x] | below[x]));
  }
  for (const int x : {0, width - 1}) {
    const uint8_t beside = own[std::max(x - 1, 0)] | own[std::min(x + 1, width - 1)];
    to[x] = static_cast<uint8_t>(region[x] & (own[x] | beside | above[x] | below[x]));
  }
}

// Pixels of a region side by side in a row, `end` not included.
struct Run {
  size_t Length() const { return static_cast<size_t>(end - begin); }

  int row, begin, end;
  uint32_t piece;  // a run with the same piece, itself for one of the piece
  bool reached;
};

// A region as runs, joined where they touch from row to row: with `aside` also where they do so by corners.
struct Pieces {
  Pieces(const Region& region, int aside) {
    size_t above = 0;  // the first run of the row above that may touch
    for (int y = 0; y < region.height; ++y) {
      const size_t first = runs.size();
      const uint8_t *row = region.Row(y), *last = row + region.width;
      for (const uint8_t* at = row; (at = NextOf(1, at, last)) != last;) {
        const uint8_t* end = NextOf(0, at, last);
        const auto own = static_cast<uint32_t>(runs.size());
        runs.push_back({y, static_cast<int>(at - row), static_cast<int>(end - row), own, false});
        while (above < first && runs[above].end + aside <= runs[own].begin) ++above;
        for (size_t i = above; i < first && runs[i].begin < runs[own].end + aside; ++i)
          Join(own, static_cast<uint32_t>(i));
        at = end;
      }
      above = first;
    }
  }

  uint32_t Find(uint32_t run) {
    while (runs[run].piece != run) run = runs[run].piece = runs[runs[run].piece].piece;
    return run;
  }

  std::vector<Run> runs;

 private:
  static const uint8_t* NextOf(int value, const uint8_t* at, const uint8_t* last) {
    const void* found = std::memchr(at, value, static_cast<size_t>(last - at));
    return found ? static_cast<const uint8_t*>(found) : last;
  }

  void Join(uint32_t a, uint32_t b) {
    a = Find(a), b = Find(b);
    runs[std::max(a, b)].piece = std::min(a, b);
  }
};

}  // namespace

Region AtLeastHalf(const Mask& mask, const PixelBox& box) {
  Region region(box.Width(), box.Height());
  uint8_t* to = region.bits.data();
  for (int y = box.top; y < box.bottom; ++y) {
    const uint8_t* from = mask.Row(y) + box.left;
    for (int x = 0; x < region.width; ++x) *to++ = from[x] >= 128;
  }
  return region;
}

Distances SignedDistance(const Region& region, double reach) {
  const auto far = static_cast<int16_t>((std::min(127.0, std::ceil(reach)) + 1) * kDistanceUnit);
  Distances distances = DistanceTo(region, 0, far).Take();
  const Distances outside = DistanceTo(region, 1, far).Take();
  for (size_t i = 0; i < distances.size(); ++i) {
    // One of the two is 0.
    const int difference = distances[i] - outside[i];
    distances[i] = static_cast<int16_t>(difference + (difference > 0 ? -kDistanceUnit / 2 : kDistanceUnit / 2));
  }
  return distances;
}

Region Grow(const Region& seed, const Region& region, int steps) {
  Region grown(region.width, region.height);
  for (size_t i = 0; i < grown.bits.size(); ++i) grown.bits[i] = seed.bits[i] & region.bits[i];
  for (int i = 0; i < steps; ++i) {
    const Region before = grown;
    for (int y = 0; y < region.height; ++y) {
      const uint8_t *own = before.Row(y), *above = before.Row(std::max(y - 1, 0));
      GrowRow(own, above, before.Row(std::min(y + 1, region.height - 1)), region.Row(y), region.width, grown.Row(y));
    }
    if (grown.bits == before.bits) break;
  }
  return grown;
}

Region Grow(const Region& seed, const Region& region, Touching touching) {
  Pieces pieces(region, touching == Touching::kCorners ? 1 : 0);
  for (const Run& run : pieces.runs) {
    if (std::memchr(seed.Row(run.row) + run.begin, 1, run.Length())) pieces.runs[pieces.Find(run.piece)].reached = true;
  }
  Region grown(region.width, region.height);
  for (const Run& run : pieces.runs) {
    if (pieces.runs[pieces.Find(run.piece)].reached) std::memset(grown.Row(run.row) + run.begin, 1, run.Length());
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
