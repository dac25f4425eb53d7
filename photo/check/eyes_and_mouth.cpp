#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "photo/check/colour.h"
#include "photo/check/face_view.h"

namespace qx::photo {
namespace {

// Three pairs across the opening, and the corners.
struct EyePoints {
  int lids[3][2];
  int corners[2];
};
constexpr EyePoints kEyes[2] = {{{{160, 144}, {159, 145}, {158, 153}}, {33, 133}},
                                {{{385, 380}, {386, 374}, {387, 373}}, {362, 263}}};
constexpr int kLipPairs[3][2] = {{81, 178}, {13, 14}, {311, 402}};

constexpr char kEyesOutside[] = "the eyes are not both in the picture";

// An iris of fewer pixels of the photograph holds nothing that can be looked at.
constexpr double kLeastIrisRadius = 1.5;

double Gap(const FaceMesh& mesh, const int (&pair)[2]) {
  return Distance(mesh[pair[0]], mesh[pair[1]]);
}

double LargestGap(const FaceMesh& mesh, const int (&pairs)[3][2]) {
  return std::max({Gap(mesh, pairs[0]), Gap(mesh, pairs[1]), Gap(mesh, pairs[2])});
}

// Mean opening by width.
double Openness(const FaceMesh& mesh, const EyePoints& eye) {
  const double width = Gap(mesh, eye.corners);
  return (Gap(mesh, eye.lids[0]) + Gap(mesh, eye.lids[1]) + Gap(mesh, eye.lids[2])) / 3 / width;
}

double LesserOpenness(const FaceMesh& mesh) {
  return std::min(Openness(mesh, kEyes[0]), Openness(mesh, kEyes[1]));
}

// One eye of the aligned face.
struct Eye {
  Region lids;  // what shows between them
  PixelBox box;
  PlacePoint iris;
  double irisRadius = 0, width = 0;
  PlacePoint middle;
};

Eye LookAt(const AlignedFace& face, size_t number) {
  const EyePoints& points = kEyes[number];
  Eye eye;
  eye.lids = FillPolygon(Pick(face.mesh, kEyeRings[number]), kAlignedSide, kAlignedSide);
  eye.width = Gap(face.mesh, points.corners);
  eye.middle = Middle(face.mesh[points.corners[0]], face.mesh[points.corners[1]]);
  eye.box = SquareAround(eye.middle, 2 * eye.width);
  ForEachPixel(kAllAligned, eye.lids, [&](int32_t x, int32_t y) { eye.lids.At(x, y) = face.inside.At(x, y); });
  const auto& iris = face.mesh.irises[number];
  eye.iris = iris[0];
  for (size_t i = 1; i < iris.size(); ++i) eye.irisRadius += Distance(iris[0], iris[i]) / 4;
  return eye;
}

template <typename Use>
void ForEachWhite(const Eye& eye, Use use) {
  constexpr double kBeyondIris = 1.1;
  ForEachPixel(eye.box, eye.lids, [&](int32_t x, int32_t y) {
    if (Distance({1.0 * x, 1.0 * y}, eye.iris) > kBeyondIris * eye.irisRadius) use(x, y);
  });
}

// 80th percentile of the white's luminance, 0 to 1.
double White(const AlignedFace& face, const Eye& eye) {
  constexpr double kShare = 0.8;
  std::vector<double> values;
  ForEachWhite(eye, [&](int32_t x, int32_t y) {
    values.push_back(face.luminance[face.inside.First(y) + static_cast<size_t>(x)] / 255.0);
  });
  return Percentile(std::move(values), kShare);
}

// Mean colour of the brightest third of the white. Nothing where none is seen.
std::optional<Lab> WhiteColour(const AlignedFace& face, const Eye& eye) {
  std::vector<std::pair<uint8_t, Lab>> whites;
  ForEachWhite(eye, [&](int32_t x, int32_t y) {
    whites.emplace_back(face.luminance[face.inside.First(y) + static_cast<size_t>(x)], ToLab(face.picture.At(x, y)));
  });
  const size_t third = whites.size() / 3;
  if (third == 0) return std::nullopt;
  std::stable_sort(whites.begin(), whites.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  Lab sum;
  for (size_t i = 0; i < third; ++i) sum.a += whites[i].second.a, sum.b += whites[i].second.b;
  const auto count = static_cast<double>(third);
  return Lab{0, sum.a / count, sum.b / count};
}

// Skin may be of many colours, so that coloured light leaves it natural; the white of an eye is hardly ever greenish,
// bluish or yellow.
void RemarkCast(const AlignedFace& face, const Eye& eye, MeasureList* list) {
  constexpr double kGreen = -4, kBlue = -5, kYellow = 24;  // of others: a* from -2.5, b* from -4 to 20
  const std::optional<Lab> white = WhiteColour(face, eye);
  if (!white || (*list)[MeasureId::kNaturalColour].state != MeasureState::kPassed) return;
  if (white->a >= kGreen && white->b >= kBlue && white->b <= kYellow) return;
  list->Remark(MeasureId::kNaturalColour,
               "the whites of the eyes have a cast of colour: use daylight or set the white balance");
}

// Share of the pupil's disc that is redder than the cheeks.
double Redness(const AlignedFace& face, const Eye& eye, const std::array<double, 3>& cheeks) {
  constexpr double kPupil = 0.6, kRedder = 1.25, kBright = 0.45;
  int all = 0, red = 0;
  ForEachPixel(eye.box, eye.lids, [&](int32_t x, int32_t y) {
    if (Distance({1.0 * x, 1.0 * y}, eye.iris) > kPupil * eye.irisRadius) return;
    const uint8_t* p = face.picture.At(x, y);
    ++all;
    red += p[2] * (cheeks[0] + cheeks[1]) > kRedder * cheeks[2] * (p[0] + p[1]) && p[2] > kBright * cheeks[2];
  });
  return all > 0 ? static_cast<double>(red) / all : std::numeric_limits<double>::quiet_NaN();
}

// Share of what lies around the eye, without the eye, that is as good as white.
double Glare(const AlignedFace& face, const Eye& eye) {
  constexpr double kAside = 1.7 / 2, kAbove = 1.2 / 2;  // of the eye's width
  constexpr int kWhite = 235;
  int all = 0, white = 0;
  ForEachPixel(eye.box, face.inside, [&](int32_t x, int32_t y) {
    const double u = (x - eye.middle.x) / (kAside * eye.width), v = (y - eye.middle.y) / (kAbove * eye.width);
    if (u * u + v * v > 1 || eye.lids.At(x, y) != 0) return;
    const uint8_t* p = face.picture.At(x, y);
    ++all;
    white += p[0] > kWhite && p[1] > kWhite && p[2] > kWhite;
  });
  return all > 0 ? static_cast<double>(white) / all : std::numeric_limits<double>::quiet_NaN();
}

// The larger of two of which one may be missing.
double Larger(double a, double b) {
  return std::isnan(a) ? b : std::isnan(b) ? a : std::max(a, b);
}

void MeasureOpenings(const FaceView& view, MeasureList* list) {
  const FaceMesh& mesh = view.aligned.mesh;
  if (!ArePointsInside(view, {33, 133, 362, 263})) {
    for (const MeasureId id : {MeasureId::kEyesOpen, MeasureId::kEyeOpenness}) list->NotAssessed(id, kEyesOutside);
  } else {
    const char* const open = "the eyes look closed: open them wide and look into the camera";
    const double lids = std::min(LargestGap(mesh, kEyes[0].lids), LargestGap(mesh, kEyes[1].lids));
    list->Judge(MeasureId::kEyesOpen, lids / view.aligned.eyesToChin, open);
    list->Judge(MeasureId::kEyeOpenness, LesserOpenness(mesh), open);
  }
  if (!ArePointsInside(view, {61, 291, 13, 17})) {
    for (const MeasureId id : {MeasureId::kMouthClosed, MeasureId::kLipGap}) {
      list->NotAssessed(id, "the mouth is not in the picture");
    }
    return;
  }
  list->Judge(MeasureId::kMouthClosed, LargestGap(mesh, kLipPairs) / view.aligned.eyesToChin);
  list->Judge(MeasureId::kLipGap, Distance(mesh[13], mesh[14]) / Distance(mesh[14], mesh[17]), "close your mouth");
}

// What only shows between open lids.
void MeasureInside(const AlignedFace& face, const std::array<Eye, 2>& eyes, MeasureList* list) {
  const std::array<double, 2> whites = {White(face, eyes[0]), White(face, eyes[1])};
  const double white = Larger(whites[0], whites[1]);
  RemarkCast(face, white == whites[0] ? eyes[0] : eyes[1], list);
  list->Judge(MeasureId::kEyeWhite, white, "too dark: use more light from the front, or a longer exposure");
  const Measure& glasses = list->Judge(MeasureId::kDarkGlasses, white, "the eyes are not seen: take off dark glasses");
  if (glasses.state == MeasureState::kPassed) {
    list->NotAssessed(MeasureId::kDarkGlasses, "nothing tells of dark glasses; look yourself");
  }
  const auto cheeks = Cheeks(face);
  if (const auto colour = MedianColour(face, {cheeks[0], cheeks[1]}, face.inside)) {
    list->Judge(MeasureId::kRedEyes, Larger(Redness(face, eyes[0], *colour), Redness(face, eyes[1], *colour)),
                "red eyes: switch the flash off, or move it away from the lens");
  } else {
    list->NotAssessed(MeasureId::kRedEyes, "the cheeks are not in the picture");
  }
}

}  // namespace

bool EyesAreOpen(const FaceMesh& mesh) {
  return LesserOpenness(mesh) >= RowOf(MeasureId::kEyeOpenness).min;
}

void MeasureEyesAndMouth(const FaceView& view, MeasureList* list) {
  MeasureOpenings(view, list);
  const std::array<Eye, 2> eyes = {LookAt(view.aligned, 0), LookAt(view.aligned, 1)};
  list->Judge(MeasureId::kGlassesGlare, Larger(Glare(view.aligned, eyes[0]), Glare(view.aligned, eyes[1])),
              "bright reflections around the eyes: turn the light or take off the glasses");
  const bool tooSmall = !(eyes[0].irisRadius >= kLeastIrisRadius * view.aligned.toAligned);
  const bool outside = !ArePointsInside(view, {33, 133, 362, 263});
  const std::string reason = !view.mesh.hasDepth       ? "the face engine tells no irises"
                             : outside                 ? kEyesOutside
                             : !EyesAreOpen(view.mesh) ? "the eyes look closed"
                             : tooSmall                ? "the eyes are too small in this photograph"
                                                       : "";
  if (reason.empty()) return MeasureInside(view.aligned, eyes, list);
  for (const MeasureId id : {MeasureId::kEyeWhite, MeasureId::kDarkGlasses, MeasureId::kRedEyes}) {
    list->NotAssessed(id, reason);
  }
}

}  // namespace qx::photo
