#include "photo/face/upright.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "photo/face/crop_engine.h"

namespace qx::photo {
namespace {

template <int Channels>
Bytes TurnPixels(const Bytes& from, int32_t width, int32_t height, int quarterTurns) {
  if (quarterTurns == 0) return from;
  // In the target, where the source's first pixel comes to lie and how far apart its neighbours are.
  const auto w = static_cast<std::ptrdiff_t>(width), h = static_cast<std::ptrdiff_t>(height);
  const std::ptrdiff_t first = quarterTurns == 1 ? h - 1 : quarterTurns == 2 ? w * h - 1 : (w - 1) * h;
  const std::ptrdiff_t right = quarterTurns == 1 ? h : quarterTurns == 2 ? -1 : -h;
  const std::ptrdiff_t down = quarterTurns == 1 ? -1 : quarterTurns == 2 ? -w : 1;
  Bytes to(from.size());
  const uint8_t* pixel = from.data();
  for (std::ptrdiff_t y = 0; y < h; ++y) {
    for (std::ptrdiff_t x = 0; x < w; ++x, pixel += Channels) {
      std::copy_n(pixel, Channels, to.data() + Channels * (first + x * right + y * down));
    }
  }
  return to;
}

Point EyeMiddle(const ProbedFace& face) {
  return {(face.keyPoints[0].x + face.keyPoints[1].x) / 2, (face.keyPoints[0].y + face.keyPoints[1].y) / 2};
}

Point TurnPoint(Point p, int32_t width, int32_t height, int quarterTurns) {
  switch (quarterTurns) {
    case 1: return {height - 1 - p.y, p.x};
    case 2: return {width - 1 - p.x, height - 1 - p.y};
    case 3: return {p.y, width - 1 - p.x};
    default: return p;
  }
}

// Indices of the faces, largest first.
std::vector<size_t> BySize(const std::vector<ProbedFace>& faces) {
  std::vector<size_t> order(faces.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&faces](size_t a, size_t b) { return faces[a].Width() > faces[b].Width(); });
  return order;
}

size_t Choose(const std::vector<ProbedFace>& faces, std::optional<int> number) {
  if (faces.empty()) throw StatusFailure(IDP_ERR_NO_FACE);
  if (!number) return BySize(faces)[0];
  if (*number < 1 || static_cast<size_t>(*number) > faces.size()) {
    throw Failure(FailureCode::kNoSuchFace,
                  "there is no face " + std::to_string(*number) + ", only " + Count(faces.size(), "face"),
                  {{"faces", static_cast<double>(faces.size())}});
  }
  return static_cast<size_t>(*number - 1);
}

// Clockwise quarter turns that make a face of this roll upright.
int TurnsToUpright(double roll) {
  return static_cast<int>((4 - std::lround(roll / 90)) % 4);
}

// The upright face whose eyes are nearest to a place, at most half a face's width away.
std::optional<size_t> FindNear(const std::vector<ProbedFace>& faces, const Point& place, double width) {
  double nearest = width / 2;
  std::optional<size_t> found;
  for (size_t i = 0; i < faces.size(); ++i) {
    const Point eyes = EyeMiddle(faces[i]);
    const double distance = std::hypot(double{1} * eyes.x - place.x, double{1} * eyes.y - place.y);
    if (distance > nearest || TurnsToUpright(faces[i].Roll()) != 0) continue;
    nearest = distance;
    found = i;
  }
  return found;
}

// Turns the photograph for `upright.persons` and finds them again there: a crop run looks at the turned photograph, and
// its faces may come in another order.
void Turn(FaceProbe& probe, Image photograph, UprightPhotograph* upright) {
  const std::vector<ProbedFace> before = upright->faces;
  upright->quarterTurns = TurnsToUpright(before[upright->persons[0]].Roll());
  if (upright->quarterTurns == 0) {
    upright->image = std::move(photograph);
    return;
  }
  upright->image = TurnClockwise(photograph, upright->quarterTurns);
  upright->faces = probe.Probe(upright->image);
  for (size_t& person : upright->persons) {
    const ProbedFace& sought = before[person];
    const Point place = TurnPoint(EyeMiddle(sought), photograph.width, photograph.height, upright->quarterTurns);
    const auto found = FindNear(upright->faces, place, sought.Width());
    if (!found)
      throw Failure(FailureCode::kFaceLost,
                    "the face cannot be found again once it is upright; turn the photograph first");
    person = *found;
  }
}

}  // namespace

Image TurnClockwise(const Image& image, int quarterTurns) {
  Image turned{image.width, image.height, TurnPixels<3>(image.bgr, image.width, image.height, quarterTurns)};
  if (quarterTurns % 2 == 1) std::swap(turned.width, turned.height);
  return turned;
}

Mask TurnClockwise(const Mask& mask, int quarterTurns) {
  Mask turned;
  turned.values = TurnPixels<1>(mask.values, mask.width, mask.height, quarterTurns);
  turned.width = quarterTurns % 2 == 1 ? mask.height : mask.width;
  turned.height = quarterTurns % 2 == 1 ? mask.width : mask.height;
  return turned;
}

UprightPhotograph MakeUpright(FaceProbe& probe, Image photograph, std::optional<int> number) {
  UprightPhotograph upright;
  upright.faces = probe.Probe(photograph);
  upright.facesFound = upright.faces.size();
  const size_t chosen = Choose(upright.faces, number);
  upright.persons = {chosen};
  upright.number = static_cast<int>(chosen) + 1;
  Turn(probe, std::move(photograph), &upright);
  return upright;
}

UprightPhotograph MakePairUpright(FaceProbe& probe, Image photograph) {
  UprightPhotograph upright;
  upright.faces = probe.Probe(photograph);
  upright.facesFound = upright.faces.size();
  if (upright.faces.empty()) throw StatusFailure(IDP_ERR_NO_FACE);
  if (upright.faces.size() == 1) throw StatusFailure(IDP_ERR_TOO_FEW_FACES);
  upright.persons = BySize(upright.faces);
  upright.persons.resize(2);
  if (TurnsToUpright(upright.faces[upright.persons[0]].Roll()) !=
      TurnsToUpright(upright.faces[upright.persons[1]].Roll())) {
    throw StatusFailure(IDP_ERR_PAIR_CROP);
  }
  upright.number = static_cast<int>(upright.persons[0]) + 1;
  Turn(probe, std::move(photograph), &upright);
  std::sort(upright.persons.begin(), upright.persons.end(),
            [&upright](size_t a, size_t b) { return EyeMiddle(upright.faces[a]).x < EyeMiddle(upright.faces[b]).x; });
  return upright;
}

void MeasureAgain(FaceProbe& probe, UprightPhotograph* upright) {
  const std::vector<ProbedFace> now = probe.Probe(upright->image);
  for (const size_t person : upright->persons) {
    ProbedFace& face = upright->faces[person];
    if (const auto found = FindNear(now, EyeMiddle(face), face.Width())) face = now[*found];
  }
}

}  // namespace qx::photo
