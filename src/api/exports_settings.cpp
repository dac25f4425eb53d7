// Exports: life cycle and settings.
#include <new>

#include "api/handle.h"
#include "api/result.h"

namespace {

// One unit in the last place above 0.6; the getter divides by what the setter multiplied with.
constexpr double kRatioSpan = 0x1.3333333333334p-1;
constexpr double kRatioBase = 2.0;
constexpr int32_t kNoBound = -1;
constexpr int32_t kSmallestBound = 600;

}  // namespace

extern "C" {

uint32_t NvOptimusEnablementCuda = 1;

IdpHandle* QX_IDP_CreateHandle(void) {
  auto* handle = new (std::nothrow) IdpHandle;
  if (handle != nullptr && handle->engine.Create()) return handle;
  delete handle;
  return nullptr;
}

void QX_IDP_DeleteHandle(IdpHandle* handle) {
  delete handle;
}

IDPResult* QX_IDP_CreateIDPResult(void) {
  return new (std::nothrow) IDPResult;
}

void QX_IDP_DeleteIDPResult(IDPResult* result) {
  delete result;
}

int32_t QX_IDP_SetSrcSame(IdpHandle* handle, uint8_t srcSame) {
  if (handle == nullptr) return IDP_ERR_HANDLE;
  handle->settings.srcSame = srcSame;
  return IDP_OK;
}

int32_t QX_IDP_GetSrcSame(IdpHandle* handle, uint8_t* srcSame) {
  if (handle == nullptr) return IDP_ERR_HANDLE;
  if (srcSame == nullptr) return IDP_ERR_PARAM;
  *srcSame = handle->settings.srcSame;
  return IDP_OK;
}

int32_t QX_IDP_SetRCLRBound(IdpHandle* handle, int32_t bound) {
  if (handle == nullptr) return IDP_ERR_HANDLE;
  if (bound < 0) {
    handle->settings.lrBound = kNoBound;
    return IDP_OK;
  }
  if (bound < kSmallestBound) return IDP_ERR_PARAM;
  handle->settings.lrBound = bound;
  return IDP_OK;
}

int32_t QX_IDP_GetRCLRBound(IdpHandle* handle, int32_t* bound) {
  if (handle == nullptr) return IDP_ERR_HANDLE;
  if (bound == nullptr) return IDP_ERR_PARAM;
  *bound = handle->settings.lrBound;
  return IDP_OK;
}

int32_t QX_IDP_SetRCLRRatio(IdpHandle* handle, double ratio) {
  if (handle == nullptr) return IDP_ERR_HANDLE;
  if (0 > ratio) return IDP_ERR_PARAM;  // both tests let a NaN pass
  if (ratio > 1.0) return IDP_ERR_PARAM;
  qx::CropSettings& settings = handle->settings;
  const double side = ratio * kRatioSpan + kRatioBase;
  settings.ratioLeft = side;
  settings.ratioRight = side;
  settings.ratioDown = (side * 3.32) / 2.4;
  settings.ratioUp = (side * 2.78) / 2.4;
  return IDP_OK;
}

int32_t QX_IDP_GetRCLRRatio(IdpHandle* handle, double* ratio) {
  if (handle == nullptr) return IDP_ERR_HANDLE;
  if (ratio == nullptr) return IDP_ERR_PARAM;
  *ratio = (handle->settings.ratioLeft - kRatioBase) / kRatioSpan;
  return IDP_OK;
}

}  // extern "C"
