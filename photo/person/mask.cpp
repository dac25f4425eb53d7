#include "photo/person/mask.h"

#include <algorithm>
#include <cmath>

#include "photo/base/failure.h"
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
  Raster colours;                        // blue, green, red, 0 to 1
  double faceWidth;                      // of the largest person, in working pixels
  std::vector<FaceBox> persons, others;  // in working pixels
};

Window SquareAround(const FaceBox& face, double side, const Raster& picture) {
  const double width = face.Width(), extent = side * width;
  const double left = (face.left + face.right - extent) / 2;
  const double top = face.top - std::clamp((side - 1) / 3, 0.85, 1.2) * width;
  const double right = std::min(left + extent, double{1} * picture.width);
  const double bottom = std::min(top + extent, double{1} * picture.height);
  return {std::max(left, 0.0), std::max(top, 0.0), right - std::max(left, 0.0), bottom - std::max(top, 0.0)};
}

// 0 at the window's sides, 1 from the feather's width on; the sides that are the picture's own do not fade.
float Weight(const Window& window, double x, double y, const Raster& picture) {
  const double feather = kFeather * std::max(window.width, window.height);
  double inside = feather;
  if (window.left > 0) inside = std::min(inside, x - window.left);
  if (window.top > 0) inside = std::min(inside, y - window.top);
  if (window.left + window.width < picture.width) inside = std::min(inside, window.left + window.width - x);
  if (window.top + window.height < picture.height) inside = std::min(inside, window.top + window.height - y);
  return static_cast<float>(std::clamp(inside / feather, 0.0, 1.0));
}

void Blend(Raster& map, const Raster& colours, const Raster& probability, const Window& window, float share) {
  const int left = static_cast<int>(std::floor(window.left)), top = static_cast<int>(std::floor(window.top));
  const int right = std::min(map.width, static_cast<int>(std::ceil(window.left + window.width)));
  const int bottom = std::min(map.height, static_cast<int>(std::ceil(window.top + window.height)));
  const double toX = PersonNetwork::kSide / window.width, toY = PersonNetwork::kSide / window.height;
  const Window part{(left - window.left) * toX, (top - window.top) * toY, (right - left) * toX, (bottom - top) * toY};
  const Raster fitted = Resample(probability, part, right - left, bottom - top);
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) {
      const float weight = share * Weight(window, x + 0.5, y + 0.5, colours);
      float* value = map.At(x, y);
      *value += weight * (*fitted.At(x - left, y - top) - *value);
    }
  }
}

Raster PersonProbability(PersonNetwork& network, const WorkingPicture& picture, const FaceBox& face) {
  const Raster& colours = picture.colours;
  const Window whole{0, 0, double{1} * colours.width, double{1} * colours.height};
  Raster map(colours.width, colours.height, 1);
  Blend(map, colours, network.Probability(colours, whole), whole, 1);
  for (const Square& square : kSquares) {
    const Window window = SquareAround(face, square.side, colours);
    Blend(map, colours, network.Probability(colours, window), window, square.share);
  }
  return map;
}

// Squared distance of a point from a face and what lies below it, in face widths.
double BodyDistance(const FaceBox& face, double x, double y) {
  const double width = face.Width();
  const double dx = x - (face.left + face.right) / 2, dy = std::min(0.0, y - (face.top + face.bottom) / 2);
  return (dx * dx + dy * dy) / (width * width);
}

// Takes away what the network is unsure of.
void DropUnsure(Raster& map, const WorkingPicture& picture) {
  Region sure(map.width, map.height);
  double body = 0;  // the row below which bodies lie
  for (const FaceBox& face : picture.persons) body = std::max(body, face.bottom + kBody * face.Width());
  for (int y = 0; y < map.height; ++y) {
    const float least = y < body ? kSureAtHead : kSureAtBody;
    for (int x = 0; x < map.width; ++x) sure.At(x, y) = *map.At(x, y) > least;
  }
  const Raster distance = SignedDistance(sure);
  const float reach = kSureReach * static_cast<float>(picture.faceWidth);
  for (size_t i = 0; i < map.values.size(); ++i) {
    map.values[i] *= std::clamp(2 + distance.values[i] / reach, 0.0f, 1.0f);
  }
}

