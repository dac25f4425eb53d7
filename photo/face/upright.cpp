#include "photo/face/upright.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::photo {
namespace {

template <int Channels>
Bytes TurnPixels(const Bytes& from, int32_t width, int32_t height, int quarterTurns) {
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
  if (faces.empty()) throw NoFace();
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

// The face in the turned photograph: its own frame, and so the order of its corners and its tag, turn along.
void TurnFace(int32_t width, int32_t height, int quarterTurns, ProbedFace* face) {
  const auto turn = [=](auto* points) {
    for (Point& p : *points) p = TurnPoint(p, width, height, quarterTurns);
  };
  turn(&face->corners);
  turn(&face->keyPoints);
  turn(&face->landmarks);
  turn(&face->densePoints);
  if (face->mesh) face->mesh = std::make_shared<const FaceMesh>(face->mesh->Turned(width, height, quarterTurns));
}

// Turns the photograph and its faces so that the first chosen one stands upright.
void StandUp(Image photograph, UprightPhotograph* upright) {
  const int32_t width = photograph.width, height = photograph.height;
  upright->quarterTurns = TurnsToUpright(upright->faces[upright->persons[0]].Roll());
  upright->image = TurnClockwise(std::move(photograph), upright->quarterTurns);
  for (ProbedFace& face : upright->faces) TurnFace(width, height, upright->quarterTurns, &face);
}

}  // namespace

Failure NoFace() {
  return {FailureCode::kNoFace,
          "no face found; try a photograph that shows the face from the front, sharp, well lit and at least 40 pixels "
          "wide"};
}

Image TurnClockwise(Image image, int quarterTurns) {
  if (quarterTurns == 0) return image;
  Image turned{image.width, image.height, TurnPixels<3>(image.bgr, image.width, image.height, quarterTurns)};
  if (quarterTurns % 2 == 1) std::swap(turned.width, turned.height);
  return turned;
}

Mask TurnClockwise(Mask mask, int quarterTurns) {
  if (quarterTurns == 0) return mask;
  Mask turned;
  turned.values = TurnPixels<1>(mask.values, mask.width, mask.height, quarterTurns);
  turned.width = quarterTurns % 2 == 1 ? mask.height : mask.width;
  turned.height = quarterTurns % 2 == 1 ? mask.width : mask.height;
  return turned;
}

UprightPhotograph MakeUpright(FaceFinder& finder, Image photograph, std::optional<int> number) {
  UprightPhotograph upright;
  upright.faces = finder.Find(photograph);
  upright.facesFound = upright.faces.size();
  const size_t chosen = Choose(upright.faces, number);
  upright.persons = {chosen};
  upright.number = static_cast<int>(chosen) + 1;
  StandUp(std::move(photograph), &upright);
  return upright;
}

UprightPhotograph MakePairUpright(FaceFinder& finder, Image photograph) {
  UprightPhotograph upright;
  upright.faces = finder.Find(photograph);
  upright.facesFound = upright.faces.size();
  if (upright.faces.empty()) throw NoFace();
  if (upright.faces.size() == 1)
    throw Failure(FailureCode::kTooFewFaces,
                  "only one face found where two are needed; try a photograph that shows both");
  upright.persons = BySize(upright.faces);
  upright.persons.resize(2);
  if (TurnsToUpright(upright.faces[upright.persons[0]].Roll()) !=
      TurnsToUpright(upright.faces[upright.persons[1]].Roll())) {
    throw Failure(FailureCode::kFacesTurned, "the two faces do not stand the same way up; turn the photograph upright");
  }
  upright.number = static_cast<int>(upright.persons[0]) + 1;
  StandUp(std::move(photograph), &upright);
  std::sort(upright.persons.begin(), upright.persons.end(),
            [&upright](size_t a, size_t b) { return EyeMiddle(upright.faces[a]).x < EyeMiddle(upright.faces[b]).x; });
  return upright;
}

Image TurnedSource::Overview(int64_t leastPixels) {
  return TurnClockwise(source_->Overview(leastPixels), quarterTurns_);
}

Image TurnedSource::Part(const PixelBox& box, int32_t width, int32_t height) {
  const int32_t w = source_->Width(), h = source_->Height();
  const bool lying = quarterTurns_ % 2 == 1;
  PixelBox there = box;  // as the source lies
  if (quarterTurns_ == 1) there = {box.top, h - box.right, box.bottom, h - box.left};
  if (quarterTurns_ == 2) there = {w - box.right, h - box.bottom, w - box.left, h - box.top};
  if (quarterTurns_ == 3) there = {w - box.bottom, box.left, w - box.top, box.right};
  return TurnClockwise(source_->Part(there, lying ? height : width, lying ? width : height), quarterTurns_);
}

}  // namespace qx::photo
