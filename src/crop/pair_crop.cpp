#include "crop/pair_crop.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "base/exact_math.h"
#include "crop/crop_geometry.h"
#include "crop/resample.h"

namespace qx {
namespace {

bool FitsInt32(uint64_t bytes) {
  return bytes <= static_cast<uint64_t>(std::numeric_limits<int32_t>::max());
}

// Unlike a single portrait's, the centre passes through single precision, the width is made odd, and the angle is not
// negated (the sampling uses the matching sign).
void FrameFace(const CropSettings& settings, FaceRecord* face) {
  const Point* l = face->source.landmarks;
  const Point eye0 = l[kLeftEyeOuterCorner], eye1 = l[kRightEyeOuterCorner];
  const Point mouth0 = l[kMouthLeftEnd], mouth1 = l[kMouthRightEnd];
  const Point left = face->source.keyPoints[kLeftEyeCentre], right = face->source.keyPoints[kRightEyeCentre];
  const auto middle = [](int32_t a, int32_t b, int32_t c, int32_t d) {
    const auto lower = static_cast<double>(static_cast<float>(WrapAdd(a, b)));
    const auto upper = static_cast<double>(static_cast<float>(WrapAdd(c, d)));
    return (lower * 0.5 + upper * 0.5) * 0.5;
  };
  face->centreX = middle(mouth0.x, mouth1.x, eye0.x, eye1.x);
  face->centreY = middle(mouth0.y, mouth1.y, eye0.y, eye1.y);

  const double eyeDistance = std::sqrt(static_cast<double>(SquaredDistance(eye0, eye1)));
  face->naturalWidth = TruncToInt32(eyeDistance * settings.WidthRatio() + 0.5);
  if (face->naturalWidth % 2 == 0) ++face->naturalWidth;
  face->naturalHeight = TruncToInt32(settings.HeightRatio() * face->naturalWidth / settings.WidthRatio() + 0.5);
  const bool bounded = settings.srcSame == 0 && face->naturalWidth > settings.lrBound;
  face->scale = bounded ? static_cast<double>(face->naturalWidth) / settings.lrBound : 1.0;

  const QuarterTurn turn = NearestQuarterTurn(
      exact::Atan2(static_cast<double>(WrapSub(right.y, left.y)), static_cast<double>(WrapSub(right.x, left.x))));
  face->rotCos = turn.cos;
  face->rotSin = turn.sin;
}

// Where the middle of the eyes falls along the crop's x axis.
int32_t EyePosition(const FaceRecord& face) {
  const Point left = face.source.keyPoints[kLeftEyeCentre], right = face.source.keyPoints[kRightEyeCentre];
  const int32_t x = WrapAdd(left.x, right.x) / 2;
  const int32_t y = WrapAdd(left.y, right.y) / 2;
  return TruncToInt32(y * face.rotSin + x * face.rotCos + 0.5);
}

void SizeFace(const CropSettings& settings, double scale, FaceRecord* face) {
  face->scale = scale;
  face->cropWidth = TruncToInt32(face->naturalWidth / scale + 0.5);
  face->cropHeight = TruncToInt32(face->naturalHeight / scale + 0.5);
  face->offsetX = face->cropWidth * 0.5;
  face->offsetY = face->cropHeight * settings.ratioUp / settings.HeightRatio();
}

// Face 0 at the origin, face 1 where it lies from there, then both moved so that none starts below 0.
void LayOut(const CropSettings& settings, const FaceRecord* faces, PairCrop* pair) {
  const FaceRecord& f0 = faces[0];
  const FaceRecord& f1 = faces[1];
  const double c = f1.rotCos, s = f1.rotSin;
  const double heightRatio = settings.HeightRatio();
  const double left = f0.cropWidth * 0.5;
  const double up = f0.cropHeight * settings.ratioUp / heightRatio;
  const double cornerX = f1.centreX - f1.naturalWidth * 0.5;
  const double cornerY = f1.centreY - f1.naturalHeight * settings.ratioUp / heightRatio;
  const double u = (cornerX - f0.centreX) / f1.scale;
  const double v = (cornerY - f0.centreY) / f1.scale;
  const int32_t x1 = TruncToInt32(c * u + s * v + left + 0.5);
  const int32_t y1 = TruncToInt32(c * v - s * u + up + 0.5);
  const int32_t x1End = WrapAdd(x1, f1.cropWidth);
  const int32_t y1End = WrapAdd(y1, f1.cropHeight);
  const int32_t mx = std::min(x1, 0);
  const int32_t my = std::min(y1, 0);

  pair->refX = left - mx;
  // The unscaled height, where the layout above uses the scaled one.
  pair->refY = f0.naturalHeight * settings.ratioUp / heightRatio - my;
  const double dx = (f1.centreX - f0.centreX) / f1.scale;
  const double dy = (f1.centreY - f0.centreY) / f1.scale;
  pair->ref1X = dy * s + dx * c + pair->refX;
  pair->ref1Y = dy * c - dx * s + pair->refY;
  pair->boxes[0] = {WrapSub(0, mx), WrapSub(0, my), WrapSub(f0.cropWidth, mx), WrapSub(f0.cropHeight, my)};
  pair->boxes[1] = {WrapSub(x1, mx), WrapSub(y1, my), WrapSub(x1End, mx), WrapSub(y1End, my)};
  pair->cropWidth = WrapSub(std::max(x1End, f0.cropWidth), mx);
  pair->cropHeight = WrapSub(std::max(y1End, f0.cropHeight), my);
}

// As in a single portrait, each source coordinate depends on one crop coordinate, and leaving the products with the
// turn's zero out changes no bit.
bool BuildSampling(const ImageView& photograph, const FaceRecord& face, const PairCrop& pair, CropSampling* sampling) {
  const auto along = [scale = pair.scale](double reference, double turn, double centre) {
    return [=](int32_t k) { return turn * ((k - reference) * scale) + centre; };
  };
  const double c = pair.rotCos, s = pair.rotSin;
  sampling->turned = c == 0;
  if (sampling->turned) {
    return sampling->columns.Build(pair.cropWidth, photograph.height, along(pair.refX, s, face.centreY)) &&
           sampling->rows.Build(pair.cropHeight, photograph.width, along(pair.refY, -s, face.centreX));
  }
  return sampling->columns.Build(pair.cropWidth, photograph.width, along(pair.refX, c, face.centreX)) &&
         sampling->rows.Build(pair.cropHeight, photograph.height, along(pair.refY, c, face.centreY));
}

void RenderPair(const ImageView& photograph, const FaceRecord& face, PairCrop* pair) {
  const uint64_t bytes = ImageBytes(pair->cropWidth, pair->cropHeight, 3);
  if (!FitsInt32(bytes)) return;
  CropSampling sampling;
  if (!pair->cropImage.Allocate(bytes) || !pair->cropMask.Allocate(bytes / 3) ||
      (bytes > 0 && !BuildSampling(photograph, face, *pair, &sampling))) {
    pair->cropImage.Release();
    pair->cropMask.Release();
    return;
  }
  ResampleCrop(photograph, sampling, pair->cropImage.data(), pair->cropMask.data());
}

// Whether a face's box lies in the common crop. It does but where positions wrapped around.
bool BoxIsInside(const PairCrop& pair, const PairBox& box) {
  return box.left >= 0 && box.top >= 0 && box.left <= box.right && box.top <= box.bottom &&
         box.right <= pair.cropWidth && box.bottom <= pair.cropHeight;
}

void CutFace(const PairCrop& pair, const PairBox& box, FaceRecord* face) {
  const uint64_t pixels = ImageBytes(face->cropWidth, face->cropHeight, 1);
  if (!pair.HasCrop() || !FitsInt32(pixels * 3) || (pixels > 0 && !BoxIsInside(pair, box))) return;
  if (!face->cropImage.Allocate(pixels * 3) || !face->cropMask.Allocate(pixels)) {
    face->cropImage.Release();
    face->cropMask.Release();
    return;
  }
  if (pixels == 0) return;
  const auto width = static_cast<size_t>(face->cropWidth);
  const auto pairWidth = static_cast<size_t>(pair.cropWidth);
  for (size_t row = 0; row < static_cast<size_t>(face->cropHeight); ++row) {
    const size_t from = (static_cast<size_t>(box.top) + row) * pairWidth + static_cast<size_t>(box.left);
    std::memcpy(face->cropImage.data() + row * width * 3, pair.cropImage.data() + from * 3, width * 3);
    std::memcpy(face->cropMask.data() + row * width, pair.cropMask.data() + from, width);
  }
}

}  // namespace

Status CropPair(const ImageView& photograph, const CropSettings& settings, FaceRecord* faces, PairCrop* pair) {
  constexpr double kSameTurn = 1e-6;
  FrameFace(settings, &faces[0]);
  FrameFace(settings, &faces[1]);
  if (std::fabs(faces[0].rotCos - faces[1].rotCos) > kSameTurn ||
      std::fabs(faces[0].rotSin - faces[1].rotSin) > kSameTurn) {
    return Status::kTurnsDiffer;
  }
  pair->rotCos = faces[0].rotCos;
  pair->rotSin = faces[0].rotSin;
  pair->scale = std::min(faces[0].scale, faces[1].scale);
  if (EyePosition(faces[0]) > EyePosition(faces[1])) std::swap(faces[0], faces[1]);
  for (int i = 0; i < 2; ++i) SizeFace(settings, pair->scale, &faces[i]);
  LayOut(settings, faces, pair);
  RenderPair(photograph, faces[0], pair);
  for (int i = 0; i < 2; ++i) {
    FaceRecord& face = faces[i];
    CutFace(*pair, pair->boxes[i], &face);
    MapFacePoints({face.centreX, face.centreY, face.offsetX, face.offsetY, face.rotCos, face.rotSin, face.scale},
                  face.source, &face.crop);
  }
  return Status::kOk;
}

}  // namespace qx
