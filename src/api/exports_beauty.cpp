// Exports: retouching.
#include "api/result.h"

extern "C" {

int32_t QX_IDP_DoFaceBeauty(IdpHandle* handle, const IdpImage* image, IDPResult* result, int32_t index,
                            const BeautyParams* params, uint8_t* maskOut, uint8_t* imageOut) {
  static_cast<void>(params);
  if (handle == nullptr || result == nullptr) return IDP_ERR_HANDLE;
  if (imageOut == nullptr || index >= result->faceCount) return IDP_ERR_PARAM;
  if (!result->HasFaceCrop(index)) return IDP_ERR_PARAM;
  const bool cropPath = image == nullptr || image->pixels == nullptr;
  if (cropPath && result->cropMode == IDP_CROP_SINGLE) {
    if (maskOut == nullptr) return IDP_ERR_PARAM;
    const qx::FaceRecord* face = result->Face(index);
    if (!face->fgColour || !face->fgMask) return IDP_ERR_NO_MASK;
  }
  return IDP_ERR_PARAM;
}

int32_t QX_IDP_Do91Beauty(IdpHandle* handle, IDPResult* result, int32_t index, const BeautyParams* params,
                          uint8_t* maskOut, uint8_t* imageOut) {
  static_cast<void>(params);
  if (handle == nullptr || result == nullptr) return IDP_ERR_HANDLE;
  if (imageOut == nullptr || index >= result->faceCount) return IDP_ERR_PARAM;
  if (!result->HasFaceCrop(index) || result->cropMode != IDP_CROP_SINGLE || maskOut == nullptr) return IDP_ERR_PARAM;
  const qx::FaceRecord* face = result->Face(index);
  if (!face->fgColour || !face->fgMask) return IDP_ERR_NO_MASK;
  return IDP_ERR_PARAM;
}

}  // extern "C"
