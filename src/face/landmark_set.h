#ifndef QX_FACE_LANDMARK_SET_H
#define QX_FACE_LANDMARK_SET_H

#include <cstdint>

#include "face/face_record.h"

namespace qx {

// The regions that the shape and detail stages work on.
enum class FaceRegion { kLeftEye, kRightEye, kMouth };

// Those of the 88 dense points that some stage reads. Left and right are those of the image of an upright face.
enum DensePoint {
  kLeftBrowOuterEnd = 8,
  kLeftBrowInnerEnd = 9,
  kLeftBrowTopMiddle = 10,
  kLeftBrowTopOuter = 12,
  kLeftBrowTopInner = 14,
  kRightBrowInnerEnd = 24,
  kRightBrowOuterEnd = 25,
  kRightBrowTopMiddle = 26,
  kRightBrowTopInner = 28,
  kRightBrowTopOuter = 30,
  kNoseRoot = 32,
  kLeftNostril = 33,
  kRightNostril = 34,
  kNoseBase = 35,  // below the tip, between the nostrils
  kLeftNoseWing = 37,
  kRightNoseWing = 39,
  kNoseTip = 40,
  kLeftMouthCorner = 45,
  kRightMouthCorner = 46,
  kUpperLipMiddle = 47,
  kUpperLipLeft = 59,
  kLowerLipLeft = 62,
  kUpperLipRight = 63,
  kLowerLipRight = 66,
  kOutlineLeftEnd = 67,  // from the left temple down to the chin and up to the right temple
  kLeftCheek = 70,
  kLeftJaw = 74,
  kChin = 77,
  kRightOfChin = 78,
  kRightCheek = 84,
  kOutlineRightEnd = 87,
};

// The face geometry that the stages read, in one frame of reference: a block of 215 int32. Each part is a run of
// (x, y) pairs but for the three region values.
class LandmarkSet {
 public:
  static constexpr int kWords = 215;
  static constexpr int kRegionPoints = 4;

  // Four corners. The skin retouch stage clamps them in place.
  Point* FaceBox() { return At(kFaceBox); }
  const Point* FaceBox() const { return At(kFaceBox); }
  // The two eye points.
  Point* Eyes() { return At(kEyes); }
  const Point* Eyes() const { return At(kEyes); }
  // Four points: the first two span the region's width, the others its height.
  Point* Region(FaceRegion region) { return At(kRegions[static_cast<int>(region)] + 1); }
  const Point* Region(FaceRegion region) const { return At(kRegions[static_cast<int>(region)] + 1); }
  // How far the region is open; below 100 an eye is left alone.
  int32_t& RegionValue(FaceRegion region) { return words_[kRegions[static_cast<int>(region)]]; }
  int32_t RegionValue(FaceRegion region) const { return words_[kRegions[static_cast<int>(region)]]; }
  // The 88 points of the dense description, by DensePoint.
  Point* Attributes() { return At(kAttributes); }
  const Point* Attributes() const { return At(kAttributes); }

 private:
  static constexpr int kFaceBox = 0;
  static constexpr int kEyes = 8;
  static constexpr int kRegions[3] = {12, 21, 30};  // the value, then the points
  static constexpr int kAttributes = 39;
  static_assert(kAttributes + 2 * kAttributeCount == kWords);

  Point* At(int word) { return reinterpret_cast<Point*>(words_ + word); }
  const Point* At(int word) const { return reinterpret_cast<const Point*>(words_ + word); }

  int32_t words_[kWords] = {};
};

// Geometry in pixels of the photograph, or of the face's crop.
LandmarkSet BuildLandmarkSetSource(const FaceRecord& face);
LandmarkSet BuildLandmarkSetCrop(const FaceRecord& face);

}  // namespace qx

#endif  // QX_FACE_LANDMARK_SET_H
