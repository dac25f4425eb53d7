#include "photo/render/retouch.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "beauty/pipeline.h"
#include "beauty/retouch_skin.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/render/keep_features.h"

namespace qx::photo {
namespace {

struct Named {
  std::string_view name;
  Retouch retouch;
};

// Chosen by eye on portraits.
constexpr Named kNamed[] = {
    {"light", {0, 0, 1, 0.7, false, 0}},
    {"natural", {0.5, 0, 2, 1.2, true, 1}},
    {"strong", {1.5, 0, 3, 2, true, 3}},
};

LandmarkSet LandmarksOf(const ProbedFace& face) {
  LandmarkSet set;
  const auto copy = [](const Point* from, int count, qx::Point* to) {
    for (int i = 0; i < count; ++i) to[i] = {from[i].x, from[i].y};
  };
  constexpr int kEach = LandmarkSet::kRegionPoints;
  copy(face.corners.data(), kCornerCount, set.FaceBox());
  copy(face.keyPoints.data(), 2, set.Eyes());
  set.RegionValue(FaceRegion::kLeftEye) = face.leftEye;
  set.RegionValue(FaceRegion::kRightEye) = face.rightEye;
  set.RegionValue(FaceRegion::kMouth) = face.mouth;
  copy(face.landmarks.data(), kEach, set.Region(FaceRegion::kLeftEye));
  copy(face.landmarks.data() + 8, kEach, set.Region(FaceRegion::kRightEye));
  copy(face.landmarks.data() + 16, 2, set.Region(FaceRegion::kMouth));  // its corners
  copy(face.landmarks.data() + 19, 2, set.Region(FaceRegion::kMouth) + 2);
  copy(face.densePoints.data(), kAttributeCount, set.Attributes());
  return set;
}

// The picture's first rows that the stages of eyes, mouth and outline read or write: lenses reach 1.5 times the length
// of an eye, and the soft edge of the clearer eyes ten pixels, beyond the points.
int32_t RowsOfShape(const LandmarkSet& landmarks, int32_t rows) {
  constexpr int64_t kEdge = 32;
  int64_t left = INT32_MAX, top = INT32_MAX, right = INT32_MIN, bottom = INT32_MIN;
  const auto add = [&](const qx::Point* points, int count) {
    for (int i = 0; i < count; ++i) {
      left = std::min<int64_t>(left, points[i].x);
      right = std::max<int64_t>(right, points[i].x);
      top = std::min<int64_t>(top, points[i].y);
      bottom = std::max<int64_t>(bottom, points[i].y);
    }
  };
  for (const FaceRegion region : {FaceRegion::kLeftEye, FaceRegion::kRightEye, FaceRegion::kMouth}) {
    add(landmarks.Region(region), LandmarkSet::kRegionPoints);
  }
  add(landmarks.Attributes(), kAttributeCount);
  return static_cast<int32_t>(std::clamp<int64_t>(bottom + 2 * (right - left + bottom - top) + kEdge, 1, rows));
}

// The library's stages but the skin's, which alone depend on the face and not on the size of the picture.
void RunStages(const BeautyParams& params, const LandmarkSet& landmarks, Image* photograph, Mask* mask) {
  if (std::all_of(std::begin(params.p), std::end(params.p), [](double strength) { return strength == 0; })) return;
  const bool toned = params.p[3] > 0;
  uint8_t* const pixels = photograph->bgr.data();
  const int32_t rows = toned ? photograph->height : RowsOfShape(landmarks, photograph->height);
  RunBeautyPipeline({pixels, photograph->width, rows, 3}, landmarks, params, mask ? mask->values.data() : nullptr,
                    pixels);
}

void RetouchSkinOf(const ProbedFace& face, const Retouch& retouch, LandmarkSet* landmarks, Image* photograph) {
  const SavedPart before = retouch.keepFeatures ? SavePart(*photograph, face) : SavedPart();
  {
    Bytes work(photograph->bgr.size());
    RetouchSkin({photograph->bgr.data(), photograph->width, photograph->height, 3}, retouch.skin, landmarks,
                work.data());
  }
  if (retouch.keepFeatures) KeepFeatures(before, face, retouch.skin, photograph);
}

// Not-a-number is out of range too.
void CheckStrengths(const Retouch& retouch) {
  const auto isWithin = [](double value, double least, double most) { return value >= least && value <= most; };
  if (isWithin(retouch.eyes, -kMostSize, kMostSize) && isWithin(retouch.mouth, -kMostSize, kMostSize) &&
      isWithin(retouch.tone, 0, kMostTone) && isWithin(retouch.skin, 0, kMostSkin) &&
      isWithin(retouch.face, 0, kMostFace)) {
    return;
  }
  throw Failure(FailureCode::kBadOption, "a strength of the retouching is out of its range");
}

}  // namespace

Retouch NamedRetouch(std::string_view name) {
  for (const Named& named : kNamed) {
    if (named.name == name) return named.retouch;
  }
  throw Failure(FailureCode::kBadOption,
                "\"" + Printable(name) + "\" is no kind of retouching; it is light, natural or strong");
}

void RetouchFace(const ProbedFace& face, const Retouch& retouch, Image* photograph, Mask* mask) {
  CheckStrengths(retouch);
  if (photograph->Pixels() == 0) return;
  LandmarkSet landmarks = LandmarksOf(face);
  RunStages({{0, 0, 0, 0, 0, retouch.detail ? 1.0 : 0.0, 0}}, landmarks, photograph, nullptr);
  if (retouch.skin > 0) RetouchSkinOf(face, retouch, &landmarks, photograph);
  RunStages({{retouch.eyes, retouch.eyes, retouch.mouth, static_cast<double>(retouch.tone), 0, 0, retouch.face}},
            landmarks, photograph, mask);
}

void RetouchFaces(const std::vector<ProbedFace>& faces, const Retouch& retouch, Image* photograph, Mask* mask) {
  Retouch one = retouch;
  for (size_t i = 0; i < faces.size(); ++i) {
    one.tone = i + 1 == faces.size() ? retouch.tone : 0;
    RetouchFace(faces[i], one, photograph, mask);
  }
}

Image SideBySide(const Image& before, const Image& after) {
  const int32_t gap = std::max(before.width / 50, 4);
  Image both;
  both.width = 2 * before.width + gap;
  both.height = before.height;
  const auto row = static_cast<ptrdiff_t>(before.width) * 3;
  both.bgr.reserve(static_cast<size_t>(both.width) * static_cast<size_t>(both.height) * 3);
  for (int32_t y = 0; y < before.height; ++y) {
    both.bgr.insert(both.bgr.end(), before.bgr.begin() + y * row, before.bgr.begin() + (y + 1) * row);
    both.bgr.insert(both.bgr.end(), static_cast<size_t>(gap) * 3, 255);
    both.bgr.insert(both.bgr.end(), after.bgr.begin() + y * row, after.bgr.begin() + (y + 1) * row);
  }
  return both;
}

}  // namespace qx::photo
