#include "engine/detector.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "base/exact_math.h"

namespace qx::face {
namespace {

constexpr int kReducedSide = 2 * kWindowSide;  // longer side of the photograph for the ordinary search
constexpr int kCloseSide = 4 * kWindowSide;    // for the close search

// Score from which a face counts although the landmark network does not confirm it, as with a profile.
constexpr double kSureScore = 0.75;
// Presence from which the landmark network confirms a face; on the second look real ones come close to 1.
constexpr double kPresent = 0.5;
constexpr double kPresentAgain = 0.99;
// Lowest score of what is worth another look, of what one turn of it shows, and of what both its squares must show.
// What looks like a face by chance reaches 0.50 in both at most, 92 of 99 overlooked faces reach 0.55.
constexpr double kHintScore = 0.25;
constexpr double kGlimpse = 0.2;
constexpr double kSeenAgain = 0.55;
// Sides of the two squares for a face of 1, and how many hints of a photograph are looked at.
constexpr double kFarZoom = 4.5;
constexpr double kNearZoom = 3;
constexpr int kMostLooks = 16;
// Intersection over union above which detections of one window are of one face.
constexpr double kGroupOverlap = 0.3;
// Side of a face's square for a detection's box of 1.
constexpr double kSquareOfBox = 1.1;

Point CentreOf(const Detection& d) {
  return Mean({d.box.left, d.box.top}, {d.box.right, d.box.bottom});
}

double AngleOf(const Detection& d) {
  const Point along = d.rightEye - d.leftEye;
  return exact::Atan2(along.y, along.x);
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

// Black beyond the photograph, as the detection network has seen it in the windows: samples of an upright square.
void BlackenOutside(const GreyView& image, const Region& square, std::vector<float>* samples) {
  const auto isOutside = [&square](int cell, double centre, int extent) {
    const double position = centre + ((cell + 0.5) / kWindowSide - 0.5) * square.side;
    return position < 0 || position >= extent;
  };
  float* sample = samples->data();
  for (int v = 0; v < kWindowSide; ++v) {
    const bool rowIsOutside = isOutside(v, square.centre.y, image.height);
    for (int u = 0; u < kWindowSide; ++u, ++sample) {
      if (rowIsOutside || isOutside(u, square.centre.x, image.width)) *sample = 0;
    }
  }
}

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

bool IsNew(const FoundFace& face, const std::vector<FoundFace>& faces, const GreyView& image,
           const DetectorSettings& settings) {
  return InSizeRange(face, image, settings) && std::none_of(faces.begin(), faces.end(), [&](const FoundFace& better) {
           return SameFace(BoxOf(face.square), BoxOf(better.square), settings.overlap);
         });
}

bool Contains(const std::vector<int>& turns, int turn) {
  return std::find(turns.begin(), turns.end(), turn) != turns.end();
}

std::vector<Detection> ScoredAtLeast(double score, const std::vector<Detection>& detections) {
  std::vector<Detection> kept;
  std::copy_if(detections.begin(), detections.end(), std::back_inserter(kept),
               [score](const Detection& d) { return d.score >= score; });
  return kept;
}

bool HasScore(const std::vector<Detection>& seen, double score) {
  return std::any_of(seen.begin(), seen.end(), [score](const Detection& d) { return d.score >= score; });
}

// The turn in which two looks at a face agree best, if they do: a profile, which the landmark network does not know.
bool Agree(const std::vector<Detection>& far, const std::vector<Detection>& near, double threshold, FoundFace* face) {
  double best = 0;
  for (const Detection& a : far) {
    for (const Detection& b : near) {
      const double score = std::min(a.score, b.score);
      if (a.turn != b.turn || score < std::max(threshold, kSeenAgain) || score <= best) continue;
      best = score;
      const double angle = NearestTurn(AngleOf(a)) == a.turn ? AngleOf(a) : TurnAngle(a.turn);
      *face = FaceAt(score, {CentreOf(a), kSquareOfBox * Size(a)}, angle);
    }
  }
  return best > 0;
}

bool WantsSmallFaces(const DetectorSettings& settings) {
  constexpr int kSmallFace = 15;  // smallest face from which on the ordinary search will do
  return settings.smallest < kSmallFace;
}

// Whether to look for faces too small for the ordinary search: where they are asked for and the photograph holds the
// pixels for them.
bool WantsCloseSearch(const GreyView& image, const DetectorSettings& settings) {
  constexpr int kFacesAcross = 24;  // the ordinary search sees a face of that fraction of the longer side
  const int longest = std::max(image.width, image.height);
  return WantsSmallFaces(settings) && longest >= kCloseSide && longest / kFacesAcross >= settings.smallestExpected;
}

}  // namespace

std::vector<FoundFace> Detector::Find(const GreyView& image, const DetectorSettings& settings) const {
  Query query{image, settings, ScaleToLongSide(image, kReducedSide), {0}, {}, {}, {}, {}};
  if (settings.allTurns) query.turns = {0, 1, 3, 2};
  std::vector<FoundFace> faces = FindPlain(&query);
  if (!faces.empty() || WantsSmallFaces(settings)) AddOverlooked(&faces, &query);
  return faces;
}

std::vector<FoundFace> Detector::FindPlain(Query* query) const {
  const int whole = kReducedSide / kWindowSide;
  std::vector<FoundFace> faces = SearchByTurns(whole, query);
  if (!faces.empty()) return faces;
  // A close-up that fills the photograph.
  const GreyImage& reduced = query->reduced;
  const std::vector<Window> wide = {CentredWindow(reduced.width, reduced.height, 2 * whole)};
  faces = Merge(Search(reduced, wide, query->turns, query), query);
  if (!faces.empty() || !WantsCloseSearch(query->image, query->settings)) return faces;
  const GreyImage closer = ScaleToLongSide(query->image, kCloseSide);
  return Merge(Search(closer, TileWindows(closer.width, closer.height), query->turns, query), query);
}

std::vector<FoundFace> Detector::SearchByTurns(int whole, Query* query) const {
  const GreyImage& reduced = query->reduced;
  std::vector<Detection> found =
      Search(reduced, {CentredWindow(reduced.width, reduced.height, whole)}, query->turns, query);
  const std::vector<int> sure = SureTurns(found, query);
  for (const int turn : sure.empty() ? query->turns : sure) {
    const std::vector<Detection> more = SearchTiles(turn, query);
    found.insert(found.end(), more.begin(), more.end());
    if (sure.empty() && !SureTurns(more, query).empty()) break;
  }
  return Merge(std::move(found), query);
}

std::vector<Detection> Detector::SearchTiles(int turn, Query* query) const {
  query->tiledTurns.push_back(turn);
  return Search(query->reduced, TileWindows(query->reduced.width, query->reduced.height), {turn}, query);
}

std::vector<Detection> Detector::Search(const GreyImage& reduced, const std::vector<Window>& windows,
                                        const std::vector<int>& turns, Query* query) const {
  const double threshold = query->settings.threshold;
  std::vector<Detection> found;
  for (const Window& window : windows) {
    const Placement place = PlacementOf(window, reduced, query->image);
    const std::vector<float> samples = SampleWindow(reduced, window);
    for (const int turn : turns) {
      const std::vector<Detection> decoded = RunWindow(samples, turn, std::min(threshold, kHintScore));
      const auto keep = [&](double lowest, std::vector<Detection>* kept) {
        for (Detection d : SuppressWeighted(ScoredAtLeast(lowest, decoded), kGroupOverlap)) {
          d = TurnBack(d, turn);
          if (!TouchesInnerBorder(window, d.box)) kept->push_back(place(d));
        }
      };
      keep(threshold, &found);
      keep(kHintScore, &query->hints);
    }
  }
  return found;
}

std::vector<Detection> Detector::RunWindow(const std::vector<float>& samples, int turn, double threshold) const {
  const auto borrowed = detection_.Borrow();
  nn::Runtime* network = borrowed->network.get();
  FillTurned(samples, turn, network->Input(0));
  Run(network);
  return DecodeAnchors(network->Output(0), network->Output(1), threshold);
}

std::vector<int> Detector::SureTurns(const std::vector<Detection>& found, Query* query) const {
  std::vector<int> turns;
  for (const Detection& d : KeepBest(found, query->settings.overlap)) {
    if (d.score < kSureScore || Contains(turns, d.turn)) continue;
    FaceMesh mesh;
    if (FindMesh(d, &mesh, query) && NearestTurn(EyeAngle(mesh.points)) == d.turn) turns.push_back(d.turn);
  }
  return turns;
}

std::vector<FoundFace> Detector::Merge(std::vector<Detection> found, Query* query) const {
  std::vector<FoundFace> faces;
  for (const Detection& detection : KeepBest(std::move(found), query->settings.overlap)) {
    FoundFace face;
    if (Confirm(detection, &face, query) && IsNew(face, faces, query->image, query->settings)) faces.push_back(face);
  }
  return faces;
}

void Detector::AddOverlooked(std::vector<FoundFace>* faces, Query* query) const {
  const auto add = [&](const FoundFace& face) {
    if (IsNew(face, *faces, query->image, query->settings)) faces->push_back(face);
  };
  int looks = 0;
  while (!query->hints.empty()) {
    for (const Detection& hint : KeepBest(std::exchange(query->hints, {}), query->settings.overlap)) {
      const bool isFound = std::any_of(faces->begin(), faces->end(), [&](const FoundFace& face) {
        return SameFace(hint.box, BoxOf(face.square), query->settings.overlap);
      });
      if (isFound) continue;
      if (++looks > kMostLooks) break;
      FoundFace face;
      if (!LookAgain(hint, &face, query)) continue;
      add(face);
      // Where one face of another turn is, others may be.
      if (Contains(query->tiledTurns, face.turn) || !Contains(query->turns, face.turn)) continue;
      for (const FoundFace& other : Merge(SearchTiles(face.turn, query), query)) add(other);
    }
  }
  std::stable_sort(faces->begin(), faces->end(),
                   [](const FoundFace& a, const FoundFace& b) { return a.score > b.score; });
}

bool Detector::LookAgain(const Detection& hint, FoundFace* face, Query* query) const {
  const bool isStrong = hint.score >= query->settings.threshold;
  // Most of what is no face does not show again, and one turn tells.
  std::vector<Detection> far = LookAround(hint, kFarZoom, {hint.turn}, *query);
  if (far.empty() && !isStrong) return false;
  std::vector<int> others = query->turns;
  others.erase(std::remove(others.begin(), others.end(), hint.turn), others.end());
  for (const Detection& d : LookAround(hint, kFarZoom, others, *query)) far.push_back(d);
  if (!HasScore(far, kSeenAgain)) return false;
  const std::vector<Detection> near = LookAround(hint, kNearZoom, query->turns, *query);
  if (!HasScore(near, kSeenAgain)) return false;

  std::vector<Detection> seen = far;
  seen.insert(seen.end(), near.begin(), near.end());
  std::stable_sort(seen.begin(), seen.end(), [](const Detection& a, const Detection& b) { return a.score > b.score; });
  for (const Detection& d : seen) {
    FaceMesh mesh;
    if (d.score < query->settings.threshold || !FindMeshTwice(d, &mesh, query)) continue;
    *face = FaceAt(d.score, SquareOfMesh(mesh.points), EyeAngle(mesh.points));
    return true;
  }
  return isStrong && Agree(far, near, query->settings.threshold, face);
}

std::vector<Detection> Detector::LookAround(const Detection& hint, double zoom, const std::vector<int>& turns,
                                            const Query& query) const {
  const Point centre = CentreOf(hint);
  const double side = zoom * Size(hint);
  std::vector<float> samples(static_cast<size_t>(kWindowSide) * kWindowSide);
  SampleRegion(query.image, {centre, side, 0}, kWindowSide, samples.data());
  BlackenOutside(query.image, {centre, side, 0}, &samples);
  const Placement place{centre.x - side / 2, side, centre.y - side / 2, side};
  std::vector<Detection> seen;
  for (const int turn : turns) {
    for (const Detection& d : SuppressWeighted(RunWindow(samples, turn, kGlimpse), kGroupOverlap)) {
      const Detection placed = place(TurnBack(d, turn));
      if (Distance(CentreOf(placed), centre) <= 0.5 * Size(hint)) seen.push_back(placed);
    }
  }
  return seen;
}

bool Detector::FindMesh(const Detection& d, FaceMesh* mesh, Query* query) const {
  const Region region = RegionOfBox(CentreOf(d), Size(d), AngleOf(d));
  for (size_t i = 0; i < query->meshes.size(); ++i) {
    const Region& known = query->meshedFor[i];
    if (known.centre.x != region.centre.x || known.centre.y != region.centre.y || known.side != region.side ||
        known.angle != region.angle) {
      continue;
    }
    *mesh = query->meshes[i];
    return mesh->presence >= kPresent;
  }
  if (!mesh_.Find(query->image, region, false, mesh)) return false;
  query->meshes.push_back(*mesh);
  query->meshedFor.push_back(region);
  return mesh->presence >= kPresent;
}

// What only looks like a face does not hold when it is looked at again where its mesh says it is.
bool Detector::FindMeshTwice(const Detection& d, FaceMesh* mesh, Query* query) const {
  return FindMesh(d, mesh, query) && mesh_.Find(query->image, RegionOfMesh(mesh->points), false, mesh) &&
         mesh->presence >= kPresentAgain;
}

bool Detector::Confirm(const Detection& detection, FoundFace* face, Query* query) const {
  FaceMesh mesh;
  const bool isSure = detection.score >= kSureScore;
  const bool present = isSure ? FindMesh(detection, &mesh, query) : FindMeshTwice(detection, &mesh, query);
  *face = present ? FaceAt(detection.score, SquareOfMesh(mesh.points), EyeAngle(mesh.points))
                  : FaceAt(detection.score, {CentreOf(detection), kSquareOfBox * Size(detection)}, AngleOf(detection));
  return present || isSure || !query->settings.confirm;
}

}  // namespace qx::face
