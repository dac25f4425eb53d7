#include "api/result.h"

namespace qx {
namespace {

template <typename Owner>
CropView ViewOf(const Owner* owner) {
  if (owner == nullptr) return {};
  return {owner->cropWidth,       owner->cropHeight,    owner->cropImage.data(),
          owner->cropMask.data(), owner->fgMask.data(), owner->fgColour.data()};
}

}  // namespace

CropView ViewCrop(const IDPResult& result, int32_t index) {
  return result.cropMode == IDP_CROP_SINGLE ? ViewOf(result.Face(index)) : ViewOf(result.pairCrop.get());
}

}  // namespace qx

bool IDPResult::HasFaceCrop(int32_t index) const {
  const qx::FaceRecord* face = Face(index);
  return face != nullptr && face->HasCrop();
}

bool IDPResult::HasModeCrop(int32_t index) const {
  if (cropMode == IDP_CROP_SINGLE) return HasFaceCrop(index);
  return pairCrop != nullptr && pairCrop->HasCrop();
}

void IDPResult::ReleaseContents() {
  faces.reset();
  faceCount = 0;
  pairCrop.reset();
  settings.srcSame = 0;
}
