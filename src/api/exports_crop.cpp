// Exports: the crop run and what is read from its crops.

#include "api/handle.h"
#include "api/result.h"
#include "base/buffer.h"
#include "crop/cut_crops.h"
#include "crop/fine_crop.h"
#include "face/find_faces.h"
#include "quality/quality_check.h"

namespace qx {
namespace {

int32_t ExportStatus(Status status) {
  switch (status) {
    case Status::kOk: return IDP_OK;
    case Status::kNoFace: return IDP_ERR_NO_FACE;
    case Status::kTooFewFaces: return IDP_ERR_TOO_FEW_FACES;
    case Status::kTooManyFaces: return IDP_ERR_TOO_MANY_FACES;
    case Status::kTurnsDiffer: return IDP_ERR_PAIR_CROP;
    case Status::kBadArgument:
    case Status::kBadDirection:
    case Status::kMemoryShort: break;
  }
  return IDP_ERR_PARAM;
}

// Finds the faces and cuts their crops into a result whose mode and settings are set and which holds no faces yet.
Status RunCrop(const ImageView& photograph, FaceEngine* engine, IDPResult* result) {
  const bool pair = result->cropMode == IDP_CROP_PAIR;
  FoundFaces found;
  Status status = FindFaces(photograph, pair ? FacesWanted::kTwo : FacesWanted::kAny, engine, &found);
  if (status != Status::kOk) return status;
  status = pair ? CutPair(photograph, result->settings, found, &result->faces, &result->pairCrop)
                : CutPortraits(photograph, result->settings, found, &result->faces);
  if (status == Status::kOk) result->faceCount = found.count;
  return status;
}

}  // namespace
}  // namespace qx

extern "C" {

int32_t QX_IDP_RoughCrop(IdpHandle* handle, const IdpImage* image, int32_t mode, IDPResult* result) {
  if (handle == nullptr || result == nullptr) return IDP_ERR_HANDLE;
  if (image == nullptr || image->pixels == nullptr) return IDP_ERR_PARAM;
  if (image->channels != 1 && image->channels != 3) return IDP_ERR_PARAM;
  if (mode != IDP_CROP_SINGLE && mode != IDP_CROP_PAIR) return IDP_ERR_PARAM;
  result->ReleaseContents();
  result->srcChannels = image->channels;
  result->srcHeight = image->height;
  result->cropMode = mode;
  result->srcWidth = image->width;
  result->settings = handle->settings;
  const qx::ImageView photograph = {image->pixels, image->width, image->height, image->channels};
  return qx::ExportStatus(qx::RunCrop(photograph, &handle->engine, result));
}

int32_t QX_IDP_GetFaceNumber(IDPResult* result, int32_t* count) {
  if (result == nullptr) return IDP_ERR_HANDLE;
  if (count == nullptr) return IDP_ERR_PARAM;
  *count = result->faceCount;
  return IDP_OK;
}

int32_t QX_IDP_GetRCSize(IDPResult* result, int32_t index, int32_t* height, int32_t* width) {
  if (result == nullptr) return IDP_ERR_HANDLE;
  if (index >= result->faceCount || width == nullptr || height == nullptr) return IDP_ERR_PARAM;
  const qx::CropView crop = qx::ViewCrop(*result, index);
  *height = crop.height;
  *width = crop.width;
  return IDP_OK;
}

int32_t QX_IDP_GetRCImage(IDPResult* result, int32_t index, uint8_t* image, uint8_t* mask) {
  if (result == nullptr) return IDP_ERR_HANDLE;
  if (index >= result->faceCount || image == nullptr || mask == nullptr) return IDP_ERR_PARAM;
  const qx::CropView crop = qx::ViewCrop(*result, index);
  if (crop.image == nullptr || crop.mask == nullptr) return IDP_ERR_PARAM;
  qx::CopyBytes(image, crop.image, qx::ImageBytes(crop.width, crop.height, 3));
  qx::CopyBytes(mask, crop.mask, qx::ImageBytes(crop.width, crop.height, 1));
  return IDP_OK;
}

int32_t QX_IDP_CheckQuality(IdpHandle* handle, IDPResult* result, int32_t index, QualityScores* scores) {
  if (handle == nullptr || result == nullptr) return IDP_ERR_HANDLE;
  if (index >= result->faceCount) return IDP_ERR_PARAM;
  if (result->cropMode != 0 && !result->HasModeCrop(index)) return IDP_ERR_PARAM;
  if (result->cropMode != IDP_CROP_SINGLE) return IDP_OK;
  if (scores == nullptr) return IDP_ERR_PARAM;
  *scores = qx::CheckQuality(*result->Face(index));
  return IDP_OK;
}

int32_t QX_IDP_FineCrop(IDPResult* result, int32_t index, const FineCropParams* params, CropRect* rect) {
  if (result == nullptr) return IDP_ERR_HANDLE;
  if (index >= result->faceCount || !result->HasFaceCrop(index)) return IDP_ERR_PARAM;
  const qx::FaceRecord& face = *result->Face(index);
  if (!face.fgMask) return IDP_ERR_NO_MASK;
  if (params == nullptr || rect == nullptr) return IDP_ERR_PARAM;
  if (result->cropMode == IDP_CROP_SINGLE) {
    if (params->height < 1 || params->width < 1) return IDP_ERR_PARAM;
    if (params->headMin > params->headMax || params->eyeMin > params->eyeMax || params->topMin > params->topMax) {
      return IDP_ERR_PARAM;
    }
    return qx::FineCropSingle(face, *params, rect) ? IDP_OK : IDP_ERR_NO_FIT;
  }
  const qx::CropView pair = qx::ViewCrop(*result, index);
  if (pair.fgMask == nullptr || pair.fgColour == nullptr) return IDP_ERR_PARAM;
  return qx::FineCropPair(result->faces.get(), *result->pairCrop, rect) ? IDP_OK : IDP_ERR_NO_FIT;
}

}  // extern "C"
