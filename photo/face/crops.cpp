#include "photo/face/crops.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "crop/portrait_crop.h"
#include "face/face_record.h"
#include "photo/base/failure.h"
#include "photo/face/found_face.h"
#include "quality/quality_check.h"

namespace qx::photo {
namespace {

qx::CropSettings ToLibrary(const CropSettings& settings) {
  qx::CropSettings library;
  library.SetRatio(settings.ratio);
  library.lrBound = settings.bound;
  library.srcSame = settings.sourceScale ? 1 : 0;
  return library;
}

FaceRecord Cut(const PixelView& picture, const ProbedFace& face, const CropSettings& settings) {
  FaceRecord record(ToFoundFace(face));
  CropPortrait({picture.samples, picture.width, picture.height, 3}, ToLibrary(settings), &record);
  if (record.cropWidth <= 0 || record.cropHeight <= 0) {
    throw Failure(FailureCode::kTooSmall, "the crop is empty; the face is too small to be framed");
  }
  if (!record.HasCrop()) {
    throw Failure(FailureCode::kOutOfMemory, "the crop is too large for the memory; choose a smaller one",
                  {{"what", "crop"}});
  }
  return record;
}

}  // namespace

FoundFace ToFoundFace(const ProbedFace& face) {
  const auto copy = [](const auto& from, qx::Point* to) {
    for (const Point& p : from) *to++ = {p.x, p.y};
  };
  FoundFace found{};
  copy(face.corners, found.source.faceBox);
  copy(face.keyPoints, found.source.keyPoints);
  copy(face.landmarks, found.source.landmarks);
  copy(face.densePoints, found.source.attributes);
  found.alignOutD = face.presence;
  found.alignOutE = face.fineRoll;
  found.alignOutF = face.leftEye;
  found.alignOutG = face.rightEye;
  found.alignOutH = face.mouth;
  return found;
}

void CheckSettings(const CropSettings& settings) {
  if (!(settings.ratio >= 0 && settings.ratio <= 1)) {
    throw Failure(FailureCode::kBadOption, "the ratio must be between 0 and 1");
  }
  if (settings.bound < kLowestBound) {
    throw Failure(FailureCode::kBadOption, "the bound must be " + std::to_string(kLowestBound) + " or above");
  }
}

Image CropFace(const PixelView& picture, const ProbedFace& face, const CropSettings& settings) {
  CheckSettings(settings);
  const FaceRecord record = Cut(picture, face, settings);
  Image crop(record.cropWidth, record.cropHeight);
  std::memcpy(crop.bgr.data(), record.cropImage.data(), crop.bgr.size());
  ToBgr(picture.order, &crop);  // every channel is cut alike
  return crop;
}

QualityScores ScoreFace(const Image& picture, const ProbedFace& face) {
  CropSettings settings;
  settings.sourceScale = true;
  return CheckQuality(Cut(picture, face, settings));
}

}  // namespace qx::photo
