#include "crop/portrait_crop.h"

#include <cmath>
#include <limits>

#include "base/exact_math.h"
#include "crop/crop_geometry.h"
#include "crop/resample.h"

namespace qx {
namespace {

// Size of the frame in the photograph, and source pixels in a crop pixel.
struct Frame {
  int32_t naturalWidth;
  int32_t naturalHeight;
  double scale;
};

void FindCentre(FaceRecord* face) {
  const Point* l = face->source.landmarks;
  const Point eye0 = l[kLeftEyeOuterCorner], eye1 = l[kRightEyeOuterCorner];
  const Point mouth0 = l[kMouthLeftEnd], mouth1 = l[kMouthRightEnd];
  face->centreX = (WrapAdd(mouth0.x, mouth1.x) * 0.5 + WrapAdd(eye0.x, eye1.x) * 0.5) * 0.5;
  face->centreY = (WrapAdd(mouth0.y, mouth1.y) * 0.5 + WrapAdd(eye0.y, eye1.y) * 0.5) * 0.5;
}

Frame ChooseSize(const CropSettings& settings, FaceRecord* face) {
  const Point* l = face->source.landmarks;
  const double eyeDistance =
      std::sqrt(static_cast<double>(SquaredDistance(l[kLeftEyeOuterCorner], l[kRightEyeOuterCorner])));
  const double widthRatio = settings.WidthRatio();
  const double heightRatio = settings.HeightRatio();
  Frame frame;
  frame.naturalWidth = TruncToInt32(eyeDistance * widthRatio + 0.5);
  frame.naturalHeight = TruncToInt32(frame.naturalWidth * heightRatio / widthRatio + 0.5);
  frame.scale = 1.0;
  face->cropWidth = frame.naturalWidth;
  face->cropHeight = frame.naturalHeight;
  if (settings.srcSame == 0 && frame.naturalWidth > settings.lrBound) {
    face->cropWidth = settings.lrBound;
    face->cropHeight = TruncToInt32(settings.lrBound * heightRatio / widthRatio + 0.5);
    frame.scale = static_cast<double>(frame.naturalWidth) / settings.lrBound;
  }
  return frame;
}

void ChooseTurn(FaceRecord* face) {
  const Point left = face->source.keyPoints[kLeftEyeCentre], right = face->source.keyPoints[kRightEyeCentre];
  const QuarterTurn turn = NearestQuarterTurn(
      -exact::Atan2(static_cast<double>(WrapSub(right.y, left.y)), static_cast<double>(WrapSub(right.x, left.x))));
  face->rotCos = turn.cos;
  face->rotSin = turn.sin;
}

void PlaceOrigin(const CropSettings& settings, const Frame& frame, FaceRecord* face) {
  const double ax = frame.naturalWidth * settings.ratioLeft / settings.WidthRatio();
  const double ay = frame.naturalHeight * settings.ratioUp / settings.HeightRatio();
  const double originX = face->centreX - face->rotCos * ax - face->rotSin * ay;
  const double originY = face->centreY + face->rotSin * ax - face->rotCos * ay;
  face->originX = RoundHalfAwayToInt32(originX);
  face->originY = RoundHalfAwayToInt32(originY);
  // Distances, whichever way the crop is turned.
  face->offsetX = std::fabs(face->centreX - face->originX) / frame.scale;
  face->offsetY = std::fabs(face->centreY - face->originY) / frame.scale;
}

// The quarter turn has one zero in each row, so each source coordinate depends on one crop coordinate: leaving the
// zero products out changes no bit of the sums.
bool BuildSampling(const ImageView& photograph, const FaceRecord& face, double scale, CropSampling* sampling) {
  const double c = face.rotCos, s = face.rotSin;
  const auto alongX = [&](double turn) { return [=, &face](int32_t k) { return (k * scale) * turn + face.originX; }; };
  const auto alongY = [&](double turn) { return [=, &face](int32_t k) { return face.originY - (k * scale) * turn; }; };
  sampling->turned = c == 0;
  if (sampling->turned) {
    return sampling->columns.Build(face.cropWidth, photograph.height, alongY(s)) &&
           sampling->rows.Build(face.cropHeight, photograph.width, alongX(s));
  }
  return sampling->columns.Build(face.cropWidth, photograph.width, alongX(c)) &&
         sampling->rows.Build(face.cropHeight, photograph.height, alongY(-c));
}

void Render(const ImageView& photograph, double scale, FaceRecord* face) {
  const uint64_t bytes = ImageBytes(face->cropWidth, face->cropHeight, 3);
  if (bytes > static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) return;
  CropSampling sampling;
  if (!face->cropImage.Allocate(bytes) || !face->cropMask.Allocate(bytes / 3) ||
      (bytes > 0 && !BuildSampling(photograph, *face, scale, &sampling))) {
    face->cropImage.Release();
    face->cropMask.Release();
    return;
  }
  ResampleCrop(photograph, sampling, face->cropImage.data(), face->cropMask.data());
}

void MapAllPoints(double scale, FaceRecord* face) {
  const PointMapping map = {face->centreX, face->centreY, face->offsetX, face->offsetY,
                            face->rotCos,  face->rotSin,  scale};
  MapFacePoints(map, face->source, &face->crop);
  MapPoints(map, face->source.faceBox, kCornerCount, face->crop.faceBox);
}

}  // namespace

void CropPortrait(const ImageView& photograph, const CropSettings& settings, FaceRecord* face) {
  FindCentre(face);
  const Frame frame = ChooseSize(settings, face);
  ChooseTurn(face);
  PlaceOrigin(settings, frame, face);
  Render(photograph, frame.scale, face);
  MapAllPoints(frame.scale, face);
}

}  // namespace qx
