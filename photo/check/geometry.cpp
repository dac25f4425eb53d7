#include <algorithm>
#include <cmath>

#include "base/exact_math.h"
#include "photo/check/face_view.h"

namespace qx::photo {
namespace {

double Area(const FaceBox& box) {
  return std::max(0.0, box.right - box.left) * std::max(0.0, box.bottom - box.top);
}

}  // namespace

void MeasureFaceCount(const std::vector<ProbedFace>& faces, MeasureList* list) {
  double largest = 0, second = 0;
  for (const ProbedFace& face : faces) {
    const double area = Area(face.Box());
    second = std::max(second, std::min(area, largest));
    largest = std::max(largest, area);
  }
  if (!(largest > 0)) return list->NotAssessed(MeasureId::kSingleFacePresent, "no face was found");
  const double share = second / largest;
  list->Judge(MeasureId::kSingleFacePresent, share, "another face is in the picture: be alone in it").score =
      RoundScore(100 * (1 - share));
}

void MeasureGeometry(const FaceView& view, MeasureList* list) {
  const double width = view.width, height = view.height;
  const auto eyes = EyeCentres(view.mesh);
  const PlacePoint middle = Middle(eyes[0], eyes[1]);
  const double between = Distance(eyes[0], eyes[1]), toChin = Distance(middle, view.mesh[152]);
  constexpr double kDegrees = 180 / 3.14159265358979323846;
  // Without a pose as if the head were not turned: never too large.
  const double cosine = view.pose ? exact::Cos(view.pose->yaw / kDegrees) : 1;
  list->Judge(MeasureId::kInterEyeDistance, cosine > 1e-3 ? between / cosine : std::nan(""),
              "the face has too few pixels: come closer or use a better camera");
  const double size = toChin / height;
  constexpr Sigmoid kSize{200, 1, -1, 0, 0.05};
  constexpr double kBest = 0.45;
  list->Judge(MeasureId::kHeadSize, size).score = kSize(std::abs(size - kBest));
  // The standard's reference measures from the eye that is further off.
  list->Judge(MeasureId::kLeftwardCrop, eyes[1].x / between, "more room is needed on the left side of the picture");
  list->Judge(MeasureId::kRightwardCrop, (width - eyes[0].x) / between,
              "more room is needed on the right side of the picture");
  // From the eyes to the crown it is 0.72 to 1.10 times as far as to the chin.
  list->Judge(MeasureId::kMarginAbove, middle.y / toChin, "the head is cut off above: leave room above the hair");
  list->Judge(MeasureId::kMarginBelow, (height - middle.y) / toChin, "the chin is cut off: leave room below");
}

}  // namespace qx::photo
