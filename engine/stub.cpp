// The sixteen functions of an engine that cannot be created. The library is built and linked with it where there is no
// real one; at run time any engine of the same name takes its place.
#include "qx_face_sdk.h"

void* FaceDetectorCreate(void) {
  return nullptr;
}
void FaceDetectorRelease(void*) {}
void* LandmarkerCreate(void) {
  return nullptr;
}
void LandmarkerRelease(void*) {}
void* FaceAttrCreate(void) {
  return nullptr;
}
void FaceAttrRelease(void*) {}

void SetDetectFlagA(void*, int32_t) {}
void SetDetectParamB(void*, int32_t) {}
void SetDetectFlagC(void*, int32_t) {}
void SetDetectThreshold(void*, int32_t) {}
void SetDetectSizeRange(void*, int32_t, int32_t) {}
void SetDetectMinFace(void*, int32_t) {}

void FaceDetect(void*, const uint8_t*, int32_t, int32_t, int32_t, FaceEntry** faces, int32_t* count) {
  *faces = nullptr;
  *count = 0;
}
void FaceListFree(FaceEntry*) {}

void FaceAlign(void*, const uint8_t*, int32_t, int32_t, int32_t, const FaceArgument*, int32_t*, int32_t*, int32_t*,
               int32_t*, int32_t*, int32_t*, int32_t*, int32_t*, int32_t*, int32_t*, int32_t*, int32_t*, int32_t*,
               int32_t*, int32_t*, int32_t*) {}
void FaceAttr(void*, const uint8_t*, int32_t, int32_t, int32_t, const int32_t*, const int32_t*, int32_t, int32_t,
              int32_t, int32_t*) {}
