#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "bench/checks/brush.h"
#include "bench/checks/defects.h"
#include "photo/check/aligned_face.h"
#include "photo/check/colour.h"

namespace qx::bench::checks {
namespace {

using photo::FaceMesh;
using photo::Image;
using photo::kEyeRings;
using photo::MeasureId;
using photo::PlacePoint;

constexpr Colour kWhite{255, 255, 255};

// Along one eye's axes: u from corner to corner, -1 to 1, v downward in the same unit.
struct EyeAxes {
  PlacePoint middle;
  double x, y;  // half of the way from corner to corner

  EyeAxes(const FaceMesh& mesh, size_t eye) {
    const PlacePoint left = mesh[kEyeRings[eye][0]], right = mesh[kEyeRings[eye][8]];
    middle = photo::Middle(left, right);
    x = (right.x - left.x) / 2, y = (right.y - left.y) / 2;
  }
  double HalfWidth() const { return std::sqrt(x * x + y * y); }
  PlacePoint To(PlacePoint p) const {
    const double dx = p.x - middle.x, dy = p.y - middle.y, square = x * x + y * y;
    return {(dx * x + dy * y) / square, (dy * x - dx * y) / square};
  }
  PlacePoint Back(PlacePoint p) const { return {middle.x + p.x * x - p.y * y, middle.y + p.x * y + p.y * x}; }
};

// v of a lid at u: straight between its points, from corner to corner.
double LidAt(const FaceMesh& mesh, size_t eye, const EyeAxes& axes, bool upper, double u) {
  PlacePoint before = axes.To(mesh[kEyeRings[eye][0]]);
  for (int i = 1; i <= 8; ++i) {
    const PlacePoint next = axes.To(mesh[kEyeRings[eye][upper ? i : (16 - i) % 16]]);
    if (u <= next.x) {
      const double width = next.x - before.x;
      return width > 0 ? before.y + (next.y - before.y) * std::clamp((u - before.x) / width, 0.0, 1.0) : next.y;
    }
    before = next;
  }
  return before.y;
}

// Draws the skin above each eye down over a share of its opening, so that the lashes of the upper lid come down too.
Image LidsDown(const Portrait& portrait, double share) {
  Image picture = portrait.picture;
  for (size_t eye = 0; eye < 2; ++eye) {
    const EyeAxes axes(portrait.mesh, eye);
    picture = Warp(picture, [&](PlacePoint p) {
      const PlacePoint e = axes.To(p);
      if (std::abs(e.x) >= 1.1 || std::abs(e.y) >= 1.5) return p;
      const double u = std::clamp(e.x, -1.0, 1.0);
      const double upper = LidAt(portrait.mesh, eye, axes, true, u), lower = LidAt(portrait.mesh, eye, axes, false, u);
      const double fixed = upper - 0.45, lid = upper + share * (lower - upper) * Smooth(1.1, 0.9, std::abs(e.x));
      if (e.y <= fixed || e.y > lid) return p;
      return axes.Back({e.x, fixed + (e.y - fixed) * (upper - fixed) / (lid - fixed)});
    });
  }
  return picture;
}

// Parts the lips by a share of the way from the eyes to the chin; the lower face goes down.
Image MouthOpen(const Portrait& portrait, double share) {
  const FaceMesh& mesh = portrait.mesh;
  const double unit = portrait.eyeDistance;
  const PlacePoint left = mesh[61], right = mesh[291], upper = mesh[13], lower = mesh[14];
  const PlacePoint line = photo::Middle(upper, lower);
  const double half = photo::Distance(left, right) / 2, open = share * portrait.eyesToChin;
  const auto height = [&](double x) {
    const double u = (x - (left.x + right.x) / 2) / half;
    return std::abs(u) < 1 ? open * (1 - u * u) : 0;
  };
  const auto edge = [&](double x) {  // where the lips meet
    const double u = std::min(1.0, std::abs((x - (left.x + right.x) / 2) / half));
    return line.y + u * u * ((left.y + right.y) / 2 - line.y);
  };
  Image picture = Warp(portrait.picture, [&](PlacePoint p) -> PlacePoint {
    const double below = p.y - edge(p.x), gap = height(p.x);
    if (below <= 0) return p;
    const double moved = gap * Smooth(1.2 * unit, 0.2 * unit, below - gap);
    return {p.x, std::max(edge(p.x), p.y - moved)};
  });
  Line hole;
  constexpr int kSteps = 32;
  for (int i = 0; i <= kSteps; ++i) {
    const double x = left.x + (right.x - left.x) * i / kSteps;
    hole.push_back({x, edge(x)});
  }
  for (int i = kSteps; i >= 0; --i) {
    const double x = left.x + (right.x - left.x) * i / kSteps;
    hole.push_back({x, edge(x) + height(x)});
  }
  Lay(&picture, Cover(picture, hole, 0.01 * unit), {35, 25, 60});
  return picture;
}

double IrisRadius(const FaceMesh& mesh, size_t eye) {
  double sum = 0;
  for (size_t i = 1; i < photo::kIrisPoints; ++i) sum += photo::Distance(mesh.irises[eye][0], mesh.irises[eye][i]) / 4;
  return sum;
}

Image RedPupils(const Portrait& portrait, double ofIris) {
  Image picture = portrait.picture;
  for (size_t eye = 0; eye < 2; ++eye) {
    const double radius = ofIris * IrisRadius(portrait.mesh, eye);
    const Line disc = Ellipse(portrait.mesh.irises[eye][0], radius, radius);
    cv::Mat1f cover = Cover(picture, disc, 0.005 * portrait.eyeDistance);
    Line lids;
    for (const int i : kEyeRings[eye]) lids.push_back(portrait.mesh[i]);
    cover = cover.mul(Cover(picture, lids, 0));
    Lay(&picture, cover, {50, 40, 210}, 0.9);
  }
  return picture;
}

// A lens is an ellipse around each eye; glass takes light from what is behind it.
Image Glasses(const Portrait& portrait, double passes) {
  Image picture = portrait.picture;
  cv::Mat1f cover(picture.height, picture.width, 0.0F);
  for (size_t eye = 0; eye < 2; ++eye) {
    const EyeAxes axes(portrait.mesh, eye);
    const double unit = axes.HalfWidth();
    cover += Cover(picture, Ellipse(axes.middle, 1.6 * unit, 1.2 * unit, std::atan2(axes.y, axes.x)), 0.5);
  }
  Relight(&picture, [&](PlacePoint p) -> Colour {
    const double share = std::min(1.0F, cover(static_cast<int>(p.y), static_cast<int>(p.x)));
    const double factor = 1 - share * (1 - passes);
    return {factor, factor, factor};
  });
  return picture;
}

// A slanted white patch on the upper outer part of each lens.
Image Glare(const Portrait& portrait, double size, double opacity) {
  Image picture = portrait.picture;
  for (size_t eye = 0; eye < 2; ++eye) {
    const EyeAxes axes(portrait.mesh, eye);
    const double side = eye == 0 ? -1 : 1;
    Line patch;
    for (const auto& [u, v] : {std::pair(-0.5, -0.5), {0.7, -0.5}, {0.5, 0.5}, {-0.7, 0.5}}) {
      patch.push_back(axes.Back({0.35 * side + size * u, -0.55 + size * v}));
    }
    Lay(&picture, Cover(picture, patch, 0.01 * portrait.eyeDistance), kWhite, opacity);
  }
  return picture;
}

// From the nose to the chin and to both sides of the jaw.
Image Mask(const Portrait& portrait, const Colour& colour) {
  Line outline;
  for (const int i : {123, 50,  36,  198, 195, 420, 266, 280, 352, 361, 435, 288, 397, 365,
                      379, 378, 400, 377, 152, 148, 176, 149, 150, 136, 172, 58,  215, 132}) {
    outline.push_back(portrait.mesh[i]);
  }
  // Cloth takes the large shapes of the face below.
  cv::Mat1f shape(portrait.picture.height, portrait.picture.width);
  for (int y = 0; y < shape.rows; ++y) {
    for (int x = 0; x < shape.cols; ++x) shape(y, x) = static_cast<float>(photo::Luma(portrait.picture.At(x, y)));
  }
  cv::GaussianBlur(shape, shape, {}, 0.08 * portrait.eyeDistance);
  const PlacePoint cheek = portrait.mesh[205];
  const float middle = shape(std::clamp(static_cast<int>(cheek.y), 0, shape.rows - 1),
                             std::clamp(static_cast<int>(cheek.x), 0, shape.cols - 1));
  Image cloth = portrait.picture;
  for (int y = 0; y < shape.rows; ++y) {
    for (int x = 0; x < shape.cols; ++x) {
      const double shade = std::clamp(0.3 + 0.7 * shape(y, x) / std::max(1.0F, middle), 0.4, 1.3);
      for (size_t c = 0; c < 3; ++c) {
        cloth.At(x, y)[c] = static_cast<uint8_t>(std::lround(std::min(255.0, colour[c] * shade)));
      }
    }
  }
  Image picture = portrait.picture;
  LayPicture(&picture, Cover(picture, outline, 0.01 * portrait.eyeDistance), cloth);
  return picture;
}

Image MaskOfSkin(const Portrait& portrait) {
  const auto p = portrait.mesh[9];
  const uint8_t* skin = portrait.picture.At(std::clamp(static_cast<int32_t>(p.x), 0, portrait.picture.width - 1),
                                            std::clamp(static_cast<int32_t>(p.y), 0, portrait.picture.height - 1));
  return Mask(portrait, {1.0 * skin[0], 1.0 * skin[1], 1.0 * skin[2]});
}

// Hair down to the brows, or a cap.
Image Fringe(const Portrait& portrait) {
  const double below = -0.3, above = -1.0, aside = 0.85;
  const Line outline{portrait.At(-aside, above), portrait.At(aside, above), portrait.At(aside, below),
                     portrait.At(-aside, below)};
  Image picture = portrait.picture;
  Lay(&picture, Cover(picture, outline, 0.02 * portrait.eyeDistance), {25, 30, 35});
  return picture;
}

}  // namespace

std::vector<Defect> FaceDefects() {
  std::vector<Defect> defects;
  const auto add = [&defects](const char* name, const std::string& strength, std::vector<MeasureId> own,
                              Expected expected, std::function<Image(const Portrait&)> make) {
    defects.push_back({name, strength, std::move(own), expected, std::move(make)});
  };
  for (const auto& [share, expected] :
       {std::pair(0.25, Expected::kPass), {0.7, Expected::kEither}, {1.0, Expected::kReport}}) {
    add("eyes closed", cv::format("lids %.0f%% down", 100 * share), {MeasureId::kEyesOpen, MeasureId::kEyeOpenness},
        expected, [s = share](const Portrait& p) { return LidsDown(p, s); });
  }
  for (const auto& [share, expected] :
       {std::pair(0.02, Expected::kPass), {0.08, Expected::kEither}, {0.16, Expected::kReport}}) {
    add("mouth open", cv::format("by %.2f of eyes to chin", share), {MeasureId::kLipGap}, expected,
        [s = share](const Portrait& p) { return MouthOpen(p, s); });
  }
  for (const auto& [radius, expected] :
       {std::pair(0.2, Expected::kPass), {0.4, Expected::kEither}, {0.6, Expected::kReport}}) {
    add("red pupils", cv::format("%.1f of the iris", radius), {MeasureId::kRedEyes}, expected,
        [r = radius](const Portrait& p) { return RedPupils(p, r); });
  }
  for (const auto& [passes, expected] :
       {std::pair(0.8, Expected::kPass), {0.15, Expected::kEither}, {0.02, Expected::kReport}}) {
    add("dark glasses", cv::format("%.0f%% of the light passes", 100 * passes),
        {MeasureId::kDarkGlasses, MeasureId::kEyeWhite}, expected,
        [s = passes](const Portrait& p) { return Glasses(p, s); });
  }
  for (const auto& [size, opacity, expected] : {std::tuple(0.6, 0.3, Expected::kUnseen),
                                                {0.6, 0.85, Expected::kEither},
                                                {0.6, 1.0, Expected::kReport},
                                                {0.2, 1.0, Expected::kEither}}) {
    add("glare on glasses", cv::format("patch %.1f, %.0f%%", size, 100 * opacity), {MeasureId::kGlassesGlare}, expected,
        [s = size, o = opacity](const Portrait& p) { return Glare(p, s, o); });
  }
  for (const auto& [name, colour] :
       {std::pair("blue", Colour{200, 150, 90}), {"white", Colour{235, 235, 235}}, {"black", Colour{30, 30, 30}}}) {
    add("mask over the mouth", name, {MeasureId::kFaceCovered}, Expected::kReport,
        [c = colour](const Portrait& p) { return Mask(p, c); });
  }
  add("mask over the mouth", "colour of the skin", {MeasureId::kFaceCovered}, Expected::kUnseen, MaskOfSkin);
  add("fringe or cap", "dark", {MeasureId::kForeheadCovered}, Expected::kReport, Fringe);
  return defects;
}

}  // namespace qx::bench::checks
