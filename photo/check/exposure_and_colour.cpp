#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "base/exact_math.h"
#include "photo/check/colour.h"
#include "photo/check/face_view.h"

namespace qx::photo {
namespace {

constexpr double kPi = 3.14159265358979323846;

using Histogram = std::array<double, 256>;

Histogram Count(const AlignedFace& face, const PixelBox& box) {
  Histogram counts{};
  ForEachPixel(box, face.hull,
               [&](int32_t x, int32_t y) { counts[face.luminance[face.hull.First(y) + static_cast<size_t>(x)]] += 1; });
  return counts;
}

// Whether there was anything to count.
bool Normalise(Histogram* counts) {
  double sum = 0;
  for (const double n : *counts) sum += n;
  if (!(sum > 0)) return false;
  for (double& n : *counts) n /= sum;
  return true;
}

double Share(const Histogram& histogram, int from, int to) {
  double sum = 0;
  for (int i = from; i <= to; ++i) sum += histogram[static_cast<size_t>(i)];
  return sum;
}

double Logistic(double x, double x0, double w) {
  return 1 / (1 + exact::Exp((x0 - x) / w));
}

// The squares below the eyes, inward of them, the left one first.
std::array<PixelBox, 2> Zones(const AlignedFace& face) {
  const auto whole = [](double v) { return static_cast<int32_t>(std::clamp(v, 0.0, 1.0 * kAlignedSide)); };
  const int32_t side = whole(0.3 * face.eyeDistance);
  const int32_t top = whole(face.EyeMiddle().y) + whole(face.eyesToMouth / 2);
  const int32_t left = whole(face.eyes[0].x), right = whole(face.eyes[1].x);
  const auto clip = [](int32_t v) { return std::clamp(v, 0, kAlignedSide); };
  return {PixelBox{left, clip(top), clip(left + side), clip(top + side)},
          PixelBox{clip(right - side), clip(top), right, clip(top + side)}};
}

void MeasureLuminance(const Histogram& all, MeasureList* list) {
  constexpr double kLog2 = 0.693147180559945309;
  double mean = 0, square = 0, entropy = 0;
  for (size_t i = 0; i < all.size(); ++i) {
    const double y = static_cast<double>(i) / 255;
    mean += all[i] * y;
    square += all[i] * y * y;
    if (all[i] > 0) entropy -= all[i] * (exact::Log(all[i]) / kLog2);
  }
  const double variance = std::max(0.0, square - mean * mean);
  list->Judge(MeasureId::kLuminanceMean, mean).score =
      RoundScore(100 * Logistic(mean, 0.2, 0.05) * (1 - Logistic(mean, 0.8, 0.05)));
  list->Judge(MeasureId::kLuminanceVariance, variance).score =
      RoundScore(100 * exact::Sin(kPi * 60 * variance / (60 * variance + 1)));
  list->Judge(MeasureId::kDynamicRange, entropy, "the face has hardly any contrast: use more light").score =
      RoundScore(12.5 * entropy);
}

void MeasureExposure(const Histogram& all, MeasureList* list) {
  constexpr int kDark = 25, kBright = 247;
  list->Judge(MeasureId::kUnderExposurePrevention, Share(all, 0, kDark),
              "too dark: use more light from the front, or a longer exposure");
  const double over = Share(all, kBright, 255);
  list->Judge(MeasureId::kOverExposurePrevention, over, "parts of the face are pure white: use softer or less light")
      .score = RoundScore(1 / (over + 0.01));
}

void MeasureHull(const AlignedFace& face, MeasureList* list) {
  Histogram all = Count(face, kAllAligned);
  if (!Normalise(&all)) {
    for (const MeasureId id :
         {MeasureId::kLuminanceMean, MeasureId::kLuminanceVariance, MeasureId::kDynamicRange,
          MeasureId::kUnderExposurePrevention, MeasureId::kOverExposurePrevention, MeasureId::kColourPicture}) {
      list->NotAssessed(id, "the face is not in the picture");
    }
    return;
  }
  MeasureLuminance(all, list);
  MeasureExposure(all, list);
  ByteCounts spread;
  ForEachPixel(kAllAligned, face.hull, [&](int32_t x, int32_t y) {
    const uint8_t* p = face.picture.At(x, y);
    const auto [low, high] = std::minmax({p[0], p[1], p[2]});
    spread.Add(static_cast<uint8_t>(high - low));
  });
  constexpr double kShare = 0.95;
  list->Judge(MeasureId::kColourPicture, spread.Percentile(kShare), "the photograph has no colour: take it in colour");
}

void MeasureUniformity(const AlignedFace& face, const std::array<PixelBox, 2>& zones, MeasureList* list) {
  Histogram left = Count(face, zones[0]), right = Count(face, zones[1]);
  if (!Normalise(&left) || !Normalise(&right)) {
    return list->NotAssessed(MeasureId::kIlluminationUniformity, "the cheeks are not in the picture");
  }
  double common = 0;
  for (size_t i = 0; i < left.size(); ++i) common += std::min(left[i], right[i]);
  list->Judge(MeasureId::kIlluminationUniformity, common).score = RoundScore(100 * exact::Pow(common, 0.3));
}

void MeasureNaturalColour(const AlignedFace& face, const std::array<PixelBox, 2>& zones, MeasureList* list) {
  std::array<double, 3> sums{};
  double count = 0;
  for (const PixelBox& zone : zones) {
    ForEachPixel(zone, face.hull, [&](int32_t x, int32_t y) {
      for (size_t c = 0; c < 3; ++c) sums[c] += face.picture.At(x, y)[c];
      count += 1;
    });
  }
  if (!(count > 0)) {
    return list->NotAssessed(MeasureId::kNaturalColour, "the cheeks are not in the picture");
  }
  const bool grey = sums[0] == sums[1] && sums[1] == sums[2];
  const Lab lab = ToLab(std::array<double, 3>{sums[0] / count, sums[1] / count, sums[2] / count});
  const double a = std::max({0.0, 5 - lab.a, lab.a - 25}), b = std::max({0.0, 5 - lab.b, lab.b - 35});
  constexpr double kCold = 100;  // for what no skin is
  const double distance = grey ? 0 : lab.a < 0 || lab.b < 0 ? kCold : std::sqrt(a * a + b * b);
  const char* const advice = "the skin has a cast of colour: use daylight or set the white balance";
  const Measure& measure = list->Judge(MeasureId::kNaturalColour, distance, advice);
  constexpr double kUsual = 4;  // of a flushed face and of newborns it is more, of others hardly ever
  if (measure.state == MeasureState::kPassed && distance > kUsual) list->Remark(MeasureId::kNaturalColour, advice);
}

double LumaOf(const std::array<double, 3>& bgr) {
  return 0.114 * bgr[0] + 0.587 * bgr[1] + 0.299 * bgr[2];
}

double Ratio(double a, double b) {
  const double larger = std::max(a, b);
  return larger > 0 ? std::min(a, b) / larger : std::numeric_limits<double>::quiet_NaN();
}

using Zone = std::optional<std::array<double, 3>>;

// The four zones of a face's light; the smallest share of the strongest, over the channels.
double WeakestOfFour(const std::array<Zone, 4>& zones) {
  double weakest = 1;
  for (size_t c = 0; c < 3; ++c) {
    double low = 255, high = 0;
    for (const Zone& zone : zones) {
      if (!zone) return std::numeric_limits<double>::quiet_NaN();
      low = std::min(low, (*zone)[c]);
      high = std::max(high, (*zone)[c]);
    }
    weakest = std::min(weakest, Ratio(low, high));
  }
  return weakest;
}

void MeasureLight(const AlignedFace& face, MeasureList* list) {
  const double side = 0.3 * face.eyeDistance;
  const auto cheeks = Cheeks(face);
  const PlacePoint brow = face.mesh[9];
  const auto median = [&](const PixelBox& box) { return MedianColour(face, {box}, face.inside); };
  const std::array<Zone, 4> zones = {median(cheeks[0]), median(cheeks[1]),
                                     median(SquareAround({brow.x, brow.y - 0.4 * side}, side)),
                                     median(SquareAround(face.mesh[199], side))};
  const std::string beside = "a part of the face is not in the picture";
  if (!zones[0] || !zones[1] || !zones[2]) {
    for (const MeasureId id : {MeasureId::kCheekLight, MeasureId::kFaceLightZones, MeasureId::kForeheadCovered}) {
      list->NotAssessed(id, beside);
    }
    return;
  }
  constexpr double kUneven = 0.75;
  const double left = LumaOf(*zones[0]), right = LumaOf(*zones[1]), mean = (left + right) / 2;
  const std::string darker = left < right ? "left" : "right";
  const Measure& light = list->Judge(MeasureId::kCheekLight, Ratio(left, right),
                                     "the face is lit from one side: bring light to the " + darker + " in the picture");
  if (light.state == MeasureState::kPassed && *light.value < kUneven) {
    list->Remark(MeasureId::kCheekLight, "the " + darker + " half in the picture is darker: even light is better");
  }
  const double forehead = mean > 0 ? LumaOf(*zones[2]) / mean : std::numeric_limits<double>::quiet_NaN();
  const Measure& brows = list->Judge(MeasureId::kForeheadCovered, forehead);
  if (brows.state == MeasureState::kPassed) {
    list->Judge(MeasureId::kFaceLightZones, WeakestOfFour(zones),
                "parts of the face are much darker than others: use even light from the front");
    return;
  }
  if (brows.state == MeasureState::kFailed) {
    list->Remark(MeasureId::kForeheadCovered, "the forehead is dark: hair, a hat or a shadow may cover it");
  }
  list->NotAssessed(MeasureId::kFaceLightZones, "the forehead may be covered");
}

// Chroma of the lower face against that between the eyes.
void MeasureCovered(const AlignedFace& face, MeasureList* list) {
  const double side = 0.3 * face.eyeDistance;
  Region lower = face.hull;
  const Region lips = FillPolygon(Pick(face.mesh, kLipRing), kAlignedSide, kAlignedSide);
  for (size_t i = 0; i < lower.bits.size(); ++i) lower.bits[i] = lower.bits[i] != 0 && lips.bits[i] == 0;
  PixelBox below = kAllAligned;
  below.top = static_cast<int32_t>(std::clamp(face.mesh[195].y, 0.0, 1.0 * kAlignedSide));
  const Zone chin = MedianColour(face, {below}, lower);
  const Zone nose = MedianColour(
      face, {SquareAround(face.mesh[6], side), SquareAround(face.mesh[8], side), SquareAround(face.mesh[9], side)},
      face.inside);
  if (!chin || !nose) {
    return list->NotAssessed(MeasureId::kFaceCovered, "a part of the face is not in the picture");
  }
  Lab from = ToLab(*nose), to = ToLab(*chin);
  from.l = to.l = 0;
  if (list->Judge(MeasureId::kFaceCovered, Distance(from, to)).state == MeasureState::kFailed) {
    list->Remark(MeasureId::kFaceCovered, "something of another colour may cover the lower face, or coloured light");
  }
}

}  // namespace

void MeasureExposureAndColour(const FaceView& view, MeasureList* list) {
  const AlignedFace& face = view.aligned;
  const auto zones = Zones(face);
  MeasureHull(face, list);
  MeasureUniformity(face, zones, list);
  MeasureNaturalColour(face, zones, list);
  MeasureLight(face, list);
  MeasureCovered(face, list);
}

}  // namespace qx::photo
