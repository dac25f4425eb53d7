// Regions of a picture: growing from a seed, opening, holes, distance from the border line.
#ifndef QX_PHOTO_PERSON_REGION_H
#define QX_PHOTO_PERSON_REGION_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::photo {

// One byte a pixel, 0 or 1, rows top to bottom without gaps.
struct Region {
  Region() = default;
  Region(int w, int h) : width(w), height(h), bits(static_cast<size_t>(w) * static_cast<size_t>(h)) {}
  size_t First(int y) const { return static_cast<size_t>(y) * static_cast<size_t>(width); }  // of a row's pixels
  uint8_t* Row(int y) { return bits.data() + First(y); }
  const uint8_t* Row(int y) const { return bits.data() + First(y); }
  uint8_t& At(int x, int y) { return bits[First(y) + static_cast<size_t>(x)]; }
  uint8_t At(int x, int y) const { return bits[First(y) + static_cast<size_t>(x)]; }

  int width = 0;
  int height = 0;
  std::vector<uint8_t> bits;
};

// The pixels of a box within the mask that a person covers by at least half.
Region AtLeastHalf(const Mask& mask, const PixelBox& box);

// Distances in parts of a pixel, one a pixel, rows without gaps.
constexpr int kDistanceUnit = 128;
using Distances = std::vector<int16_t, UnfilledAllocator<int16_t>>;

// Distance of each pixel's centre from the region's border line: positive inside, negative outside, half a pixel at the
// line (chamfer distance of steps 1 and sqrt 2, G. Borgefors 1986). The picture's edge is no border line. Beyond
// `reach`, in pixels and at most 127, the distance is at least that.
Distances SignedDistance(const Region& region, double reach);

// The part of the region that can be reached from the seed (the pixels of both), stepping to the four neighbours at
// most `steps` times. Each step goes over the whole region.
Region Grow(const Region& seed, const Region& region, int steps);
// The same with any number of steps, at once; with kCorners to the eight neighbours.
enum class Touching { kSides, kCorners };
Region Grow(const Region& seed, const Region& region, Touching touching = Touching::kSides);

// Adds the holes of at most `pixels` pixels: pieces of the outside, joined by their four neighbours, that do not touch
// the picture's edge.
void FillHoles(Region& region, int pixels);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_REGION_H
