#include "face/face_engine.h"

#include <algorithm>
#include <cstring>

namespace qx {
namespace {

constexpr int32_t kOneChannel = 1;
constexpr int32_t kParamB = 15;
constexpr int32_t kThreshold = 550;
constexpr int32_t kRetryThreshold = 500;
constexpr int32_t kSmallestSide = 80;
constexpr int32_t kLargeImageSide = 800;
constexpr int32_t kMinFaceSmallImage = 15;
constexpr int32_t kMinFaceLargeImage = 25;
constexpr int32_t kRetryMinFace = 10;

// The upper bound first, so that an empty image gives 0.
int32_t ClampToExtent(int32_t value, int32_t extent) {
  value = std::min(value, WrapSub(extent, 1));
  return value < 1 ? 0 : value;
}

void ClampCorners(const ImageView& grey, int32_t (&corners)[2 * kCornerCount]) {
  for (int i = 0; i < kCornerCount; ++i) {
    corners[2 * i] = ClampToExtent(corners[2 * i], grey.width);
    corners[2 * i + 1] = ClampToExtent(corners[2 * i + 1], grey.height);
  }
}

int32_t* Ints(Point* points) {
  return reinterpret_cast<int32_t*>(points);
}

}  // namespace

FaceList::~FaceList() {
  Free();
}

void FaceList::Free() {
  if (held_) FaceListFree(entries_);
  entries_ = nullptr;
  count_ = 0;
  held_ = false;
}

FaceEngine::~FaceEngine() {
  Release();
}

bool FaceEngine::Create() {
  Release();
  detector_ = FaceDetectorCreate();
  aligner_ = LandmarkerCreate();
  attributeEngine_ = FaceAttrCreate();
  if (detector_ != nullptr && aligner_ != nullptr && attributeEngine_ != nullptr) return true;
  Release();
  return false;
}

void FaceEngine::Release() {
  if (detector_ != nullptr) FaceDetectorRelease(detector_);
  if (aligner_ != nullptr) LandmarkerRelease(aligner_);
  if (attributeEngine_ != nullptr) FaceAttrRelease(attributeEngine_);
  detector_ = aligner_ = attributeEngine_ = nullptr;
}

Status FaceEngine::RunDetector(const ImageView& grey, FaceList* faces) {
  faces->Free();
  FaceDetect(detector_, grey.pixels, grey.width, grey.height, kOneChannel, &faces->entries_, &faces->count_);
  faces->held_ = true;
  return faces->count_ < 0 ? Status::kMemoryShort : Status::kOk;
}

Status FaceEngine::Detect(const ImageView& grey, FaceList* faces) {
  const int32_t shorterSide = std::min(grey.width, grey.height);
  SetDetectFlagA(detector_, 1);
  SetDetectParamB(detector_, kParamB);
  SetDetectFlagC(detector_, 1);
  SetDetectThreshold(detector_, kThreshold);
  SetDetectSizeRange(detector_, kSmallestSide, shorterSide);
  SetDetectMinFace(detector_, shorterSide < kLargeImageSide ? kMinFaceSmallImage : kMinFaceLargeImage);
  Status status = RunDetector(grey, faces);
  if (status != Status::kOk || faces->Count() != 0) return status;

  faces->Free();
  SetDetectMinFace(detector_, kRetryMinFace);
  SetDetectThreshold(detector_, kRetryThreshold);
  status = RunDetector(grey, faces);
  SetDetectThreshold(detector_, kThreshold);
  // Also where the first try had the larger minimum: every run sets it afresh.
  SetDetectMinFace(detector_, kMinFaceSmallImage);
  return status;
}

void FaceEngine::Describe(const ImageView& grey, FaceEntry* entry, FoundFace* face, int32_t* attrBlock) {
  ClampCorners(grey, entry->corners);
  FaceArgument argument;
  std::memcpy(argument.corners, entry->corners, sizeof argument.corners);
  argument.tag = entry->tag;

  // What the engine writes here is either not kept or goes straight to the third analysis.
  int32_t scratchBlock1[QX_FACE_BLOCK_INTS] = {};
  int32_t scratchBlock2[QX_FACE_BLOCK_INTS] = {};
  int32_t unseenBlock[QX_FACE_BLOCK_INTS] = {};
  if (attrBlock == nullptr) attrBlock = unseenBlock;
  int32_t scratch[3] = {};
  FacePoints& points = face->source;
  FaceAlign(aligner_, grey.pixels, grey.width, grey.height, kOneChannel, &argument, &face->alignOutD, &face->alignOutE,
            scratchBlock1, Ints(points.landmarks), scratchBlock2, Ints(points.keyPoints), attrBlock, &face->alignOutF,
            &face->alignOutG, &face->alignOutH, &scratch[0], &scratch[1], &scratch[2], &face->alignInfoA,
            &face->alignInfoB, &face->alignInfoC);
  FaceAttr(attributeEngine_, grey.pixels, grey.width, grey.height, kOneChannel, Ints(points.keyPoints), attrBlock,
           face->alignInfoA, face->alignInfoB, face->alignInfoC, Ints(points.attributes));
  std::memcpy(points.faceBox, entry->corners, sizeof points.faceBox);
}

}  // namespace qx
