// Drives every export with settings, images, faces and strengths of the fuzzer's choosing. The engine of this program
// finds and describes faces out of the same bytes, so points may lie anywhere.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "qx_face_sdk.h"
#include "qx_idp.h"

namespace {

FuzzedDataProvider* input = nullptr;

// Mostly near a small photograph, so that crops come out; sometimes anywhere.
int32_t Coordinate() {
  return input->ConsumeIntegralInRange(0, 15) == 0 ? input->ConsumeIntegral<int32_t>()
                                                   : input->ConsumeIntegralInRange(-20, 90);
}

void FillCoordinates(int32_t* values, int count) {
  for (int i = 0; i < count; ++i) values[i] = Coordinate();
}

double Real() {
  return input->ConsumeBool() ? input->ConsumeFloatingPointInRange(-2.0, 12.0) : input->ConsumeFloatingPoint<double>();
}

// Crops above this are made by the library but not read back.
constexpr int64_t kMostPixels = 1 << 20;

struct Buffers {
  explicit Buffers(int64_t pixels) : mask(static_cast<size_t>(pixels)), colour(static_cast<size_t>(pixels) * 3) {}
  std::vector<uint8_t> mask;
  std::vector<uint8_t> colour;
};

int64_t Pixels(int32_t width, int32_t height) {
  return width <= 0 || height <= 0 ? 0 : static_cast<int64_t>(width) * height;
}

void UseFace(IdpHandle* handle, IDPResult* result, const IdpImage& image, int32_t index) {
  int32_t width = 0, height = 0;
  if (QX_IDP_GetRCSize(result, index, &height, &width) != IDP_OK || Pixels(width, height) > kMostPixels) return;
  Buffers crop(Pixels(width, height));
  Buffers source(Pixels(image.width, image.height));
  for (uint8_t& m : source.mask) m = static_cast<uint8_t>(&m - source.mask.data());
  QX_IDP_GetRCImage(result, index, crop.colour.data(), crop.mask.data());
  QualityScores scores;
  QX_IDP_CheckQuality(handle, result, index, &scores);
  QX_IDP_SetSrcMaskFg(result, index, source.mask.data(), source.colour.data());
  QX_IDP_GetRCMaskFg(result, index, crop.mask.data(), crop.colour.data());
  QX_IDP_GetSrcMaskFg(result, index, source.mask.data(), source.colour.data());
  FineCropParams fine;
  fine.width = input->ConsumeIntegralInRange(0, 70);
  fine.height = input->ConsumeIntegralInRange(0, 70);
  for (double* bound : {&fine.headMin, &fine.headMax, &fine.topMin, &fine.topMax, &fine.eyeMin, &fine.eyeMax,
                        &fine.faceWidthMin, &fine.faceWidthMax}) {
    *bound = Real();
  }
  CropRect rect;
  QX_IDP_FineCrop(result, index, &fine, &rect);
  BeautyParams params;
  for (double& p : params.p) p = Real();
  QX_IDP_DoFaceBeauty(handle, nullptr, result, index, &params, crop.mask.data(), crop.colour.data());
  QX_IDP_DoFaceBeauty(handle, &image, result, index, &params, nullptr, source.colour.data());
  QX_IDP_Do91Beauty(handle, result, index, &params, source.mask.data(), source.colour.data());
}

}  // namespace

extern "C" {

// A crop may take gigabytes: here the library is told that there is no memory for it.
const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=200";
}

void* FaceDetectorCreate(void) {
  return new int;
}
void FaceDetectorRelease(void* detector) {
  delete static_cast<int*>(detector);
}
void* LandmarkerCreate(void) {
  return new int;
}
void LandmarkerRelease(void* landmarker) {
  delete static_cast<int*>(landmarker);
}
void* FaceAttrCreate(void) {
  return new int;
}
void FaceAttrRelease(void* analyser) {
  delete static_cast<int*>(analyser);
}
void SetDetectFlagA(void*, int32_t) {}
void SetDetectParamB(void*, int32_t) {}
void SetDetectFlagC(void*, int32_t) {}
void SetDetectThreshold(void*, int32_t) {}
void SetDetectSizeRange(void*, int32_t, int32_t) {}
void SetDetectMinFace(void*, int32_t) {}

