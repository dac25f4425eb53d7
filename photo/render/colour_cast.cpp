#include "photo/render/colour_cast.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

#include "photo/render/oklab.h"

namespace qx::photo {
namespace {

// A pixel's colour for a lightness of 1, and how much it counts.
struct Sample {
  double a = 0, b = 0, weight = 0;
};

double Length(const Cast& cast) {
  return std::sqrt(cast.a * cast.a + cast.b * cast.b);
}

// Nothing for pixels too dark or too bright to have kept their colour.
std::optional<Sample> SampleOf(const uint8_t* bgr) {
  constexpr uint8_t kBrightest = 250;
  constexpr double kDarkest = 0.3;
  if (std::max({bgr[0], bgr[1], bgr[2]}) > kBrightest) return std::nullopt;
  const Oklab seen = OklabOf(ConesOf(LinearColour{LinearOf(bgr[0]), LinearOf(bgr[1]), LinearOf(bgr[2])}));
  if (seen.l < kDarkest) return std::nullopt;
  return Sample{seen.a / seen.l, seen.b / seen.l, 1};
}

std::optional<Cast> MeanNear(const std::vector<Sample>& samples, const Cast& centre, double radius, double* weight) {
  Cast sum;
  *weight = 0;
  for (const Sample& s : samples) {
    const double a = s.a - centre.a, b = s.b - centre.b;
    if (a * a + b * b > radius * radius) continue;
    sum.a += s.weight * s.a;
    sum.b += s.weight * s.b;
    *weight += s.weight;
  }
  if (!(*weight > 0)) return std::nullopt;
  return Cast{sum.a / *weight, sum.b / *weight};
}

// The pixels of persons without their faces, then those of the surroundings.
std::array<std::vector<Sample>, 2> SampleGreys(const Image& photograph, const Mask& mask,
                                               const std::vector<ProbedFace>& faces) {
  constexpr double kSamples = 40'000;
  const auto step = static_cast<int32_t>(1 + std::sqrt(static_cast<double>(photograph.Pixels()) / kSamples));
  std::array<std::vector<Sample>, 2> samples;
  for (int32_t y = step / 2; y < photograph.height; y += step) {
    for (int32_t x = step / 2; x < photograph.width; x += step) {
      const auto holds = [x, y](const ProbedFace& face) {
        const FaceBox box = face.Box();
        return x >= box.left && x < box.right && y >= box.top && y < box.bottom;
      };
      constexpr uint8_t kPerson = 240, kNone = 15;
      const uint8_t share = mask.Row(y)[x];
      if ((share > kNone && share < kPerson) || std::any_of(faces.begin(), faces.end(), holds)) continue;
      if (const auto sample = SampleOf(photograph.At(x, y))) samples[share >= kPerson ? 0 : 1].push_back(*sample);
    }
  }
  return samples;
}

// The mean of what is nearly grey, nothing where that is too little.
std::optional<Cast> CastOfGreys(const Image& photograph, const Mask& mask, const std::vector<ProbedFace>& faces) {
  constexpr double kNear = 0.055, kLeast = 0.05;  // skin lies at 0.08 and beyond
  auto [persons, others] = SampleGreys(photograph, mask, faces);
  std::vector<Sample> all;
  for (std::vector<Sample>* samples : {&persons, &others}) {
    for (Sample& s : *samples) {
      s.weight = 1 / static_cast<double>(samples->size());
      all.push_back(s);
    }
  }
  Cast centre;
  double weight = 0;
  for (int i = 0; i < 12; ++i) {
    const auto mean = MeanNear(all, centre, kNear, &weight);
    if (!mean || weight < kLeast) return std::nullopt;
    centre = *mean;
  }
  return centre;
}

bool IsInside(const std::vector<PlacePoint>& polygon, double x, double y) {
  bool inside = false;
  for (size_t i = 0, j = polygon.size() - 1; i < polygon.size(); j = i++) {
    const PlacePoint a = polygon[i], b = polygon[j];
    if ((a.y > y) != (b.y > y) && x < (b.x - a.x) * (y - a.y) / (b.y - a.y) + a.x) inside = !inside;
  }
  return inside;
}

// Adds the pixels between the lids beside the iris, the lightness as their weight.
void AddEye(const Image& photograph, const FaceMesh& mesh, size_t eye, std::vector<Sample>* samples) {
  constexpr double kIris = 1.15, kLidsShadow = 0.85;
  std::vector<PlacePoint> lids;
  for (const int i : kEyeRings[eye]) lids.push_back(mesh[i]);
  PlacePoint low = lids[0], high = lids[0], middle;
  for (const PlacePoint& p : lids) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    middle.x += p.x / static_cast<double>(lids.size());
    middle.y += p.y / static_cast<double>(lids.size());
  }
  for (PlacePoint& p : lids) {
    p = {middle.x + kLidsShadow * (p.x - middle.x), middle.y + kLidsShadow * (p.y - middle.y)};
  }
  const auto& iris = mesh.irises[eye];
  double radius = 0;
  for (size_t i = 1; i < kIrisPoints; ++i) {
    const double dx = iris[i].x - iris[0].x, dy = iris[i].y - iris[0].y;
    radius = std::max(radius, dx * dx + dy * dy);
  }
  const auto clip = [](double v, int32_t size) { return static_cast<int32_t>(std::clamp(v, 0.0, 1.0 * size)); };
  for (int32_t y = clip(low.y, photograph.height); y < clip(high.y + 1, photograph.height); ++y) {
    for (int32_t x = clip(low.x, photograph.width); x < clip(high.x + 1, photograph.width); ++x) {
      const double dx = x + 0.5 - iris[0].x, dy = y + 0.5 - iris[0].y;
      if (dx * dx + dy * dy < kIris * kIris * radius || !IsInside(lids, x + 0.5, y + 0.5)) continue;
      if (auto sample = SampleOf(photograph.At(x, y))) {
        const uint8_t* p = photograph.At(x, y);
        sample->weight = std::min({p[0], p[1], p[2]});
        samples->push_back(*sample);
      }
    }
  }
}

// The colour of the lighter half of the eyes' whites, less what they have of it in white light.
std::optional<Cast> CastOfEyes(const Image& photograph, const std::vector<ProbedFace>& faces) {
  constexpr size_t kLeast = 24;  // pixels
  constexpr double kReddish = 0.02, kYellowish = 0.02, kMost = 0.055;
  std::vector<Sample> samples;
  for (const ProbedFace& face : faces) {
    if (!face.mesh || !face.mesh->hasDepth) continue;
    for (size_t eye = 0; eye < 2; ++eye) AddEye(photograph, *face.mesh, eye, &samples);
  }
  if (samples.size() < 2 * kLeast) return std::nullopt;
  const auto half = samples.begin() + static_cast<ptrdiff_t>(samples.size() / 2);
  std::nth_element(samples.begin(), half, samples.end(),
                   [](const Sample& x, const Sample& y) { return x.weight > y.weight; });
  Cast sum;
  for (auto s = samples.begin(); s != half; ++s) sum = {sum.a + s->a, sum.b + s->b};
  const double count = static_cast<double>(half - samples.begin());
  const Cast cast{sum.a / count - kReddish, sum.b / count - kYellowish};
  if (Length(cast) > kMost) return std::nullopt;
  return cast;
}

// The cast of the greys as far as the eyes go along with it.
Cast Confirmed(const Cast& greys, const Cast& eyes) {
  const double length = Length(greys);
  if (!(length > 0)) return {};
  const double along = (greys.a * eyes.a + greys.b * eyes.b) / length;
  const double share = std::clamp(along / length, 0.0, 1.0);
  return {greys.a * share, greys.b * share};
}

}  // namespace

Cast MeasureCast(const Image& photograph, const Mask& mask, const std::vector<ProbedFace>& faces) {
  constexpr double kUnseen = 0.012, kSeen = 0.026, kAlone = 0.5, kWorthIt = 0.004;
  const auto greys = CastOfGreys(photograph, mask, faces);
  if (!greys) return {};
  const auto eyes = CastOfEyes(photograph, faces);
  const Cast cast = eyes ? Confirmed(*greys, *eyes) : Cast{kAlone * greys->a, kAlone * greys->b};
  const double t = std::clamp((Length(cast) - kUnseen) / (kSeen - kUnseen), 0.0, 1.0), share = t * t * (3 - 2 * t);
  if (share * Length(cast) < kWorthIt) return {};
  return {cast.a * share, cast.b * share};
}

std::string NameOf(const Cast& cast) {
  if (std::abs(cast.b) >= std::abs(cast.a)) return cast.b > 0 ? "a yellow" : "a blue";
  return cast.a > 0 ? "a magenta" : "a green";
}

}  // namespace qx::photo
