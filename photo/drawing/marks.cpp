#include "photo/drawing/marks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qx::photo {
namespace {

// The two strokes of an arrow's head.
void ArrowHead(Canvas* canvas, PlacePoint from, PlacePoint to, double width, double head, Ink ink) {
  const double dx = to.x - from.x, dy = to.y - from.y, length = std::sqrt(dx * dx + dy * dy);
  if (!(length > 0)) return;
  const double size = std::min(head, length / 2), along = size / length, across = 0.5 * along;
  for (const double side : {-across, across}) {
    canvas->Stroke({to.x - along * dx - side * dy, to.y - along * dy + side * dx}, to, width, ink);
  }
}

double Rim(double width) {
  return 2 * width + 1;
}

}  // namespace

Ink InkOf(FindingState state) {
  switch (state) {
    case FindingState::kFailed: return {36, 20, 204};
    case FindingState::kRemark: return {0, 92, 184};
    case FindingState::kPassed: return {56, 122, 16};
    case FindingState::kShown: return {176, 84, 20};
    default: return kFaintText;
  }
}

int32_t Inside(double place, int32_t size) {
  return std::isfinite(place) ? static_cast<int32_t>(std::clamp(place, 0.0, static_cast<double>(size))) : 0;
}

void CasedLine(Canvas* canvas, PlacePoint from, PlacePoint to, double width, Ink ink) {
  canvas->Stroke(from, to, Rim(width), kPaper);
  canvas->Stroke(from, to, width, ink);
}

void CasedOutline(Canvas* canvas, const std::vector<PlacePoint>& polygon, double width, Ink ink) {
  for (const bool isRim : {true, false}) {
    for (size_t i = 0; i < polygon.size(); ++i) {
      canvas->Stroke(polygon[i], polygon[(i + 1) % polygon.size()], isRim ? Rim(width) : width, isRim ? kPaper : ink);
    }
  }
}

void CasedRing(Canvas* canvas, PlacePoint centre, double radius, double width, Ink ink) {
  canvas->Ring(centre, radius, Rim(width), kPaper);
  canvas->Ring(centre, radius, width, ink);
}

void CasedArrow(Canvas* canvas, PlacePoint from, PlacePoint to, double width, double head, Ink ink) {
  for (const bool isRim : {true, false}) {
    const double thick = isRim ? Rim(width) : width;
    canvas->Stroke(from, to, thick, isRim ? kPaper : ink);
    ArrowHead(canvas, from, to, thick, head, isRim ? kPaper : ink);
  }
}

void DoubleArrow(Canvas* canvas, PlacePoint from, PlacePoint to, double width, double head, Ink ink) {
  canvas->Stroke(from, to, width, ink);
  ArrowHead(canvas, from, to, width, head, ink);
  ArrowHead(canvas, to, from, width, head, ink);
}

}  // namespace qx::photo
