#include "beauty/retouch_skin.h"

#include <cstring>

#include "beauty/blend_skin_layer.h"
#include "beauty/lab_tables.h"
#include "beauty/median_fill_spots.h"
#include "beauty/smooth_skin.h"
#include "beauty/spot_mask.h"

namespace qx {
namespace {

constexpr double kMedianSquare = 20.0;

// Without memory for the spots, the result is a copy.
void FillSpots(const uint8_t* image, int32_t rows, int32_t columns, const LandmarkSet& landmarks, uint8_t* filled) {
  SpotMask spots;
  const bool built = BuildSpotMask(image, rows, columns, &landmarks, landmarks.Attributes(), &spots);
  if (MedianFillSpots(built ? &spots : nullptr, image, rows, columns, kMedianSquare, filled) < 0) {
    std::memcpy(filled, image, ImageBytes(columns, rows, 3));
  }
}

}  // namespace

void RetouchSkin(int32_t rows, int32_t columns, double strength, LandmarkSet* landmarks, uint8_t* image,
                 uint8_t* work) {
  if (rows <= 0 || columns <= 0) return;
  FillSpots(image, rows, columns, *landmarks, work);
  LabTables tables;  // left empty when memory is short: nothing is smoothed then
  if (BuildLabTables(&tables) == 0) BuildLevelTable(&tables);
  SkinLayer layer;
  const Point* eyes = landmarks->Eyes();
  const bool smoothed = SmoothSkin(&tables, work, columns, rows, landmarks, &eyes[0], &eyes[1], &layer);
  // A refused blend leaves a copy of the filled image.
  BlendSkinLayer(smoothed ? &layer : nullptr, work, columns, rows, strength, image);
}

}  // namespace qx
