#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "bench/checks/brush.h"
#include "bench/checks/defects.h"
#include "photo/check/aligned_face.h"
#include "photo/face/head_pose.h"

namespace qx::bench::checks {
namespace {

using photo::FaceMesh;
using photo::Image;
using photo::kEyeRings;
using photo::MeasureId;
using photo::PlacePoint;

constexpr double kDegrees = CV_PI / 180;
constexpr int kDepthIndices[] = QX_FACE_DEPTH_INDICES;

// Positive towards the person's right shoulder, counted on from how the head leans already.
Image Leaning(const Portrait& portrait, double degrees) {
  const auto pose = photo::FindHeadPose(portrait.mesh);
  const double turn = (degrees - (pose ? pose->roll : 0)) * kDegrees;
  const PlacePoint centre = portrait.At(0, 0.5);
  const double c = std::cos(turn), s = std::sin(turn);
  return Warp(portrait.picture, [&](PlacePoint p) -> PlacePoint {
    const double x = p.x - centre.x, y = p.y - centre.y;
    return {centre.x + c * x - s * y, centre.y + s * x + c * y};
  });
}

// How far each place lies behind the nose, by the mesh's points nearby; the rim of the head goes on outside.
class DepthField {
 public:
  explicit DepthField(const Portrait& portrait) : portrait_(portrait) {
    const FaceMesh& mesh = portrait.mesh;
    for (const int left : {127, 132, 136, 356, 361, 365}) {
      for (size_t i = 0; i < QX_FACE_DEPTH_POINTS; ++i) {
        if (kDepthIndices[i] == left) rim_ += mesh.depth[i] / 6;
      }
    }
  }
  double At(PlacePoint p) const {
    const double reach = 0.28 * portrait_.eyeDistance;
    double sum = 0.02 * rim_, weights = 0.02;
    for (size_t i = 0; i < QX_FACE_DEPTH_POINTS; ++i) {
      const double d = photo::Distance(p, portrait_.mesh[kDepthIndices[i]]) / reach, w = std::exp(-0.5 * d * d);
      sum += w * portrait_.mesh.depth[i];
      weights += w;
    }
    return sum / weights;
  }
  double Rim() const { return rim_; }

