#include "beauty/skin/lab_tables.h"

#include <algorithm>
#include <cmath>

#include "base/exact_math.h"
#include "base/number.h"

namespace qx {
namespace {

constexpr int kLevels = 256;

// The cube root of L*a*b* with its linear start, of i / 255.
double Root(int i) {
  constexpr double kLinearBelow = 0.008856;
  const double t = i / 255.0;
  return t > kLinearBelow ? exact::Pow(t, 1.0 / 3.0) : i * 7.787 / 255 + 0.13793103448275862;
}

uint8_t Opponent(int centre, double difference) {
  return static_cast<uint8_t>(std::clamp(centre - TruncToInt32(difference), 0, 255));
}

void Convert(const LabTables& tables, uint32_t blue, uint32_t green, uint32_t red, uint8_t* lab) {
  const uint32_t y = (red * 19595 + blue * 7471 + green * 38470) >> 16;
  const uint32_t x = (blue * 13414 + green * 11612 + red * 40510) >> 16;
  const uint32_t z = (blue * 61880 + green * 3656) >> 16;  // red has no part in it
  lab[0] = tables.lTable[y];
  lab[1] = tables.aTable[x * kLevels + y];
  lab[2] = tables.bTable[y * kLevels + z];
}

}  // namespace

Status BuildLabTables(LabTables* tables) {
  if (tables->HasColours()) return Status::kOk;
  if (!tables->lTable.Allocate(kLevels) || !tables->aTable.Allocate(kLevels * kLevels) ||
      !tables->bTable.Allocate(kLevels * kLevels)) {
    tables->lTable.Release();
    tables->aTable.Release();
    tables->bTable.Release();
    return Status::kMemoryShort;
  }
  double root[kLevels];
  for (int i = 0; i < kLevels; ++i) root[i] = Root(i);
  for (int i = 0; i < kLevels; ++i) {
    tables->lTable[static_cast<size_t>(i)] = static_cast<uint8_t>(TruncToInt32(116 * root[i] - 16));
  }
  uint8_t* a = tables->aTable.data();
  uint8_t* b = tables->bTable.data();
  for (int r = 0; r < kLevels; ++r) {
    for (int k = 0; k < kLevels; ++k) {
      *a++ = Opponent(140, (root[r] - root[k]) * -500);
      *b++ = Opponent(100, (root[r] - root[k]) * -200);
    }
  }
  return Status::kOk;
}

Status BuildLevelTable(LabTables* tables) {
  if (!tables->levelTable.Allocate(kLevels)) return Status::kMemoryShort;
  for (int i = 0; i < kLevels; ++i) tables->levelTable[static_cast<size_t>(i)] = i;
  return Status::kOk;
}

void ConvertHalfLab(const LabTables& tables, const ImageView& image, uint8_t* lab) {
  for (int32_t y = 0; y < image.height / 2; ++y) {
    const uint8_t* pixel = image.Row(2 * y);
    for (int32_t x = 0; x < image.width / 2; ++x, pixel += 6, lab += 3) {
      if ((pixel[0] | pixel[1] | pixel[2]) == 0) {
        lab[0] = lab[1] = lab[2] = 0;
      } else {
        Convert(tables, pixel[0], pixel[1], pixel[2], lab);
      }
    }
  }
}

}  // namespace qx
