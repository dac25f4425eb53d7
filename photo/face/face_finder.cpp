#include "photo/face/face_finder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "photo/base/failure.h"

namespace qx::photo {
namespace {

// Luma in integers, rounded half up.
std::vector<uint8_t> ToGrey(const Image& image) {
  std::vector<uint8_t> grey(image.bgr.size() / 3);
  const uint8_t* pixel = image.bgr.data();
  for (uint8_t& value : grey) {
    value = static_cast<uint8_t>((299u * pixel[2] + 587u * pixel[1] + 114u * pixel[0] + 500u) / 1000u);
    pixel += 3;
  }
  return grey;
}

struct FaceListDelete {
  void operator()(FaceEntry* faces) const { FaceListFree(faces); }
};
using FaceList = std::unique_ptr<FaceEntry, FaceListDelete>;

struct GreyView {
  const uint8_t* pixels;
  int32_t width, height;
};

FaceList Detect(void* detector, const GreyView& grey, int32_t* count) {
  FaceEntry* faces = nullptr;
  *count = 0;
  FaceDetect(detector, grey.pixels, grey.width, grey.height, 1, &faces, count);
  return FaceList(faces);
}

// One search with the usual settings and, when it finds nothing, one that is easier to please.
FaceList DetectWithRetry(void* detector, const GreyView& grey, int32_t* count) {
  const int32_t shorter = std::min(grey.width, grey.height);
  SetDetectFlagA(detector, 1);
  SetDetectParamB(detector, 15);
  SetDetectFlagC(detector, 1);
  SetDetectThreshold(detector, 550);
  SetDetectSizeRange(detector, 80, shorter);
  SetDetectMinFace(detector, shorter < 800 ? 15 : 25);
  FaceList faces = Detect(detector, grey, count);
  if (*count == 0) {
    faces.reset();
    SetDetectMinFace(detector, 10);
    SetDetectThreshold(detector, 500);
    faces = Detect(detector, grey, count);
    SetDetectThreshold(detector, 550);
    SetDetectMinFace(detector, 15);
  }
  return faces;
}

template <size_t N>
std::array<Point, N> ToPoints(const int32_t* xy) {
  std::array<Point, N> points;
  for (size_t i = 0; i < N; ++i) points[i] = {xy[2 * i], xy[2 * i + 1]};
  return points;
}

ProbedFace Describe(void* landmarker, void* analyser, const GreyView& grey, const FaceEntry& entry) {
  FaceArgument argument;
  for (int i = 0; i < 8; ++i) {
    const int32_t last = (i % 2 == 0 ? grey.width : grey.height) - 1;
    argument.corners[i] = std::max(std::min(entry.corners[i], last), 0);
  }
  argument.tag = entry.tag;

  ProbedFace face{};
  std::vector<int32_t> blocks(size_t{3} * QX_FACE_BLOCK_INTS);
  int32_t* const attrBlock = blocks.data() + 2 * QX_FACE_BLOCK_INTS;
  int32_t landmarks[2 * QX_FACE_LANDMARKS] = {}, keyPoints[2 * QX_FACE_KEY_POINTS] = {};
  int32_t attributes[2 * QX_FACE_ATTRIBUTE_POINTS] = {};
  int32_t roll = 0, scratch[3] = {}, info[3] = {};
  FaceAlign(landmarker, grey.pixels, grey.width, grey.height, 1, &argument, &face.presence, &roll, blocks.data(),
            landmarks, blocks.data() + QX_FACE_BLOCK_INTS, keyPoints, attrBlock, &face.leftEye, &face.rightEye,
            &face.mouth, &scratch[0], &scratch[1], &scratch[2], &info[0], &info[1], &info[2]);
  FaceAttr(analyser, grey.pixels, grey.width, grey.height, 1, keyPoints, attrBlock, info[0], info[1], info[2],
           attributes);

  face.corners = ToPoints<4>(argument.corners);
  face.score = entry.unread;
  face.keyPoints = ToPoints<QX_FACE_KEY_POINTS>(keyPoints);
  face.landmarks = ToPoints<QX_FACE_LANDMARKS>(landmarks);
  face.densePoints = ToPoints<QX_FACE_ATTRIBUTE_POINTS>(attributes);
  return face;
}

}  // namespace

double ProbedFace::Roll() const {
  const double dx = static_cast<double>(keyPoints[1].x) - keyPoints[0].x;
  const double dy = static_cast<double>(keyPoints[1].y) - keyPoints[0].y;
  const double degrees = std::atan2(dy, dx) * (180 / 3.14159265358979323846);
  return degrees == 0 ? 0 : degrees;  // no -0
}

double ProbedFace::Width() const {
  auto length = [](Point a, Point b) { return std::hypot(double{1} * b.x - a.x, double{1} * b.y - a.y); };
  return (length(corners[0], corners[1]) + length(corners[2], corners[3])) / 2;
}

FaceProbe::FaceProbe() : detector_(FaceDetectorCreate()), landmarker_(LandmarkerCreate()), analyser_(FaceAttrCreate()) {
  if (!detector_ || !landmarker_ || !analyser_) {
    throw Failure(FailureCode::kEngine, "the face engine cannot load; install the program again or free some memory");
  }
}

std::vector<ProbedFace> FaceProbe::Probe(const Image& photograph) {
  const std::vector<uint8_t> pixels = ToGrey(photograph);
  const GreyView grey{pixels.data(), photograph.width, photograph.height};
  int32_t count = 0;
  const FaceList entries = DetectWithRetry(detector_.get(), grey, &count);
  std::vector<ProbedFace> faces;
  faces.reserve(static_cast<size_t>(std::max(count, 0)));
  for (int32_t i = 0; i < count; ++i) {
    faces.push_back(Describe(landmarker_.get(), analyser_.get(), grey, entries.get()[i]));
  }
  return faces;
}

}  // namespace qx::photo
