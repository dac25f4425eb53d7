#include "photo/drawing/face_marks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <utility>

#include "photo/face/face_mesh.h"
#include "photo/face/head_pose.h"

namespace qx::photo {
namespace {

// Points of the canonical face mesh.
constexpr int kMouthEnd = 291, kNoseTip = 4, kForehead = 10, kChin = 152, kCheeks[2] = {205, 425};
constexpr int kSides[2] = {234, 454};

class FaceMarks {
 public:
  FaceMarks(const Image& photograph, const PhotoCheck& check, const Frame& frame)
      : photograph_(photograph),
        check_(check),
        mesh_(*check.face->mesh),
        frame_(frame),
        em_(std::clamp(FaceWidth() / 14, frame.em / 4.0, 1.0 * frame.em)) {}

  std::vector<Label> Draw() {
    DrawLight();
    DrawEyes();
    DrawMouth();
    DrawPose();
    AddCovers();
    AddBackground();
    return std::move(labels_);
  }

 private:
  const Measure& Of(MeasureId id) const { return check_.measures[static_cast<size_t>(id)]; }
  FindingState State(MeasureId id) const { return StateOf(Of(id)); }
  bool IsWrong(MeasureId id) const { return State(id) <= FindingState::kRemark; }
  FindingState Worst(std::initializer_list<MeasureId> ids) const {
    FindingState worst = FindingState::kNotAssessed;
    for (const MeasureId id : ids) worst = std::min(worst, State(id));
    return worst;
  }
  PlacePoint At(int point) const { return frame_.At(mesh_[point]); }
  double FaceWidth() const { return Distance(At(kSides[0]), At(kSides[1])); }
  double Thin() const { return em_ / 12; }

  template <size_t N>
  void Outline(const int (&points)[N], FindingState state) {
    std::vector<PlacePoint> polygon;
    for (const int point : points) polygon.push_back(At(point));
    CasedOutline(frame_.canvas, polygon, Thin() * 0.6, InkOf(state));
  }

  // A row for a measure that has a verdict: `words` where it passed, `wrongWords` where not; empty for none.
  void Row(Label* label, FindingState state, const std::string& words, const std::string& wrongWords) const {
    if (state > FindingState::kPassed) return;
    const std::string& text = state == FindingState::kPassed ? words : wrongWords;
    if (!text.empty()) label->rows.push_back({text, state, true});
  }
  void AddLabel(Label label, PlacePoint target) {
    if (label.rows.empty()) return;
    label.level = target.y;
    label.target = target;
    labels_.push_back(std::move(label));
  }

  void DrawEyes() {
    const FindingState open = Worst({MeasureId::kEyesOpen, MeasureId::kEyeOpenness});
    const FindingState inside =
        Worst({MeasureId::kRedEyes, MeasureId::kGlassesGlare, MeasureId::kDarkGlasses, MeasureId::kEyeWhite});
    for (size_t eye = 0; eye < 2; ++eye) {
      Outline(kEyeRings[eye], open);
      const PlacePoint a = At(kEyeRings[eye][0]), b = At(kEyeRings[eye][8]);
      if (inside > FindingState::kRemark) continue;
      const double radius = 0.85 * Distance(a, b);
      CasedRing(frame_.canvas, {(a.x + b.x) / 2, (a.y + b.y) / 2}, radius, Thin(), InkOf(inside));
    }
    Label label;
    Row(&label, open, "Eyes open", "Eyes closed");
    Row(&label, State(MeasureId::kRedEyes), "", "Red eyes");
    Row(&label, State(MeasureId::kGlassesGlare), "", "Reflections");
    Row(&label, State(MeasureId::kDarkGlasses), "", "Dark glasses");
    Row(&label, State(MeasureId::kEyeWhite), "", "Eyes too dark");
    const Measure& gaze = Of(MeasureId::kGazeSideways);
    if (gaze.value && mesh_.hasDepth) DrawGaze(*gaze.value);
    if (gaze.value) Row(&label, StateOf(gaze), GazeText(gaze), GazeText(gaze));
    AddLabel(std::move(label), At(kEyeRings[1][8]));
  }

  static std::string GazeText(const Measure& gaze) {
    return "Gaze " + ValueText(std::abs(*gaze.value), gaze.unit) + " aside";
  }

  // Arrows as long as the eye at 20 degrees; dots for a gaze into the camera.
  void DrawGaze(double degrees) {
    constexpr double kPerDegree = 1.0 / 20;
    for (size_t eye = 0; eye < 2; ++eye) {
      const PlacePoint iris = frame_.At(mesh_.irises[eye][0]);
      const PlacePoint a = At(kEyeRings[eye][0]), b = At(kEyeRings[eye][8]);
      const double reach = degrees * kPerDegree;
      CasedArrow(frame_.canvas, iris, {iris.x + reach * (b.x - a.x), iris.y + reach * (b.y - a.y)}, Thin(), 0.5 * em_,
                 InkOf(State(MeasureId::kGazeSideways)));
    }
  }

  void DrawMouth() {
    const FindingState closed = State(MeasureId::kLipGap), neutral = State(MeasureId::kExpressionNeutrality);
    Outline(kLipRing, std::min(closed, neutral));
    Label label;
    Row(&label, closed, "Mouth closed", "Mouth open");
    Row(&label, neutral, "No smile", "Smile");
    AddLabel(std::move(label), At(kMouthEnd));
  }

