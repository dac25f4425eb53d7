#include "quality/face_frame.h"

#include <cmath>

namespace qx {
namespace {

int32_t Half(int32_t a, int32_t b) {
  return WrapAdd(a, b) / 2;
}

}  // namespace

FaceFrame BuildFaceFrame(const FaceRecord& face) {
  const Point* l = face.crop.landmarks;
  const Point a = l[kLeftEyeOuterCorner], b = l[kRightEyeOuterCorner];
  const Point e = l[kMouthLeftEnd], f = l[kMouthRightEnd];
  FaceFrame frame;
  frame.width = std::sqrt(static_cast<double>(SquaredDistance(b, a)));
  frame.centreX = Half(a.x, b.x);
  frame.eyeY = Half(a.y, b.y);
  frame.mouthX = Half(e.x, f.x);
  frame.mouthY = Half(e.y, f.y);
  frame.height =
      std::sqrt(static_cast<double>(SquaredDistance({frame.mouthX, frame.mouthY}, {frame.centreX, frame.eyeY})));
  frame.sine = WrapSub(a.y, b.y) / frame.width;
  frame.cosine = WrapSub(b.x, a.x) / frame.width;
  frame.centreY = Half(Half(b.y, f.y), Half(a.y, e.y));
  return frame;
}

}  // namespace qx
