#include "quality/quality_check.h"

#include <algorithm>
#include <cmath>

#include "face/grey_convert.h"
#include "quality/background_score.h"
#include "quality/face_frame.h"

namespace qx {
namespace {

int32_t Score(double value) {
  return std::clamp(TruncToInt32(value), 0, 100);
}

Point Middle(Point a, Point b) {
  return {WrapAdd(a.x, b.x) / 2, WrapAdd(a.y, b.y) / 2};
}

int32_t Tilt(const FaceRecord& face) {
  const Point* l = face.crop.landmarks;
  const Point p = Middle(l[0], l[1]);
  const Point q = Middle(l[8], l[9]);
  const double distance = std::sqrt(static_cast<double>(SquaredDistance(q, p)));
  const double rise = std::fabs(static_cast<double>(WrapSub(q.y, p.y)));
  // Coinciding eyes give no quotient, and the conversion makes 0 of it.
  return Score(100.0 - rise / distance * 10000.0 / 30.0);
}

// The upright square around the face that the grey measurements scan, and the face's own axes in it.
struct ScannedFace {
  int64_t left, top, right, bottom;  // inclusive, clipped to the crop
  double across, along;              // the frame's centre on the face's axes
  double sine, cosine;
  double halfWidth, halfHeight;
};

ScannedFace ScanOf(const FaceRecord& face, const FaceFrame& frame) {
  const double sa = frame.sine, ca = frame.cosine;
  const int64_t cx = frame.centreX, cy = frame.centreY;
  const int64_t radius = TruncToInt32(std::sqrt(frame.height * frame.height + frame.width * frame.width) * 0.5 + 0.5);
  ScannedFace scan;
  scan.left = std::max<int64_t>(cx - radius, 0);
  scan.top = std::max<int64_t>(cy - radius, 0);
  scan.right = std::min(int64_t{face.cropWidth} - 1, cx + radius);
  scan.bottom = std::min(int64_t{face.cropHeight} - 1, cy + radius);
  scan.across = TruncToInt32(frame.centreX * ca - frame.centreY * sa);
  scan.along = TruncToInt32(frame.centreY * ca + frame.centreX * sa);
  scan.sine = sa;
  scan.cosine = ca;
  scan.halfWidth = frame.width / 2;
  scan.halfHeight = frame.height / 2;
  return scan;
}

int32_t Brightness(const FaceRecord& face, const uint8_t* grey, const ScannedFace& scan) {
  double sum = 0;
  int64_t count = 0;
  for (int64_t y = scan.top; y <= scan.bottom; ++y) {
    const uint8_t* row = grey + y * face.cropWidth;
    for (int64_t x = scan.left; x <= scan.right; ++x) {
      const auto px = static_cast<double>(x), py = static_cast<double>(y);
      if (std::fabs(px * scan.cosine - py * scan.sine - scan.across) <= scan.halfWidth &&
          std::fabs(py * scan.cosine + px * scan.sine - scan.along) <= scan.halfHeight) {
        sum += row[x];
        ++count;
      }
    }
  }
  return Score((sum / static_cast<double>(count) * 10 - 60) / 12);
}

int32_t Symmetry(const FaceRecord& face, const uint8_t* grey, const ScannedFace& scan) {
  const double sa = scan.sine, ca = scan.cosine;
  double sum = 0;
  int64_t count = 0;
  for (int64_t y = scan.top; y <= scan.bottom; ++y) {
    for (int64_t x = scan.left; x <= scan.right; ++x) {
      const auto px = static_cast<double>(x), py = static_cast<double>(y);
      const double b = px * ca - py * sa - scan.across;
      const double a = px * sa + py * ca - scan.along;
      if (!(b <= 0 && std::fabs(a) <= scan.halfHeight)) continue;
      const double u = std::fabs(b) + scan.across;
      const double v = scan.along + a;
      const int64_t mirrorX = std::clamp(TruncToInt32(u * ca + v * sa), 0, face.cropWidth - 1);
      const int64_t mirrorY = std::clamp(TruncToInt32(v * ca - u * sa), 0, face.cropHeight - 1);
      sum += std::abs(grey[y * face.cropWidth + x] - grey[mirrorY * face.cropWidth + mirrorX]);
      ++count;
    }
  }
  return Score(100 - sum / static_cast<double>(count) * 10 / 14);
}

}  // namespace

QualityScores CheckQuality(const FaceRecord& face) {
  QualityScores scores = {};
  scores.tilt = Tilt(face);
  const FaceFrame frame = BuildFaceFrame(face);
  ByteBuffer grey;
  if (grey.Allocate(ImageBytes(face.cropWidth, face.cropHeight, 1))) {
    GreyConvert(face.cropImage.data(), face.cropHeight, face.cropWidth, grey.data());
    const ScannedFace scan = ScanOf(face, frame);
    scores.brightness = Brightness(face, grey.data(), scan);
    scores.symmetry = Symmetry(face, grey.data(), scan);
  }
  scores.background = BackgroundScore(face, frame);
  return scores;
}

}  // namespace qx
