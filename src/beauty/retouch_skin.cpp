#include "beauty/retouch_skin.h"

#include "base/buffer.h"
#include "beauty/skin/lab_tables.h"
#include "beauty/skin/skin_layer.h"
#include "beauty/skin/smooth_skin.h"
#include "beauty/spots/median_fill_spots.h"
#include "beauty/spots/spot_mask.h"

namespace qx {
namespace {

constexpr double kMedianSquare = 20.0;

// Without memory for the spots, the result is a copy.
void FillSpots(const ImageView& image, const LandmarkSet& landmarks, uint8_t* filled) {
  SpotMask spots;
  const bool built = BuildSpotMask(image, &landmarks, landmarks.Attributes(), &spots) == Status::kOk;
  if (MedianFillSpots(built ? &spots : nullptr, image, kMedianSquare, filled) != Status::kOk) {
    CopyBytes(filled, image.pixels, image.Bytes());
  }
}

}  // namespace

void RetouchSkin(const MutableImage& image, double strength, LandmarkSet* landmarks, uint8_t* work) {
  if (image.Empty()) return;
  FillSpots(image, *landmarks, work);
  const ImageView filled = {work, image.width, image.height, image.channels};
  LabTables tables;  // left empty when memory is short: nothing is smoothed then
  if (BuildLabTables(&tables) == Status::kOk) BuildLevelTable(&tables);
  SkinLayer layer;
  const Point* eyes = landmarks->Eyes();
  const bool smoothed = SmoothSkin(&tables, filled, landmarks, &eyes[0], &eyes[1], &layer) == Status::kOk;
  // A refused blend leaves a copy of the filled image.
  BlendSkinLayer(smoothed ? &layer : nullptr, filled, strength, image.pixels);
}

}  // namespace qx
