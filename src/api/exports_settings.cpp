// Exports: life cycle and settings.
#include <new>

#include "api/handle.h"
#include "api/result.h"

namespace {

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
  handle->settings.SetRatio(ratio);
  return IDP_OK;
}

int32_t QX_IDP_GetRCLRRatio(IdpHandle* handle, double* ratio) {
  if (handle == nullptr) return IDP_ERR_HANDLE;
  if (ratio == nullptr) return IDP_ERR_PARAM;
  *ratio = handle->settings.Ratio();
  return IDP_OK;
}

}  // extern "C"
