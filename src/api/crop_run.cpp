#include "api/crop_run.h"

#include <cstring>
#include <new>

#include "api/result.h"
#include "crop/pair_crop.h"
#include "crop/portrait_crop.h"
#include "face/grey_convert.h"

namespace qx {
namespace {

constexpr int32_t kPairFaces = 2;

bool MakeGrey(const ImageView& photograph, ByteBuffer* grey) {
  const uint64_t pixels = ImageBytes(photograph.width, photograph.height, 1);
  if (!grey->Allocate(pixels)) return false;
  if (photograph.channels == 1) {
    std::memcpy(grey->data(), photograph.pixels, pixels);
  } else {
    GreyConvert(photograph.pixels, photograph.height, photograph.width, grey->data());
  }
  return true;
}

int32_t CheckFaceCount(int32_t cropMode, int32_t count) {
  if (count == 0) return IDP_ERR_NO_FACE;
  if (cropMode == IDP_CROP_PAIR && count < kPairFaces) return IDP_ERR_TOO_FEW_FACES;
  if (cropMode == IDP_CROP_PAIR && count > kPairFaces) return IDP_ERR_TOO_MANY_FACES;
  return IDP_OK;
}

int32_t RunPairCrop(const ImageView& photograph, IDPResult* result) {
  result->pairCrop.reset(new (std::nothrow) PairCrop);
  int32_t status = IDP_OK;
  if (result->pairCrop == nullptr) {
    status = IDP_ERR_PARAM;
  } else if (!CropPair(photograph, result->settings, result->faces.get(), result->pairCrop.get())) {
    status = IDP_ERR_PAIR_CROP;
  }
  if (status != IDP_OK) result->ReleaseContents();
  return status;
}

}  // namespace

int32_t RunCrop(const ImageView& photograph, FaceEngine* engine, IDPResult* result) {
  ByteBuffer greyPixels;
  if (!MakeGrey(photograph, &greyPixels)) return IDP_ERR_PARAM;
  const GreyImage grey = {greyPixels.data(), photograph.width, photograph.height};

  FaceList found;
  engine->Detect(grey, &found);
  const int32_t count = found.Count();
  const int32_t status = CheckFaceCount(result->cropMode, count);
  if (status != IDP_OK) return status;

  result->faces.reset(new (std::nothrow) FaceRecord[static_cast<size_t>(count)]);
  if (result->faces == nullptr) return IDP_ERR_PARAM;
  result->faceCount = count;
  for (int32_t i = 0; i < count; ++i) engine->Describe(grey, &found[i], result->Face(i));

  if (result->cropMode == IDP_CROP_PAIR) return RunPairCrop(photograph, result);
  for (int32_t i = 0; i < count; ++i) CropPortrait(photograph, result->settings, result->Face(i));
  return IDP_OK;
}

}  // namespace qx