void FaceDetect(void*, const uint8_t*, int32_t, int32_t, int32_t, FaceEntry** faces, int32_t* count) {
  *count = input->ConsumeIntegralInRange(0, 3);
  *faces = new FaceEntry[static_cast<size_t>(*count)];
  for (int32_t i = 0; i < *count; ++i) FillCoordinates((*faces)[i].corners, 8);
}

void FaceListFree(FaceEntry* faces) {
  delete[] faces;
}

void FaceAlign(void*, const uint8_t*, int32_t, int32_t, int32_t, const FaceArgument*, int32_t* outD, int32_t* outE,
               int32_t*, int32_t* landmarks, int32_t*, int32_t* keyPoints, int32_t*, int32_t* outF, int32_t* outG,
               int32_t* outH, int32_t*, int32_t*, int32_t*, int32_t*, int32_t*, int32_t*) {
  FillCoordinates(landmarks, 2 * QX_FACE_LANDMARKS);
  // Crops of hundreds of megabytes are right but slow: the eyes stand close together or too far apart for any crop.
  const auto dx = static_cast<uint32_t>(landmarks[18]) - static_cast<uint32_t>(landmarks[0]);
  const auto dy = static_cast<uint32_t>(landmarks[19]) - static_cast<uint32_t>(landmarks[1]);
  const auto square = static_cast<int32_t>(dx * dx + dy * dy);
  if (square > 500 * 500 && square < 6000 * 6000) std::copy_n(landmarks, 2, landmarks + 18);
  FillCoordinates(keyPoints, 2 * QX_FACE_KEY_POINTS);
  for (int32_t* value : {outD, outE, outF, outG, outH}) *value = input->ConsumeIntegral<int16_t>();
}

void FaceAttr(void*, const uint8_t*, int32_t, int32_t, int32_t, const int32_t*, const int32_t*, int32_t, int32_t,
              int32_t, int32_t* attributes) {
  FillCoordinates(attributes, 2 * QX_FACE_ATTRIBUTE_POINTS);
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider provider(data, size);
  input = &provider;
  const std::unique_ptr<IdpHandle, void (*)(IdpHandle*)> handle(QX_IDP_CreateHandle(), QX_IDP_DeleteHandle);
  const std::unique_ptr<IDPResult, void (*)(IDPResult*)> result(QX_IDP_CreateIDPResult(), QX_IDP_DeleteIDPResult);
  QX_IDP_SetSrcSame(handle.get(), provider.ConsumeIntegralInRange<uint8_t>(0, 1));
  if (provider.ConsumeBool()) QX_IDP_SetRCLRBound(handle.get(), provider.ConsumeIntegralInRange(-1, 900));
  if (provider.ConsumeBool()) QX_IDP_SetRCLRRatio(handle.get(), Real());

  IdpImage image;
  image.channels = provider.ConsumeBool() ? 3 : 1;
  image.height = provider.ConsumeIntegralInRange(-1, 80);
  image.width = provider.ConsumeIntegralInRange(-1, 80);
  std::vector<uint8_t> pixels(static_cast<size_t>(Pixels(image.width, image.height) * image.channels));
  const uint8_t step = provider.ConsumeIntegral<uint8_t>();
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(i * step);
  uint8_t none = 0;
  image.pixels = pixels.empty() ? &none : pixels.data();

  const int32_t mode = provider.ConsumeIntegralInRange(1, 2);
  QX_IDP_RoughCrop(handle.get(), &image, mode, result.get());
  int32_t count = 0;
  QX_IDP_GetFaceNumber(result.get(), &count);
  for (int32_t i = -1; i < count; ++i) UseFace(handle.get(), result.get(), image, i);
  return 0;
}

}  // extern "C"
