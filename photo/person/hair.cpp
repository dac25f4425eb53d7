#include "photo/person/hair.h"

#include <utility>

#include "photo/person/clean_plate.h"
#include "photo/person/hair_alpha.h"
#include "photo/person/hair_lines.h"
#include "photo/person/head_crop.h"

namespace qx::photo {

HairMask FollowHair(const Image& picture, Mask mask, const std::vector<FaceBox>& faces) {
  HairMask result{std::move(mask), {}};
  HeadCrop crop;
  CleanPlate plate;
  if (!CropHeads(picture, result.mask, faces, &crop) || !EstimatePlate(crop, &plate)) return result;
  LayAlpha(picture, crop, EstimateHair(crop, plate).alpha, &result.mask);
  return result;
}

}  // namespace qx::photo
