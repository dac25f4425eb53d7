#include <cmath>
#include <opencv2/imgproc.hpp>

#include "bench/checks/brush.h"
#include "bench/checks/defects.h"
#include "photo/check/colour.h"

namespace qx::bench::checks {
namespace {

using photo::Image;
using photo::MeasureId;
using photo::PlacePoint;

Image LitBy(const Portrait& portrait, const Colour& factors) {
  Image picture = portrait.picture;
  Relight(&picture, [&factors](PlacePoint) { return factors; });
  return picture;
}

Image Exposed(const Portrait& portrait, double stops) {
  const double factor = std::exp2(stops);
  return LitBy(portrait, {factor, factor, factor});
}

// The person's half that is on the right in the picture falls off to a share of its light.
Image LitFromTheSide(const Portrait& portrait, double share) {
  Image picture = portrait.picture;
  const PlacePoint left = portrait.At(-0.5, 0), right = portrait.At(0.5, 0);
  const double x = right.x - left.x, y = right.y - left.y;
  Relight(&picture, [&](PlacePoint p) -> Colour {
    const double along = ((p.x - left.x) * x + (p.y - left.y) * y) / (x * x + y * y);
    const double lit = 1 + (share - 1) * Smooth(0, 1, along);
    const double person =
        portrait.person.Row(static_cast<int32_t>(p.y))[static_cast<int32_t>(p.x)] / 255.0;  // the wall stays
    const double factor = 1 + person * (lit - 1);
    return {factor, factor, factor};
  });
  return picture;
}

Image Grey(const Portrait& portrait) {
  Image picture = portrait.picture;
  for (size_t i = 0; i < picture.bgr.size(); i += 3) {
    uint8_t* pixel = picture.bgr.data() + i;
    std::fill_n(pixel, 3, static_cast<uint8_t>(std::lround(photo::Luma(pixel))));
  }
  return picture;
}

}  // namespace

std::vector<Defect> LightDefects() {
  std::vector<Defect> defects;
  for (const auto& [stops, expected] : {std::pair(0.5, Expected::kPass),
                                        {1.0, Expected::kEither},
                                        {2.0, Expected::kEither},
                                        {3.0, Expected::kReport}}) {
    defects.push_back({"too dark",
                       cv::format("-%.1f stops", stops),
                       {MeasureId::kEyeWhite, MeasureId::kUnderExposurePrevention},
                       expected,
                       [s = stops](const Portrait& p) { return Exposed(p, -s); }});
  }
  for (const auto& [stops, expected] :
       {std::pair(0.3, Expected::kPass), {1.0, Expected::kEither}, {2.0, Expected::kReport}}) {
    defects.push_back({"too bright",
                       cv::format("+%.1f stops", stops),
                       {MeasureId::kOverExposurePrevention},
                       expected,
                       [s = stops](const Portrait& p) { return Exposed(p, s); }});
  }
  for (const auto& [share, expected] :
       {std::pair(0.7, Expected::kPass), {0.35, Expected::kEither}, {0.15, Expected::kReport}}) {
    defects.push_back({"light from one side",
                       cv::format("other side %.2f", share),
                       {MeasureId::kCheekLight, MeasureId::kFaceLightZones},
                       expected,
                       [s = share](const Portrait& p) { return LitFromTheSide(p, s); }});
  }
  const struct {
    const char* strength;
    Colour factors;
    Expected expected;
  } lights[] = {{"slightly warm", {0.85, 1, 1.05}, Expected::kPass},
                {"orange", {0.25, 0.7, 1.1}, Expected::kReport},
                {"blue", {1.4, 1, 0.6}, Expected::kReport},
                {"green", {0.7, 1.2, 0.7}, Expected::kReport},
                {"red", {0.3, 0.45, 1.2}, Expected::kReport}};
  for (const auto& light : lights) {
    defects.push_back({"coloured light",
                       light.strength,
                       {MeasureId::kNaturalColour},
                       light.expected,
                       [f = light.factors](const Portrait& p) { return LitBy(p, f); }});
  }
  defects.push_back({"grey", "", {MeasureId::kColourPicture}, Expected::kReport, Grey});
  return defects;
}

}  // namespace qx::bench::checks
