#include "photo/person/hair.h"

#include <utility>

#include "photo/person/clean_plate.h"
#include "photo/person/hair_alpha.h"
#include "photo/person/head_crop.h"

namespace qx::photo {

std::optional<HairMap> FollowHair(const PersonMap& map, const Image& picture, const Rectangle& window,
                                  const std::vector<FaceBox>& persons, const std::vector<FaceBox>& others) {
  std::optional<HeadCrop> crop = CropHeads(map, picture, window, persons, others);
  CleanPlate plate;
  if (!crop || !EstimatePlate(*crop, &plate)) return std::nullopt;
  HairAlpha hair = EstimateHair(*crop, plate);
  return HairMap{crop->window,           std::move(crop->colours), std::move(hair.alpha),
                 std::move(crop->faces), crop->faceWidth,          hair.doubt};
}

}  // namespace qx::photo
