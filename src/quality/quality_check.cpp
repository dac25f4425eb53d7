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
  const Point p = Middle(l[kLeftEyeOuterCorner], l[kLeftEyeInnerCorner]);
  const Point q = Middle(l[kRightEyeInnerCorner], l[kRightEyeOuterCorner]);
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

  int64_t Columns() const { return std::max<int64_t>(right - left + 1, 0); }
  int64_t Rows() const { return std::max<int64_t>(bottom - top + 1, 0); }
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

// A column's products with the turn, which every row needs.
struct ColumnTurn {
  double cosine, sine;
};

bool TurnColumns(const ScannedFace& scan, Buffer<ColumnTurn>* columns) {
  if (!columns->Allocate(static_cast<uint64_t>(scan.Columns()))) return false;
  for (int64_t x = scan.left; x <= scan.right; ++x) {
    const auto px = static_cast<double>(x);
    (*columns)[static_cast<size_t>(x - scan.left)] = {px * scan.cosine, px * scan.sine};
  }
  return true;
}

const uint8_t* PixelAt(const FaceRecord& face, int64_t x, int64_t y) {
  return face.cropImage.data() + (y * face.cropWidth + x) * 3;
}

// Grey of the scanned square alone: the rest of a crop is several times as large.
bool ConvertSquare(const FaceRecord& face, const ScannedFace& scan, ByteBuffer* grey) {
  if (!grey->Allocate(static_cast<uint64_t>(scan.Columns() * scan.Rows()))) return false;
  const auto columns = static_cast<int32_t>(scan.Columns());
  uint8_t* to = grey->data();
  for (int64_t y = scan.top; y <= scan.bottom; ++y, to += columns) {
    GreyConvert({PixelAt(face, scan.left, y), columns, 1, 3}, to);
  }
  return true;
}

int32_t Brightness(const uint8_t* grey, const ScannedFace& scan, const ColumnTurn* columns) {
  int64_t sum = 0, count = 0;
  for (int64_t y = scan.top; y <= scan.bottom; ++y) {
    const auto py = static_cast<double>(y);
    const double rowSine = py * scan.sine, rowCosine = py * scan.cosine;
    const uint8_t* row = grey + (y - scan.top) * scan.Columns();
    for (int64_t i = 0; i < scan.Columns(); ++i) {
      const bool inside = (std::fabs(columns[i].cosine - rowSine - scan.across) <= scan.halfWidth) &
                          (std::fabs(rowCosine + columns[i].sine - scan.along) <= scan.halfHeight);
      sum += inside ? row[i] : 0;
      count += inside ? 1 : 0;
    }
  }
  return Score((static_cast<double>(sum) / static_cast<double>(count) * 10 - 60) / 12);
}

int32_t Symmetry(const FaceRecord& face, const uint8_t* grey, const ScannedFace& scan, const ColumnTurn* columns) {
  const double sa = scan.sine, ca = scan.cosine;
  int64_t sum = 0, count = 0;
  for (int64_t y = scan.top; y <= scan.bottom; ++y) {
    const auto py = static_cast<double>(y);
    const double rowSine = py * sa, rowCosine = py * ca;
    const uint8_t* row = grey + (y - scan.top) * scan.Columns();
    for (int64_t i = 0; i < scan.Columns(); ++i) {
      const double b = columns[i].cosine - rowSine - scan.across;
      const double a = columns[i].sine + rowCosine - scan.along;
      if (!(b <= 0 && std::fabs(a) <= scan.halfHeight)) continue;
      const double u = std::fabs(b) + scan.across;
      const double v = scan.along + a;
      const int64_t mirrorX = std::clamp(TruncToInt32(u * ca + v * sa), 0, face.cropWidth - 1);
      const int64_t mirrorY = std::clamp(TruncToInt32(v * ca - u * sa), 0, face.cropHeight - 1);
      sum += std::abs(row[i] - GreyOf(PixelAt(face, mirrorX, mirrorY)));  // may lie outside the square
      ++count;
    }
  }
  return Score(100 - static_cast<double>(sum) / static_cast<double>(count) * 10 / 14);
}

}  // namespace

QualityScores CheckQuality(const FaceRecord& face) {
  QualityScores scores = {};
  scores.tilt = Tilt(face);
  const FaceFrame frame = BuildFaceFrame(face);
  const ScannedFace scan = ScanOf(face, frame);
  ByteBuffer grey;
  Buffer<ColumnTurn> columns;
  if (ConvertSquare(face, scan, &grey) && TurnColumns(scan, &columns)) {
    scores.brightness = Brightness(grey.data(), scan, columns.data());
    scores.symmetry = Symmetry(face, grey.data(), scan, columns.data());
  }
  scores.background = BackgroundScore(face, frame);
  return scores;
}

}  // namespace qx
