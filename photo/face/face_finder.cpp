#include "photo/face/face_finder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "base/exact_math.h"
#include "face/face_engine.h"
#include "face/face_record.h"
#include "face/grey_convert.h"
#include "photo/base/failure.h"

namespace qx::photo {
namespace {

Failure MemoryShort() {
  return {FailureCode::kOutOfMemory,
          "memory is short for finding faces; close other programs or make the photograph "
          "smaller"};
}

Bytes ToGrey(const PixelView& picture) {
  Bytes grey(picture.Pixels());
  if (picture.order == ChannelOrder::kBgr) {
    GreyConvert({picture.samples, picture.width, picture.height, 3}, grey.data());
    return grey;
  }
  // A row at a time in the other order, not the whole picture.
  Image row(picture.width, 1);
  for (int32_t y = 0; y < picture.height; ++y) {
    SwapChannels(picture.At(0, y), row.bgr.data(), row.Pixels());
    GreyConvert({row.bgr.data(), row.width, 1, 3}, grey.data() + static_cast<size_t>(y) * row.Pixels());
  }
  return grey;
}

template <size_t N>
void CopyPoints(const qx::Point* from, std::array<Point, N>* to) {
  for (Point& p : *to) {
    p = {from->x, from->y};
    ++from;
  }
}

ProbedFace ToFace(const FoundFace& found, const FaceEntry& entry, const int32_t* block) {
  ProbedFace face{};
  CopyPoints(found.source.faceBox, &face.corners);
  CopyPoints(found.source.keyPoints, &face.keyPoints);
  CopyPoints(found.source.landmarks, &face.landmarks);
  CopyPoints(found.source.attributes, &face.densePoints);
  face.score = entry.unread;
  face.tag = entry.tag;
  face.presence = found.alignOutD;
  face.fineRoll = found.alignOutE;
  face.leftEye = found.alignOutF;
  face.rightEye = found.alignOutG;
  face.mouth = found.alignOutH;
  if (const std::optional<FaceMesh> mesh = ReadMesh(block)) face.mesh = std::make_shared<const FaceMesh>(*mesh);
  return face;
}

ProbedFace Describe(FaceEngine* engine, const ImageView& grey, FaceEntry entry) {
  FoundFace found{};
  int32_t block[QX_FACE_BLOCK_INTS] = {};
  engine->Describe(grey, &entry, &found, block);
  if (found.alignOutD < 0) throw MemoryShort();  // the engine says so by a presence below 0
  return ToFace(found, entry, block);
}

}  // namespace

double ProbedFace::Roll() const {
  const double dx = static_cast<double>(keyPoints[1].x) - keyPoints[0].x;
  const double dy = static_cast<double>(keyPoints[1].y) - keyPoints[0].y;
  const double degrees = exact::Atan2(dy, dx) * (180 / 3.14159265358979323846), fine = fineRoll / 100.0;
  const double roll = fine + 90 * static_cast<double>(std::lround((degrees - fine) / 90));
  return roll > 180 ? roll - 360 : roll <= -180 ? roll + 360 : roll;
}

double ProbedFace::Width() const {
  const auto length = [](Point a, Point b) {
    const double dx = static_cast<double>(b.x) - a.x, dy = static_cast<double>(b.y) - a.y;
    return std::sqrt(dx * dx + dy * dy);
  };
  return (length(corners[0], corners[1]) + length(corners[2], corners[3])) / 2;
}

FaceBox ProbedFace::Box() const {
  const auto& c = corners;
  const auto [left, right] = std::minmax({c[0].x, c[1].x, c[2].x, c[3].x});
  const auto [top, bottom] = std::minmax({c[0].y, c[1].y, c[2].y, c[3].y});
  return {static_cast<double>(left), static_cast<double>(top), static_cast<double>(right), static_cast<double>(bottom)};
}

ProbedFace ProbedFace::Moved(double left, double top, double scaleX, double scaleY) const {
  const auto move = [&](auto* points) {
    for (Point& p : *points) {
      // Points are centres of pixels.
      p.x = static_cast<int32_t>(std::floor((p.x + 0.5 - left) * scaleX));
      p.y = static_cast<int32_t>(std::floor((p.y + 0.5 - top) * scaleY));
    }
  };
  ProbedFace moved = *this;
  move(&moved.corners);
  move(&moved.keyPoints);
  move(&moved.landmarks);
  move(&moved.densePoints);
  if (mesh) moved.mesh = std::make_shared<const FaceMesh>(mesh->Moved(left, top, scaleX, scaleY));
  return moved;
}

FaceFinder::FaceFinder() : engine_(std::make_unique<FaceEngine>()) {
  if (!engine_->Create()) {
    throw Failure(FailureCode::kEngine, "the face engine cannot load; install the program again or free some memory");
  }
}

FaceFinder::~FaceFinder() = default;
FaceFinder::FaceFinder(FaceFinder&&) noexcept = default;

std::vector<ProbedFace> FaceFinder::Find(const PixelView& picture) {
  const Bytes pixels = ToGrey(picture);
  const ImageView grey{pixels.data(), picture.width, picture.height, 1};
  FaceList list;
  if (engine_->Detect(grey, &list) != Status::kOk) throw MemoryShort();
  std::vector<ProbedFace> faces;
  faces.reserve(static_cast<size_t>(list.Count()));
  for (int32_t i = 0; i < list.Count(); ++i) faces.push_back(Describe(engine_.get(), grey, list[i]));
  return faces;
}

bool FaceFinder::Refine(const Image& picture, ProbedFace* face) {
  const Bytes pixels = ToGrey(picture);
  FaceEntry entry{};
  std::memcpy(entry.corners, face->corners.data(), sizeof entry.corners);
  entry.unread = face->score;
  entry.tag = face->tag;
  const ProbedFace refined = Describe(engine_.get(), {pixels.data(), picture.width, picture.height, 1}, entry);
  constexpr int32_t kPresent = 500;
  if (refined.presence < std::min(kPresent, face->presence)) return false;
  *face = refined;
  return true;
}

}  // namespace qx::photo