 private:
  const Portrait& portrait_;
  double rim_ = 0;
};

// As if the head had turned so much further about the middle between its ears, to the person's left and down; what is
// behind stays where the rim of the head goes.
Image Turned(const Portrait& portrait, double yaw, double pitch) {
  const DepthField depth(portrait);
  const PlacePoint centre = portrait.At(0, 0.4);
  const double cy = std::cos(yaw * kDegrees), sy = std::sin(yaw * kDegrees);
  const double cp = std::cos(pitch * kDegrees), sp = std::sin(pitch * kDegrees);
  const auto moved = [&](PlacePoint p) -> PlacePoint {
    // Of the face alone: shoulders and wall stay.
    const double dx = (p.x - centre.x) / (1.9 * portrait.eyeDistance);
    const double dy = (p.y - centre.y) / (2.4 * portrait.eyeDistance);
    const double share = Smooth(1, 0.55, std::sqrt(dx * dx + dy * dy));
    const double front = depth.Rim() - depth.At(p), x = p.x - centre.x, y = p.y - centre.y;
    const double turnedX = cy * x + sy * front, turnedFront = cy * front - sy * x;
    const double turnedY = cp * y + sp * turnedFront;
    return {p.x + share * (turnedX - x), p.y + share * (turnedY - y)};
  };
  return Warp(portrait.picture, [&](PlacePoint p) {
    PlacePoint from = p;
    constexpr int kRounds = 12;
    for (int i = 0; i < kRounds; ++i) {
      const PlacePoint to = moved(from);
      from = {from.x + 0.8 * (p.x - to.x), from.y + 0.8 * (p.y - to.y)};
    }
    return from;
  });
}

// Both irises put aside by a share of half an eye's width, the white behind them filled in.
Image LookingAside(const Portrait& portrait, double share) {
  Image picture = portrait.picture;
  for (size_t eye = 0; eye < 2; ++eye) {
    const auto& iris = portrait.mesh.irises[eye];
    const PlacePoint left = portrait.mesh[kEyeRings[eye][0]], right = portrait.mesh[kEyeRings[eye][8]];
    double radius = 0;
    for (size_t i = 1; i < iris.size(); ++i) radius += 1.05 * photo::Distance(iris[0], iris[i]) / 4;
    const PlacePoint step{share * (right.x - left.x) / 2, share * (right.y - left.y) / 2};
    Line lids;
    for (const int i : kEyeRings[eye]) lids.push_back(portrait.mesh[i]);
    const cv::Mat1f opening = Cover(picture, lids, 0.6);
    const Image shifted = Warp(portrait.picture, [&](PlacePoint p) -> PlacePoint {
      return {p.x - step.x, p.y - step.y};
    });
    const cv::Mat1f disc = Cover(picture, Ellipse({iris[0].x + step.x, iris[0].y + step.y}, radius, radius), 0.6);
    const cv::Mat1f old = Cover(picture, Ellipse(iris[0], 1.1 * radius, 1.1 * radius), 0.6);
    cv::Mat1f bare;
    cv::multiply(opening, old, bare);
    Lay(&picture, bare, {175, 180, 190});
    cv::Mat1f over;
    cv::multiply(opening, disc, over);
    LayPicture(&picture, over, shifted);
  }
  return picture;
}

// The ends of the mouth up and aside, by shares of the eyes' distance.
Image Smiling(const Portrait& portrait, double up) {
  const double reach = 0.22 * portrait.eyeDistance, step = up * portrait.eyeDistance;
  return Warp(portrait.picture, [&](PlacePoint p) {
    PlacePoint from = p;
    for (const int end : {61, 291}) {
      const double d = photo::Distance(p, portrait.mesh[end]) / reach, share = std::exp(-0.5 * d * d);
      from.x -= share * step * (end == 61 ? -0.5 : 0.5);
      from.y += share * step;
    }
    return from;
  });
}

}  // namespace

std::vector<Defect> PoseDefects() {
  std::vector<Defect> defects;
  const auto add = [&defects](const char* name, const std::string& strength, MeasureId own, Expected expected,
                              std::function<Image(const Portrait&)> make) {
    defects.push_back({name, strength, {own}, expected, std::move(make)});
  };
  for (const auto& [degrees, expected] :
       {std::pair(5, Expected::kPass), {-5, Expected::kPass}, {12, Expected::kReport}, {-20, Expected::kReport}}) {
    add("leaning", cv::format("%d degrees in all", degrees), MeasureId::kHeadPoseRoll, expected,
        [d = degrees](const Portrait& p) { return Leaning(p, d); });
  }
  // Heads are not upright before, and the mesh follows a warp to two thirds.
  for (const auto& [yaw, expected] :
       {std::pair(-25, Expected::kReport), {-8, Expected::kEither}, {8, Expected::kEither}, {25, Expected::kReport}}) {
    add("turned aside", cv::format("%+d degrees more", yaw), MeasureId::kHeadPoseYaw, expected,
        [yaw = yaw](const Portrait& p) { return Turned(p, yaw, 0); });
  }
  for (const int pitch : {-25, -8, 8, 25}) {
    add("turned down", cv::format("%+d degrees more", pitch), MeasureId::kHeadPosePitch, Expected::kEither,
        [pitch](const Portrait& p) { return Turned(p, 0, pitch); });
  }
  for (const auto& [share, expected] : {std::pair(0.05, Expected::kPass),
                                        {-0.05, Expected::kPass},
                                        {0.3, Expected::kReport},
                                        {-0.3, Expected::kReport}}) {
    add("looking aside", cv::format("irises %+.2f of half the eye", share), MeasureId::kGazeSideways, expected,
        [s = share](const Portrait& p) { return LookingAside(p, s); });
  }
  for (const auto& [up, expected] :
       {std::pair(0.01, Expected::kPass), {0.06, Expected::kEither}, {0.12, Expected::kReport}}) {
    add("smiling", cv::format("ends of the mouth %.2f up", up), MeasureId::kExpressionNeutrality, expected,
        [u = up](const Portrait& p) { return Smiling(p, u); });
  }
  return defects;
}

}  // namespace qx::bench::checks