  // The head's own upright and level as a cross at the tip of the nose, and an arrow to where the nose points. A level
  // head looks into the camera, whatever its angles are measured from: limits lie about that.
  void DrawPose() {
    // Left and right are the person's.
    struct {
      MeasureId id;
      const char *less, *more;
    } const angles[] = {{MeasureId::kHeadPoseYaw, "Turned right ", "Turned left "},
                        {MeasureId::kHeadPosePitch, "Chin up ", "Chin down "},
                        {MeasureId::kHeadPoseRoll, "Leans left ", "Leans right "}};
    std::array<double, 3> turns{};
    Label label;
    for (size_t i = 0; i < 3; ++i) {
      const Measure& angle = Of(angles[i].id);
      if (!angle.value) return;
      turns[i] = *angle.value - (angles[i].id == MeasureId::kHeadPosePitch ? kLevelPitch : 0);
      const std::string words = *angle.value < 0 ? angles[i].less : angles[i].more;
      label.rows.push_back({words + ValueText(std::abs(*angle.value), angle.unit), StateOf(angle), true});
    }
    const PlacePoint nose = At(kNoseTip);
    const double arm = 0.16 * FaceWidth(), thin = Thin();
    // A head that leans to its right shoulder stands to the left in the picture.
    const Turn lean(-turns[2], nose);
    const FindingState roll = State(MeasureId::kHeadPoseRoll);
    CasedLine(frame_.canvas, lean({nose.x, nose.y - 2 * arm}), lean({nose.x, nose.y + arm}), thin * 0.6, InkOf(roll));
    CasedLine(frame_.canvas, lean({nose.x - arm, nose.y}), lean({nose.x + arm, nose.y}), thin * 0.6, InkOf(roll));
    constexpr double kLengthPerDegree = 1 / 60.0;  // of the face's width, about twice the nose's own way
    const double reach = kLengthPerDegree * FaceWidth();
    CasedArrow(frame_.canvas, nose, lean({nose.x + reach * turns[0], nose.y + reach * turns[1]}), 1.5 * thin, 0.6 * em_,
               InkOf(Worst({MeasureId::kHeadPoseYaw, MeasureId::kHeadPosePitch})));
    AddLabel(std::move(label), lean({nose.x + arm, nose.y}));
  }

  double CheekLight(size_t cheek) const {
    const PlacePoint p = mesh_[kCheeks[cheek]];
    const double side = 0.05 * Distance(mesh_[kSides[0]], mesh_[kSides[1]]);
    const int32_t top = Inside(p.y - side, photograph_.height - 1), bottom = Inside(p.y + side, photograph_.height - 1);
    const int32_t left = Inside(p.x - side, photograph_.width - 1), right = Inside(p.x + side, photograph_.width - 1);
    double sum = 0, count = 0;
    for (int32_t y = top; y <= bottom; ++y) {
      for (int32_t x = left; x <= right; ++x) {
        const uint8_t* pixel = photograph_.At(x, y);
        sum += pixel[0] + 5 * pixel[1] + 2 * pixel[2];
        count += 1;
      }
    }
    return count > 0 ? sum / count : 0;
  }

  // An arrow from outside to the darker cheek, from where light is missing.
  void DrawLight() {
    if (!IsWrong(MeasureId::kCheekLight)) return;
    const size_t darker = CheekLight(0) < CheekLight(1) ? 0 : 1;
    const PlacePoint cheek = At(kCheeks[darker]), side = At(kSides[darker]);
    const PlacePoint from{cheek.x + 1.6 * (side.x - cheek.x), cheek.y};
    CasedArrow(frame_.canvas, from, cheek, 2 * Thin(), 0.8 * em_, InkOf(State(MeasureId::kCheekLight)));
    Label label;
    Row(&label, State(MeasureId::kCheekLight), "", "Darker side");
    label.onLeft = darker == 0;
    AddLabel(std::move(label), from);
  }

  void AddCovers() {
    Label forehead, lower;
    Row(&forehead, State(MeasureId::kForeheadCovered), "", "Forehead dark");
    AddLabel(std::move(forehead), At(kForehead));
    Row(&lower, State(MeasureId::kFaceCovered), "", "Covered?");
    AddLabel(std::move(lower), At(kChin));
  }

  void AddBackground() {
    Label label;
    Row(&label, State(MeasureId::kBackgroundEvenness), "", "Not plain");
    Row(&label, State(MeasureId::kBackgroundShadow), "", "Shadow");
    Row(&label, State(MeasureId::kBackgroundColour), "", "Wrong colour");
    Row(&label, State(MeasureId::kBackgroundLightness), "", "Too dark");
    if (!label.rows.empty()) label.rows.insert(label.rows.begin(), {"Background:", label.rows.front().state, false});
    AddLabel(std::move(label), {0.96 * frame_.canvas->Width(), 0.04 * frame_.canvas->Height()});
  }

  const Image& photograph_;
  const PhotoCheck& check_;
  const FaceMesh& mesh_;
  const Frame& frame_;
  const double em_;  // of marks: no larger than a small face has room for
  std::vector<Label> labels_;
};

}  // namespace

std::vector<Label> DrawFaceMarks(const Image& photograph, const PhotoCheck& check, const Frame& frame) {
  const bool isOneFace = check.measures.size() == static_cast<size_t>(MeasureId::kCount);
  if (!check.face || !check.face->mesh || !isOneFace) return {};
  return FaceMarks(photograph, check, frame).Draw();
}

}  // namespace qx::photo