// Each pixel mostly as it appears around the person to whom it is nearest.
Raster PersonsProbability(PersonNetwork& network, const WorkingPicture& picture) {
  if (picture.persons.size() == 1) return PersonProbability(network, picture, picture.persons[0]);
  Raster map(picture.colours.width, picture.colours.height, 1), sum = map;
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

Window Whole(const Raster& raster) {
  return {0, 0, double{1} * raster.width, double{1} * raster.height};
}

// The faces' pixels in the copy; what belongs to other persons is wiped from it.
Region MarkFaces(Raster& copy, const Raster& map, const WorkingPicture& picture) {
  Region faces(copy.width, copy.height);
  for (int y = 0; y < copy.height; ++y) {
    for (int x = 0; x < copy.width; ++x) {
      const double px = (x + 0.5) * map.width / copy.width, py = (y + 0.5) * map.height / copy.height;
      if (!picture.others.empty() && NearerToOther(picture, px, py)) *copy.At(x, y) = 0;
      for (const FaceBox& face : picture.persons) {
        if (px > face.left && px < face.right && py > face.top && py < face.bottom) faces.At(x, y) = 1;
      }
    }
  }
  return faces;
}

// Keeps what hangs together with the faces by more than a thin neck, and closes small holes.
void KeepPersons(Raster& map, const WorkingPicture& picture) {
  const double scale = std::min(1.0, kCopyFaceWidth / picture.faceWidth);
  const int width = std::max(1, static_cast<int>(std::lround(map.width * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(map.height * scale)));
  Raster copy = Resample(map, Whole(map), width, height);
  const Region faces = MarkFaces(copy, map, picture);
  const Region open = Above(copy, 0.5f);
  Region solid = open;
  FillHoles(solid, kHole);
  const Region core = Grow(faces, Above(SignedDistance(solid), kNeck), width * height);
  if (std::find(core.bits.begin(), core.bits.end(), 1) == core.bits.end()) {
    throw Failure(FailureCode::kNoPerson, "no person can be told from the background; keep it, or give a mask");
  }
  const Region persons = Grow(core, solid, kReturn);
  Raster keep = SignedDistance(persons);
  for (float& value : keep.values) value = std::clamp((value + kRim) / 2, 0.0f, 1.0f);
  Region holes = persons;
  for (size_t i = 0; i < holes.bits.size(); ++i) holes.bits[i] = persons.bits[i] && !open.bits[i];
  holes = Grow(holes, persons, 2);  // their rim as well
  Raster filled(width, height, 1);
  std::copy(holes.bits.begin(), holes.bits.end(), filled.values.begin());
  keep = Resample(keep, Whole(keep), map.width, map.height);
  filled = Resample(filled, Whole(filled), map.width, map.height);
  for (size_t i = 0; i < map.values.size(); ++i) {
    map.values[i] = std::max(map.values[i] * keep.values[i], filled.values[i]);
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
  double widest = 0;
  for (const FaceBox& face : persons) widest = std::max(widest, face.Width());
  const double pixels = double{1} * photograph.width * photograph.height;
  const double scale = std::min({1.0, kWorkingFaceWidth / widest, std::sqrt(kWorkingPixels / pixels)});
  const int width = std::max(1, static_cast<int>(std::lround(photograph.width * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(photograph.height * scale)));
  picture.colours =
      Resample(photograph, {0, 0, double{1} * photograph.width, double{1} * photograph.height}, width, height);
  picture.faceWidth = widest * scale;
  auto toWorking = [&](const std::vector<FaceBox>& faces) {
    std::vector<FaceBox> scaled;
    const double x = double{1} * width / photograph.width, y = double{1} * height / photograph.height;
    for (const FaceBox& face : faces) scaled.push_back({face.left * x, face.top * y, face.right * x, face.bottom * y});
    return scaled;
  };
  picture.persons = toWorking(persons);
  picture.others = toWorking(others);
  return picture;
}

// Radius of a filter's windows in pixels, from a part of the face's width.
int Reach(double part, double faceWidth) {
  return std::max(2, static_cast<int>(std::lround(part * faceWidth)));
}

Bytes ToBytes(const std::vector<float>& values) {
  Bytes bytes(values.size());
  for (size_t i = 0; i < values.size(); ++i) {
    bytes[i] = static_cast<uint8_t>(std::clamp(values[i], 0.0f, 1.0f) * 255 + 0.5f);
  }
  return bytes;
}

}  // namespace

PersonMap PersonSegmenter::FindPersons(const Image& overview, const std::vector<FaceBox>& persons,
                                       const std::vector<FaceBox>& others) {
  if (persons.empty())
    throw Failure(FailureCode::kNoFace, "no face to make the mask for; use a photograph that shows one");
  const std::vector<FaceBox> wanted = Clamped(persons, overview);
  if (wanted.size() != persons.size())
    throw Failure(FailureCode::kNoFace, "a face for the mask lies outside the photograph");
  const WorkingPicture picture = MakeWorkingPicture(overview, wanted, Clamped(others, overview));
  Raster map = PersonsProbability(network_, picture);
  DropUnsure(map, picture);
  // A wide filter finds the edges that the network missed by a little, a narrow one follows them closely.
  const auto width = static_cast<float>(picture.faceWidth);
  map = FilterOutline(map, picture.colours, {Reach(0.07, picture.faceWidth), 1e-4, 2.5f, 0.08f * width});
  KeepPersons(map, picture);
  PersonMap result;
  result.coverage = Mask(map.width, map.height, ToBytes(map.values));
  result.colours = Image(map.width, map.height, ToBytes(picture.colours.values));
  result.faceWidth = picture.faceWidth;
  result.scaleX = double{1} * map.width / overview.width;
  result.scaleY = double{1} * map.height / overview.height;
  return result;
}

Mask PersonSegmenter::Segment(const Image& photograph, const std::vector<FaceBox>& persons,
                              const std::vector<FaceBox>& others) {
  return RefineMask(FindPersons(photograph, persons, others), photograph,
                    {0, 0, double{1} * photograph.width, double{1} * photograph.height});
}

Mask CoarseMask(const PersonMap& map) {
  return RefineMask(map, map.colours, {0, 0, map.coverage.width / map.scaleX, map.coverage.height / map.scaleY});
}

Mask RefineMask(const PersonMap& map, const Image& picture, const Rectangle& window) {
  const int width = map.coverage.width, height = map.coverage.height;
  const OutlineFilter filter{Reach(0.03, map.faceWidth), 1e-4, 2.0f, 0.05f * static_cast<float>(map.faceWidth)};
  return FilterOutline(
      Resample(map.coverage, width, height),
      Resample(map.colours, {0, 0, double{1} * width, double{1} * height}, width, height), filter, picture,
      {window.left * map.scaleX, window.top * map.scaleY, window.width * map.scaleX, window.height * map.scaleY});
}

}  // namespace qx::photo
