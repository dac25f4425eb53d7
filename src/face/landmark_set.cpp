#include "face/landmark_set.h"

#include <algorithm>

namespace qx {
namespace {

LandmarkSet Build(const FaceRecord& face, const FacePoints& points) {
  LandmarkSet set;
  std::copy_n(points.faceBox, kCornerCount, set.FaceBox());
  std::copy_n(points.keyPoints, 2, set.Eyes());
  set.RegionValue(FaceRegion::kLeftEye) = face.alignOutF;
  set.RegionValue(FaceRegion::kRightEye) = face.alignOutG;
  set.RegionValue(FaceRegion::kMouth) = face.alignOutH;
  std::copy_n(points.landmarks + kLeftEyeOuterCorner, LandmarkSet::kRegionPoints, set.Region(FaceRegion::kLeftEye));
  std::copy_n(points.landmarks + kRightEyeInnerCorner, LandmarkSet::kRegionPoints, set.Region(FaceRegion::kRightEye));
  constexpr Landmark kMouthPoints[] = {kMouthLeftEnd, kMouthRightEnd, kMouthTop, kMouthBottom};
  for (int i = 0; i < LandmarkSet::kRegionPoints; ++i) {
    set.Region(FaceRegion::kMouth)[i] = points.landmarks[kMouthPoints[i]];
  }
  std::copy_n(points.attributes, kAttributeCount, set.Attributes());
  return set;
}

}  // namespace

LandmarkSet BuildLandmarkSetSource(const FaceRecord& face) {
  return Build(face, face.source);
}
LandmarkSet BuildLandmarkSetCrop(const FaceRecord& face) {
  return Build(face, face.crop);
}

}  // namespace qx
