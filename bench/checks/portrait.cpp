#include "bench/checks/portrait.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>

#include "codec/codec.h"
#include "photo/base/failure.h"
#include "photo/base/resize.h"
#include "photo/check/aligned_face.h"
#include "photo/check/measures.h"

namespace qx::bench::checks {

using namespace photo;

PlacePoint Portrait::At(double aside, double down) const {
  const auto eyes = EyeCentres(mesh);
  const PlacePoint middle = Middle(eyes[0], eyes[1]);
  const double x = eyes[1].x - eyes[0].x, y = eyes[1].y - eyes[0].y;
  return {middle.x + aside * x - down * y, middle.y + aside * y + down * x};
}

std::vector<ProbedFace> Examiner::Find(const Image& picture) {
  std::vector<ProbedFace> faces = finder_.Find(picture);
  std::stable_sort(faces.begin(), faces.end(),
                   [](const ProbedFace& a, const ProbedFace& b) { return a.Width() > b.Width(); });
  return faces;
}

std::optional<Mask> Examiner::FindPerson(const Image& picture, const std::vector<ProbedFace>& faces) {
  std::vector<FaceBox> persons, others;
  for (const ProbedFace& face : faces) (&face == &faces[0] ? persons : others).push_back(face.Box());
  try {
    return segmenter_.Segment(picture, persons, others);
  } catch (const Failure&) {
    return std::nullopt;  // a face that no person is seen around
  }
}

std::optional<Portrait> Examiner::MakePortrait(const Image& photograph, const ProbedFace& face) {
  constexpr double kAside = 2.6, kAbove = 2.9, kBelow = 3.8;  // in eye distances from the middle of the eyes
  constexpr double kMostTurn = 30;                            // degrees
  if (!face.mesh || !face.mesh->hasDepth || face.presence < 900 || std::abs(face.Roll()) > kMostTurn) return {};
  const auto eyes = EyeCentres(*face.mesh);
  const double distance = Distance(eyes[0], eyes[1]);
  constexpr double kLeast = 40;
  if (!(distance >= kLeast)) return {};
  const PlacePoint middle = Middle(eyes[0], eyes[1]);
  const auto clip = [](double v, int32_t size) { return std::clamp(std::round(v), 0.0, 1.0 * size); };
  const double left = clip(middle.x - kAside * distance, photograph.width);
  const double right = clip(middle.x + kAside * distance, photograph.width);
  const double top = clip(middle.y - kAbove * distance, photograph.height);
  const double bottom = clip(middle.y + kBelow * distance, photograph.height);
  const double scale = std::min(1.0, kEyeDistance / distance);
  Portrait portrait;
  portrait.picture = ResizeLanczos(photograph, {left, top, right - left, bottom - top},
                                   static_cast<int32_t>(std::lround((right - left) * scale)),
                                   static_cast<int32_t>(std::lround((bottom - top) * scale)));
  const std::vector<ProbedFace> faces = Find(portrait.picture);
  if (faces.empty() || !faces[0].mesh || !faces[0].mesh->hasDepth || faces[0].presence < 900) return {};
  const std::optional<Mask> person = FindPerson(portrait.picture, faces);
  if (!person) return {};
  portrait.mesh = *faces[0].mesh;
  portrait.person = *person;
  const auto found = EyeCentres(portrait.mesh);
  portrait.eyeDistance = Distance(found[0], found[1]);
  portrait.eyesToChin = Distance(Middle(found[0], found[1]), portrait.mesh[152]);
  return portrait;
}

std::vector<Portrait> Examiner::Portraits(const std::string& file, size_t most) {
  const Image photograph = codec::ReadImage(file);
  std::vector<Portrait> portraits;
  for (const ProbedFace& face : Find(photograph)) {
    if (portraits.size() == most) break;
    std::optional<Portrait> portrait = MakePortrait(photograph, face);
    if (!portrait) continue;
    portrait->name = std::filesystem::path(file).stem().string();
    if (!portraits.empty()) portrait->name += "_" + std::to_string(portraits.size() + 1);
    portraits.push_back(std::move(*portrait));
  }
  return portraits;
}

std::vector<photo::Measure> Examiner::Measure(const Image& picture) {
  const std::vector<ProbedFace> faces = Find(picture);
  const std::optional<Mask> person = faces.empty() ? std::nullopt : FindPerson(picture, faces);
  MeasureOptions options;
  options.backgrounds = {"white"};
  return MeasureFace(picture, faces, person ? &*person : nullptr, options);
}

Examiner::Times Examiner::Time(const Portrait& portrait) {
  constexpr int kRuns = 9;
  const auto least = [](auto work) {
    double milliseconds = 1e9;
    for (int run = 0; run < kRuns; ++run) {
      const std::clock_t start = std::clock();
      work();
      milliseconds = std::min(milliseconds, 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return milliseconds;
  };
  const std::vector<ProbedFace> faces = Find(portrait.picture);
  return {least([&] { Find(portrait.picture); }),
          least([&] { MeasureFace(portrait.picture, faces, &portrait.person); })};
}

}  // namespace qx::bench::checks
