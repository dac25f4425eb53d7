#include <algorithm>
#include <cmath>
#include <string>

#include "base/exact_math.h"
#include "photo/check/face_view.h"

namespace qx::photo {
namespace {

constexpr double kDegrees = 180 / 3.14159265358979323846;

std::string Whole(double degrees) {
  return std::to_string(std::lround(std::abs(degrees))) + " degrees";
}

void JudgeAngle(MeasureId id, double degrees, const std::string& advice, MeasureList* list) {
  const double cosine = std::max(0.0, exact::Cos(degrees / kDegrees));
  list->Judge(id, degrees, advice).score = RoundScore(100 * cosine * cosine);
}

void MeasurePose(const HeadPose& pose, MeasureList* list) {
  JudgeAngle(MeasureId::kHeadPoseYaw, pose.yaw,
             std::string("turn your head to your ") + (pose.yaw > 0 ? "right: " : "left: ") + Whole(pose.yaw), list);
  const double raised = pose.pitch - kLevelPitch;
  JudgeAngle(MeasureId::kHeadPosePitch, pose.pitch,
             std::string(raised > 0 ? "raise" : "lower") + " your chin: about " + Whole(raised), list);
  JudgeAngle(
      MeasureId::kHeadPoseRoll, pose.roll,
      std::string("lean your head to your ") + (pose.roll > 0 ? "left" : "right") + " shoulder: " + Whole(pose.roll),
      list);
}

// Sideways, in degrees, to the right in the picture positive; 0 looks into the camera.
double Gaze(const FaceMesh& mesh, double yaw) {
  constexpr int kCorners[2][2] = {{33, 133}, {362, 263}};
  constexpr double kBehindIris = 0.37, kEyeRadius = 0.7;  // of half an eye's width
  double sum = 0;
  for (size_t eye = 0; eye < 2; ++eye) {
    const PlacePoint left = mesh[kCorners[eye][0]], right = mesh[kCorners[eye][1]], middle = Middle(left, right);
    const double width = Distance(left, right);
    if (!(width > 0)) return std::nan("");
    const PlacePoint iris = mesh.irises[eye][0];
    const double along = ((iris.x - middle.x) * (right.x - left.x) + (iris.y - middle.y) * (right.y - left.y)) / width;
    sum += along / (width / 2);
  }
  const double aside = (sum / 2 + kBehindIris * exact::Sin(yaw / kDegrees)) / kEyeRadius;
  return exact::Asin(std::clamp(aside, -1.0, 1.0)) * kDegrees;
}

void MeasureGaze(const FaceView& view, MeasureList* list) {
  constexpr double kMostYaw = 20;
  if (!ArePointsInside(view, {33, 133, 362, 263})) {
    list->NotAssessed(MeasureId::kGazeSideways, "the eyes are not both in the picture");
  } else if (!EyesAreOpen(view.mesh)) {
    list->NotAssessed(MeasureId::kGazeSideways, "the eyes look closed");
  } else if (std::abs(view.pose->yaw) > kMostYaw) {
    list->NotAssessed(MeasureId::kGazeSideways, "the head is turned aside");
  } else {
    list->Judge(MeasureId::kGazeSideways, Gaze(view.mesh, view.pose->yaw), "look straight into the camera");
  }
}

// How far the ends of the mouth stand above its middle, in the head's own frame.
void MeasureSmile(const FaceView& view, MeasureList* list) {
  if (!ArePointsInside(view, {61, 291, 0, 17})) {
    return list->NotAssessed(MeasureId::kExpressionNeutrality, "the mouth is not in the picture");
  }
  const auto& m = view.pose->mouth;
  list->Judge(MeasureId::kExpressionNeutrality, (m[0].y + m[1].y) / 2 - (m[2].y + m[3].y) / 2,
              "do not smile: relax your face and close your mouth");
}

}  // namespace

void MeasurePoseAndGaze(const FaceView& view, MeasureList* list) {
  constexpr MeasureId kAll[] = {MeasureId::kHeadPoseYaw, MeasureId::kHeadPosePitch, MeasureId::kHeadPoseRoll,
                                MeasureId::kGazeSideways, MeasureId::kExpressionNeutrality};
  if (!view.pose) {
    for (const MeasureId id : kAll) {
      list->NotAssessed(id, "the face engine tells neither depth nor irises");
    }
    return;
  }
  MeasurePose(*view.pose, list);
  MeasureGaze(view, list);
  MeasureSmile(view, list);
}

}  // namespace qx::photo
