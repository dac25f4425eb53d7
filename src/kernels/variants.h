// What the files for one instruction set each share. Nothing here has external linkage: the linker can never take code
// of one instruction set for another.
#ifndef QX_KERNELS_VARIANTS_H
#define QX_KERNELS_VARIANTS_H

#include <cstddef>
#include <cstdint>

namespace qx {
namespace {

// How much of a tile was turned in whole blocks.
struct Extent {
  size_t width, height;
};

// Division of a sum s by 1000: with e = s >> 3, s / 1000 = e / 125; and since 33555 * 125 = 2^22 + 71, the product
// e * 33555 >> 22 is e / 125 as long as e * 71 < 2^22, e < 59,075. Sums of luma have e of at most 255,500 / 8.
constexpr uint16_t kOver125 = 33555;

// The colour table: bytes from one entry to the next along each axis.
constexpr size_t kBlueStep = 3, kGreenStep = 32 * kBlueStep, kRedStep = 32 * kGreenStep;
constexpr size_t kLastGrid = 31;

// An axis of the table for one byte: the lower of two neighbouring grid points and the upper one's weight in eighths.
// The last grid point is the upper neighbour of the last but one at full weight, so there is always a neighbour.
struct Grid {
  size_t lower;
  int32_t upperWeight;
};

inline Grid Split(uint8_t value) {
  const auto lower = static_cast<size_t>(value >> 3);
  if (lower == kLastGrid) return {kLastGrid - 1, 8};
  return {lower, value & 7};
}

// The entry at the lower grid point of each axis.
inline const uint8_t* EntryOf(const uint8_t* table, const Grid& blue, const Grid& green, const Grid& red) {
  return table + red.lower * kRedStep + green.lower * kGreenStep + blue.lower * kBlueStep;
}

}  // namespace
}  // namespace qx

#endif  // QX_KERNELS_VARIANTS_H
