#include "photo/person/mask.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "photo/base/failure.h"
#include "photo/base/raster.h"
#include "photo/person/guided_filter.h"
#include "photo/person/hair.h"
#include "photo/person/outline.h"
#include "photo/person/region.h"

namespace qx::photo {
namespace {

// The outline is found in a copy of the photograph in which a face is at most this wide and which has at most this many
// pixels; the photograph itself then only sharpens it.
constexpr double kWorkingFaceWidth = 192;
constexpr double kWorkingPixels = 2e6;

// The network sees the whole picture, then ever closer squares around the head: side in face widths, and what the
// closer view has to say against the wider ones. The closest hold the head, the hair and the shoulders of a passport
// photograph.
struct Square {
  double side;
  float share;
};
constexpr Square kSquares[] = {{7, 1}, {5, 0.7f}, {3.6, 0.6f}, {2.9, 0.6f}};
constexpr double kFeather = 0.12;  // of a square's side, in which it gives way to the wider view

// Patches that the network is unsure of are mostly background around a head, and mostly things a person holds or wears
// below. What lies further than the reach (in face widths) from any pixel that it is sure of does not count.
constexpr float kSureAtHead = 0.9f, kSureAtBody = 0.6f;
constexpr double kBody = 1.3;  // in face widths below the face
constexpr float kSureReach = 0.06f;

struct WorkingPicture {
  Image colours;
  double faceWidth;                      // of the largest person, in working pixels
  std::vector<FaceBox> persons, others;  // in working pixels
};

Rectangle SquareAround(const FaceBox& face, double side, const Image& picture) {
  const double width = face.Width(), extent = side * width;
  const double left = (face.left + face.right - extent) / 2;
  const double top = face.top - std::clamp((side - 1) / 3, 0.85, 1.2) * width;
  const double right = std::min(left + extent, static_cast<double>(picture.width));
  const double bottom = std::min(top + extent, static_cast<double>(picture.height));
  return {std::max(left, 0.0), std::max(top, 0.0), right - std::max(left, 0.0), bottom - std::max(top, 0.0)};
}

// How far each of the pixels from `first` on lies inside a window's two sides, at most `feather`; a side that is the
// picture's own does not count.
std::vector<float> Inside(int first, int end, double start, double length, int pixels, double feather) {
  std::vector<float> inside;
  for (int i = first; i < end; ++i) {
    double least = feather;
    if (start > 0) least = std::min(least, i + 0.5 - start);
    if (start + length < pixels) least = std::min(least, start + length - (i + 0.5));
    inside.push_back(static_cast<float>(std::max(least, 0.0)));
  }
  return inside;
}

// The window's answer has the weight `share`, less towards the window's sides.
void Blend(Raster& map, const Raster& probability, const Rectangle& window, float share) {
  const int left = static_cast<int>(std::floor(window.left)), top = static_cast<int>(std::floor(window.top));
  const int right = std::min(map.width, static_cast<int>(std::ceil(window.Right())));
  const int bottom = std::min(map.height, static_cast<int>(std::ceil(window.Bottom())));
  const double toX = PersonNetwork::kSide / window.width, toY = PersonNetwork::kSide / window.height;
  const Rectangle part{(left - window.left) * toX, (top - window.top) * toY, (right - left) * toX,
                       (bottom - top) * toY};
  const Raster fitted = Resample(probability, part, right - left, bottom - top);
  const double feather = kFeather * std::max(window.width, window.height);
  const std::vector<float> columns = Inside(left, right, window.left, window.width, map.width, feather);
  const std::vector<float> rows = Inside(top, bottom, window.top, window.height, map.height, feather);
  const float unit = share / static_cast<float>(feather);
  for (int y = top; y < bottom; ++y) {
    const float row = rows[static_cast<size_t>(y - top)];
    const float* from = fitted.At(0, y - top);
    float* to = map.At(left, y);
    for (size_t x = 0; x < columns.size(); ++x) to[x] += unit * std::min(columns[x], row) * (from[x] - to[x]);
  }
}

Rectangle Whole(const Image& picture) {
  return {0, 0, static_cast<double>(picture.width), static_cast<double>(picture.height)};
}

Raster PersonProbability(PersonNetwork& network, const WorkingPicture& picture, const FaceBox& face) {
  const Image& colours = picture.colours;
  constexpr double kSide = PersonNetwork::kSide;
  Rectangle seen = Whole(colours);
  Raster probability = network.Probability(colours, seen);
  Raster map = Resample(probability, {0, 0, kSide, kSide}, colours.width, colours.height);
  for (const Square& square : kSquares) {
    const Rectangle window = SquareAround(face, square.side, colours);
    // Wide squares around a large face are often the whole picture.
    if (!(window == seen)) probability = network.Probability(colours, window);
    seen = window;
    Blend(map, probability, window, square.share);
  }
  return map;
}

// Squared distance of a point from a face and what lies below it, in face widths.
double BodyDistance(const FaceBox& face, double x, double y) {
  const double width = face.Width();
  const double dx = x - (face.left + face.right) / 2, dy = std::min(0.0, y - (face.top + face.bottom) / 2);
  return (dx * dx + dy * dy) / (width * width);
}

// Without what the network is unsure of.
Mask DropUnsure(const Raster& map, const WorkingPicture& picture) {
  Region sure(map.width, map.height);
  double body = 0;  // the row below which bodies lie
  for (const FaceBox& face : picture.persons) body = std::max(body, face.bottom + kBody * face.Width());
  for (int y = 0; y < map.height; ++y) {
    const float least = y < body ? kSureAtHead : kSureAtBody;
    const float* from = map.At(0, y);
    uint8_t* to = &sure.At(0, y);
    for (int x = 0; x < map.width; ++x) to[x] = from[x] > least;
  }
  const float reach = kSureReach * static_cast<float>(picture.faceWidth);
  const Distances distances = SignedDistance(sure, 2 * reach);
  const float unit = 1 / (kDistanceUnit * reach);
  Mask left(map.width, map.height);
  for (size_t i = 0; i < distances.size(); ++i) {
    const float share = 2 + static_cast<float>(distances[i]) * unit;
    const float value = map.values[i] * std::clamp(share, 0.0f, 1.0f);
    left.values[i] = static_cast<uint8_t>(static_cast<int>(std::clamp(value, 0.0f, 1.0f) * 255 + 0.5f));
  }
  return left;
}

// Each pixel mostly as it appears around the person to whom it is nearest.
Raster PersonsProbability(PersonNetwork& network, const WorkingPicture& picture) {
  if (picture.persons.size() == 1) return PersonProbability(network, picture, picture.persons[0]);
  Raster map(picture.colours.width, picture.colours.height, 1);
  std::fill(map.values.begin(), map.values.end(), 0.0f);
  Raster sum = map;
  for (const FaceBox& face : picture.persons) {
    const Raster one = PersonProbability(network, picture, face);
    for (int y = 0; y < map.height; ++y) {
      for (int x = 0; x < map.width; ++x) {
        const double near = 1 / (BodyDistance(face, x + 0.5, y + 0.5) + 0.1);
        const auto weight = static_cast<float>(near * near * near * near);
        *map.At(x, y) += weight * *one.At(x, y);
        *sum.At(x, y) += weight;
      }
    }
  }
  for (size_t i = 0; i < map.values.size(); ++i) map.values[i] /= sum.values[i];
  return map;
}

bool NearerToOther(const WorkingPicture& picture, double x, double y) {
  double own = 1e30, other = 1e30;
  for (const FaceBox& face : picture.persons) own = std::min(own, BodyDistance(face, x, y));
  for (const FaceBox& face : picture.others) other = std::min(other, BodyDistance(face, x, y));
  return other < own;
}

// A copy of the map in which a face is about this wide is enough to see what hangs together.
constexpr double kCopyFaceWidth = 96;
// In pixels of the copy: half the width of the widest neck that joins something foreign to a person; how far thin parts
// come back after the cut; the rim around a person in which the map stays as it is; the largest hole, in square pixels.
constexpr int kNeck = 6, kReturn = 16, kRim = 3, kHole = 1200;

// The faces' pixels in the copy; what belongs to other persons is wiped from it.
Region MarkFaces(Mask& copy, const WorkingPicture& picture) {
  const double toX = static_cast<double>(picture.colours.width) / copy.width;
  const double toY = static_cast<double>(picture.colours.height) / copy.height;
  Region faces(copy.width, copy.height);
  for (const FaceBox& face : picture.persons) {
    for (int y = 0; y < copy.height; ++y) {
      const double py = (y + 0.5) * toY;
      for (int x = 0; x < copy.width; ++x) {
        const double px = (x + 0.5) * toX;
        if (px > face.left && px < face.right && py > face.top && py < face.bottom) faces.At(x, y) = 1;
      }
    }
  }
  if (picture.others.empty()) return faces;
  for (int y = 0; y < copy.height; ++y) {
    for (int x = 0; x < copy.width; ++x) {
      if (NearerToOther(picture, (x + 0.5) * toX, (y + 0.5) * toY)) copy.Row(y)[x] = 0;
    }
  }
  return faces;
}

// How much of the map stays, and what is filled whatever it says, at the copy's size.
struct Keeping {
  Mask share, filled;
};

Keeping KeepConnected(const Region& faces, const Region& open) {
  const int width = open.width, height = open.height;
  Region solid = open;
  FillHoles(solid, kHole);
  Region core(width, height);
  Distances distances = SignedDistance(solid, kNeck + 1);
  for (size_t i = 0; i < distances.size(); ++i) core.bits[i] = distances[i] > kNeck * kDistanceUnit;
  core = Grow(faces, core);
  if (std::find(core.bits.begin(), core.bits.end(), 1) == core.bits.end()) {
    throw Failure(FailureCode::kNoPerson, "no person can be told from the background; keep it, or give a mask");
  }
  const Region persons = Grow(core, solid, kReturn);
  Region holes = persons;
  for (size_t i = 0; i < holes.bits.size(); ++i) holes.bits[i] = persons.bits[i] && !open.bits[i];
  holes = Grow(holes, persons, 2);  // their rim as well
  Keeping keeping{Mask(width, height), Mask(width, height)};
  distances = SignedDistance(persons, kRim);
  for (size_t i = 0; i < distances.size(); ++i) {
    const int share = (distances[i] + kRim * kDistanceUnit) * 255 / (2 * kDistanceUnit);
    keeping.share.values[i] = static_cast<uint8_t>(std::clamp(share, 0, 255));
    keeping.filled.values[i] = static_cast<uint8_t>(255 * holes.bits[i]);
  }
  return keeping;
}

// Keeps what hangs together with the faces by more than a thin neck, and closes small holes.
void KeepPersons(Mask& map, const WorkingPicture& picture) {
  const double scale = std::min(1.0, kCopyFaceWidth / picture.faceWidth);
  const int width = std::max(1, static_cast<int>(std::lround(map.width * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(map.height * scale)));
  Mask copy = ResampleWhole(map, width, height);
  const Region faces = MarkFaces(copy, picture);
  const Keeping keeping = KeepConnected(faces, AtLeastHalf(copy, {0, 0, width, height}));
  const Mask share = ResampleWhole(keeping.share, map.width, map.height);
  const Mask filled = ResampleWhole(keeping.filled, map.width, map.height);
  for (size_t i = 0; i < map.values.size(); ++i) {
    const int kept = (map.values[i] * share.values[i] + 127) / 255;
    map.values[i] = std::max(static_cast<uint8_t>(kept), filled.values[i]);
  }
}

// The parts of the faces within the photograph, without those that have none of at least a pixel.
std::vector<FaceBox> Clamped(const std::vector<FaceBox>& faces, const Image& photograph) {
  std::vector<FaceBox> clamped;
  const double width = photograph.width, height = photograph.height;
  for (const FaceBox& face : faces) {
    const FaceBox part{std::max(face.left, 0.0), std::max(face.top, 0.0), std::min(face.right, width),
                       std::min(face.bottom, height)};
    if (part.right - part.left >= 1 && part.bottom - part.top >= 1) clamped.push_back(part);
  }
  return clamped;
}

WorkingPicture MakeWorkingPicture(const Image& photograph, const std::vector<FaceBox>& persons,
                                  const std::vector<FaceBox>& others) {
  WorkingPicture picture;
  const MapSize size = SizeOfMap(photograph.width, photograph.height, persons);
  const int width = size.width, height = size.height;
  picture.colours = ResampleWhole(photograph, width, height);
  picture.faceWidth = size.faceWidth;
  auto toWorking = [&](const std::vector<FaceBox>& faces) {
    std::vector<FaceBox> scaled;
    const double x = static_cast<double>(width) / photograph.width, y = static_cast<double>(height) / photograph.height;
    for (const FaceBox& face : faces) scaled.push_back({face.left * x, face.top * y, face.right * x, face.bottom * y});
    return scaled;
  };
  picture.persons = toWorking(persons);
  picture.others = toWorking(others);
  return picture;
}

// A wide filter finds the edges that the network missed by a little, a narrow one follows them closely.
enum class Follow { kWide, kClose };

OutlineFilter FilterFor(Follow follow, double faceWidth) {
  auto radius = [&](double part) {
    return std::clamp(static_cast<int>(std::lround(part * faceWidth)), 2, GuidedFilter::kMostRadius);
  };
  auto band = [&](double part) { return std::max(2.0f, static_cast<float>(part * faceWidth)); };
  if (follow == Follow::kWide) return {radius(0.07), 1e-4, 2.5f, band(0.08)};
  return {radius(0.03), 1e-4, 2.0f, band(0.05)};
}

}  // namespace

MapSize SizeOfMap(int32_t width, int32_t height, const std::vector<FaceBox>& persons) {
  double widest = 0;
  for (const FaceBox& face : persons) widest = std::max(widest, face.Width());
  const double pixels = static_cast<double>(width) * height;
  const double scale = std::min({1.0, kWorkingFaceWidth / widest, std::sqrt(kWorkingPixels / pixels)});
  const auto scaled = [scale](int32_t side) { return std::max(1, static_cast<int32_t>(std::lround(side * scale))); };
  return {scaled(width), scaled(height), widest * scale};
}

PersonMap PersonSegmenter::FindPersons(const Image& overview, const std::vector<FaceBox>& persons,
                                       const std::vector<FaceBox>& others) {
  if (persons.empty())
    throw Failure(FailureCode::kNoFace, "no face to make the mask for; use a photograph that shows one");
  const std::vector<FaceBox> wanted = Clamped(persons, overview);
  if (wanted.size() != persons.size())
    throw Failure(FailureCode::kNoFace, "a face for the mask lies outside the photograph");
  WorkingPicture picture = MakeWorkingPicture(overview, wanted, Clamped(others, overview));
  const Image& colours = picture.colours;
  Mask coverage = DropUnsure(PersonsProbability(network_, picture), picture);
  coverage = FilterOutline(coverage, colours, FilterFor(Follow::kWide, picture.faceWidth), colours, Whole(colours));
  KeepPersons(coverage, picture);
  const double scaleX = static_cast<double>(colours.width) / overview.width;
  const double scaleY = static_cast<double>(colours.height) / overview.height;
  return {std::move(coverage), std::move(picture.colours), picture.faceWidth, scaleX, scaleY, std::nullopt};
}

Mask PersonSegmenter::Segment(const Image& photograph, const std::vector<FaceBox>& persons,
                              const std::vector<FaceBox>& others) {
  const Rectangle whole = Whole(photograph);
  PersonMap map = FindPersons(photograph, persons, others);
  map.hair = FollowHair(map, photograph, whole, persons, others);
  return RefineMask(map, photograph, whole);
}

Mask CoarseMask(const PersonMap& map) {
  return RefineMask(map, map.colours, {0, 0, map.coverage.width / map.scaleX, map.coverage.height / map.scaleY});
}

Mask RefineMask(const PersonMap& map, const Image& picture, const Rectangle& window) {
  Mask mask = FilterOutline(
      map.coverage, map.colours, FilterFor(Follow::kClose, map.faceWidth), picture,
      {window.left * map.scaleX, window.top * map.scaleY, window.width * map.scaleX, window.height * map.scaleY});
  if (map.hair) LayHair(*map.hair, picture, window, &mask);
  return mask;
}

}  // namespace qx::photo
