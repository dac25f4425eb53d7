// Exports: exchange of the person mask.

#include "api/result.h"
#include "base/buffer.h"
#include "mask/mask_transfer.h"

extern "C" {

int32_t QX_IDP_Segment(IdpHandle* handle, void* unused, void* out) {
  static_cast<void>(unused);
  if (handle == nullptr || out == nullptr) return IDP_ERR_HANDLE;
  return IDP_ERR_PARAM;
}

int32_t QX_IDP_GetRCMaskFg(IDPResult* result, int32_t index, uint8_t* mask, uint8_t* colour) {
  if (result == nullptr) return IDP_ERR_HANDLE;
  if (index >= result->faceCount) return IDP_ERR_PARAM;
  if (mask == nullptr && colour == nullptr) return IDP_ERR_PARAM;
  if (!result->HasModeCrop(index)) return IDP_ERR_PARAM;
  const qx::CropView crop = qx::ViewCrop(*result, index);
  if (crop.fgMask == nullptr) return IDP_ERR_NO_MASK;
  if (mask != nullptr) qx::CopyBytes(mask, crop.fgMask, qx::ImageBytes(crop.width, crop.height, 1));
  if (colour != nullptr) qx::CopyBytes(colour, crop.fgColour, qx::ImageBytes(crop.width, crop.height, 3));
  return IDP_OK;
}

int32_t QX_IDP_GetSrcMaskFg(IDPResult* result, int32_t index, uint8_t* mask, uint8_t* colour) {
  if (result == nullptr) return IDP_ERR_HANDLE;
  if (index >= result->faceCount) return IDP_ERR_PARAM;
  if (!result->HasFaceCrop(index)) return IDP_ERR_PARAM;
  const qx::FaceRecord& face = *result->Face(index);
  if (!face.fgMask) return IDP_ERR_NO_MASK;
  if (result->settings.srcSame == 0) return IDP_ERR_PARAM;
  return qx::MapCropToSource(face, face.fgMask.data(), face.fgColour.data(),
                             {mask, result->srcWidth, result->srcHeight, 1},
                             {colour, result->srcWidth, result->srcHeight, 3})
             ? IDP_OK
             : IDP_ERR_PARAM;
}

int32_t QX_IDP_SetSrcMaskFg(IDPResult* result, int32_t index, const uint8_t* mask, const uint8_t* colour) {
  if (result == nullptr) return IDP_ERR_HANDLE;
  if (index >= result->faceCount) return IDP_ERR_PARAM;
  if (!result->HasFaceCrop(index) || mask == nullptr || colour == nullptr || result->settings.srcSame == 0) {
    return IDP_ERR_PARAM;
  }
  qx::FaceRecord& face = *result->Face(index);
  if (!qx::ReserveForeground(&face)) return IDP_ERR_PARAM;
  const int32_t width = result->srcWidth, height = result->srcHeight;
  return qx::MaskToCrop({mask, width, height, 1}, {colour, width, height, 3}, &face) ? IDP_OK : IDP_ERR_PARAM;
}

}  // extern "C"
