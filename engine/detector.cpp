#include "engine/detector.h"

#include <algorithm>
#include <cmath>

namespace qx::face {
namespace {

constexpr int kReducedSide = 2 * kWindowSide;  // longer side of the photograph for the ordinary search
constexpr int kCloseSide = 4 * kWindowSide;    // for the close search

// Score from which a face counts although the landmark network does not confirm it, as with a profile.
constexpr double kSureScore = 0.75;
// Presence from which the landmark network confirms a face; on the second look real ones come close to 1.
constexpr double kPresent = 0.5;
constexpr double kPresentAgain = 0.99;
// Side of a face's square for a detection's box of 1.
constexpr double kSquareOfBox = 1.1;

Point CentreOf(const Detection& d) {
  return Mean({d.box.left, d.box.top}, {d.box.right, d.box.bottom});
}

double AngleOf(const Detection& d) {
  const Point along = d.rightEye - d.leftEye;
  return std::atan2(along.y, along.x);
}

double Size(const Detection& d) {
  return std::max(d.box.right - d.box.left, d.box.bottom - d.box.top);
}

// x -> x0 + scaleX * x, y -> y0 + scaleY * y
struct Placement {
  double x0, scaleX;
  double y0, scaleY;

  Point operator()(Point p) const { return {x0 + scaleX * p.x, y0 + scaleY * p.y}; }
  Detection operator()(Detection d) const {
    const Point leftTop = (*this)(Point{d.box.left, d.box.top});
    const Point rightBottom = (*this)(Point{d.box.right, d.box.bottom});
    d.box = {leftTop.x, leftTop.y, rightBottom.x, rightBottom.y};
    d.leftEye = (*this)(d.leftEye);
    d.rightEye = (*this)(d.rightEye);
    return d;
  }
};

// From 0 to 1 of a window to pixels of the photograph.
Placement PlacementOf(const Window& window, const GreyImage& reduced, const GreyView& image) {
  const double scaleX = static_cast<double>(image.width) / reduced.width;
  const double scaleY = static_cast<double>(image.height) / reduced.height;
  const double side = static_cast<double>(kWindowSide) * window.step;
  return {window.left * scaleX, side * scaleX, window.top * scaleY, side * scaleY};
}

// A detection in the turned window, brought into the upright one.
Detection TurnBack(Detection d, int turn) {
  d.box = TurnBack(d.box, turn);
  d.leftEye = TurnBack(d.leftEye, turn);
  d.rightEye = TurnBack(d.rightEye, turn);
  d.turn = turn;
  return d;
}

FoundFace FaceAt(double score, const FaceSquare& square, double angle) {
  const int turn = NearestTurn(angle);
  return {score, square, turn, FineRoll(angle, turn)};
}

Box BoxOf(const FaceSquare& square) {
  const double half = square.side / 2;
  return {square.centre.x - half, square.centre.y - half, square.centre.x + half, square.centre.y + half};
}

bool InSizeRange(const FoundFace& face, const GreyView& image, const DetectorSettings& settings) {
  if (face.square.side < settings.smallest) return false;
  const Box box = BoxOf(face.square);
  const double width = std::min<double>(box.right, image.width) - std::max(box.left, 0.0);
  const double height = std::min<double>(box.bottom, image.height) - std::max(box.top, 0.0);
  return std::min(width, height) <= settings.largest;
}

// Whether to look for faces too small for the ordinary search: where they are asked for and the photograph holds the
// pixels for them.
bool WantsCloseSearch(const GreyView& image, const DetectorSettings& settings) {
  constexpr int kSmallFace = 15;    // smallest face from which on the ordinary search will do
  constexpr int kFacesAcross = 24;  // the ordinary search sees a face of that fraction of the longer side
  const int longest = std::max(image.width, image.height);
  return settings.smallest < kSmallFace && longest >= kCloseSide && longest / kFacesAcross >= settings.smallestExpected;
}

}  // namespace

std::vector<FoundFace> Detector::Find(const GreyView& image, const DetectorSettings& settings) const {
  const std::vector<int> turns = settings.allTurns ? std::vector<int>{0, 1, 3, 2} : std::vector<int>{0};
  const GreyImage reduced = ScaleToLongSide(image, kReducedSide);
  const int whole = kReducedSide / kWindowSide;
  std::vector<FoundFace> faces = SearchByTurns(image, reduced, whole, turns, settings);
  if (!faces.empty()) return faces;
  // A close-up that fills the photograph.
  const std::vector<Window> wide = {CentredWindow(reduced.width, reduced.height, 2 * whole)};
  faces = Merge(image, Search(image, reduced, wide, turns, settings), settings);
  if (!faces.empty() || !WantsCloseSearch(image, settings)) return faces;
  const GreyImage closer = ScaleToLongSide(image, kCloseSide);
  const std::vector<Window> tiles = TileWindows(closer.width, closer.height);
  return Merge(image, Search(image, closer, tiles, turns, settings), settings);
}

std::vector<FoundFace> Detector::SearchByTurns(const GreyView& image, const GreyImage& reduced, int whole,
                                               const std::vector<int>& turns, const DetectorSettings& settings) const {
  const std::vector<Window> tiles = TileWindows(reduced.width, reduced.height);
  std::vector<Detection> found =
      Search(image, reduced, {CentredWindow(reduced.width, reduced.height, whole)}, turns, settings);
  const std::vector<int> sure = SureTurns(image, found, settings);
  for (const int turn : sure.empty() ? turns : sure) {
    const std::vector<Detection> more = Search(image, reduced, tiles, {turn}, settings);
    found.insert(found.end(), more.begin(), more.end());
    if (sure.empty() && !SureTurns(image, more, settings).empty()) break;
  }
  return Merge(image, std::move(found), settings);
}

std::vector<Detection> Detector::Search(const GreyView& image, const GreyImage& reduced,
                                        const std::vector<Window>& windows, const std::vector<int>& turns,
                                        const DetectorSettings& settings) const {
  std::vector<Detection> found;
  for (const Window& window : windows) {
    const Placement place = PlacementOf(window, reduced, image);
    const std::vector<float> samples = SampleWindow(reduced, window);
    for (const int turn : turns) {
      for (const Detection& d : SearchWindow(samples, turn, settings.threshold)) {
        if (!TouchesInnerBorder(window, d.box)) found.push_back(place(d));
      }
    }
  }
  return found;
}

std::vector<Detection> Detector::SearchWindow(const std::vector<float>& samples, int turn, double threshold) const {
  constexpr double kOverlap = 0.3;
  const auto borrowed = detection_.Borrow();
  nn::Runtime* network = borrowed->network.get();
  FillTurned(samples, turn, network->Input(0));
  Run(network);
  const auto decoded = DecodeAnchors(network->Output(0), network->Output(1), threshold);
  std::vector<Detection> found;
  for (const Detection& d : SuppressWeighted(decoded, kOverlap)) found.push_back(TurnBack(d, turn));
  return found;
}

std::vector<int> Detector::SureTurns(const GreyView& image, const std::vector<Detection>& found,
                                     const DetectorSettings& settings) const {
  std::vector<int> turns;
  for (const Detection& d : KeepBest(found, settings.overlap)) {
    if (d.score < kSureScore || std::find(turns.begin(), turns.end(), d.turn) != turns.end()) continue;
    FaceMesh mesh;
    if (FindMesh(image, d, &mesh) && NearestTurn(EyeAngle(mesh.points)) == d.turn) turns.push_back(d.turn);
  }
  return turns;
}

std::vector<FoundFace> Detector::Merge(const GreyView& image, std::vector<Detection> found,
                                       const DetectorSettings& settings) const {
  std::vector<FoundFace> faces;
  for (const Detection& detection : KeepBest(std::move(found), settings.overlap)) {
    FoundFace face;
    if (!Confirm(image, detection, !settings.confirm, &face) || !InSizeRange(face, image, settings)) continue;
    const bool repeated = std::any_of(faces.begin(), faces.end(), [&](const FoundFace& better) {
      return SameFace(BoxOf(face.square), BoxOf(better.square), settings.overlap);
    });
    if (!repeated) faces.push_back(face);
  }
  return faces;
}

bool Detector::FindMesh(const GreyView& image, const Detection& d, FaceMesh* mesh) const {
  return mesh_.Find(image, RegionOfBox(CentreOf(d), Size(d), AngleOf(d)), false, mesh) && mesh->presence >= kPresent;
}

bool Detector::Confirm(const GreyView& image, const Detection& detection, bool believeScore, FoundFace* face) const {
  FaceMesh mesh;
  bool present = FindMesh(image, detection, &mesh);
  if (present && detection.score < kSureScore) {
    // What only looks like a face does not hold when it is looked at again where its mesh says it is.
    present = mesh_.Find(image, RegionOfMesh(mesh.points), false, &mesh) && mesh.presence >= kPresentAgain;
  }
  *face = present ? FaceAt(detection.score, SquareOfMesh(mesh.points), EyeAngle(mesh.points))
                  : FaceAt(detection.score, {CentreOf(detection), kSquareOfBox * Size(detection)}, AngleOf(detection));
  return present || believeScore || detection.score >= kSureScore;
}

}  // namespace qx::face
