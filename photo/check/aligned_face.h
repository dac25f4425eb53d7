// The face brought to the same place and size in a square picture, as ISO/IEC 29794-5's reference does it.
#ifndef QX_PHOTO_CHECK_ALIGNED_FACE_H
#define QX_PHOTO_CHECK_ALIGNED_FACE_H

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/face/face_mesh.h"
#include "photo/person/region.h"

namespace qx::photo {

inline constexpr int32_t kAlignedSide = 616;

// A turn, a scale and a move: x' = a x - b y + x0, y' = b x + a y + y0.
struct Similarity {
  double a = 1, b = 0, x0 = 0, y0 = 0;
  PlacePoint operator()(PlacePoint p) const { return {a * p.x - b * p.y + x0, b * p.x + a * p.y + y0}; }
  double Scale() const;
  Similarity Inverse() const;  // of one whose scale is not 0
};

// Of the five points (eye centres, nose tip, mouth corners) to the places that the reference gives them, by least
// squares. Nothing where they are all in one place.
std::optional<Similarity> AlignPoints(const std::array<PlacePoint, 5>& points);

// What section of the photograph is at hand, in an upright square. Places count as the reference counts them: a pixel's
// centre has whole numbers.
struct AlignedFace {
  Image picture;  // kAlignedSide on both sides, black outside of the photograph
  Region inside;  // the photograph
  Region hull;    // jaw to brows, cut to the photograph
  Mask person;    // empty where there is none; 0 outside of the photograph
  Bytes luminance;
  FaceMesh mesh;
  std::array<PlacePoint, 2> eyes;  // centres, the left one first
  double eyeDistance = 0;          // D
  double eyesToChin = 0;           // T
  double eyesToMouth = 0;          // E
  double toAligned = 0;            // aligned pixels for one of the photograph

  PlacePoint EyeMiddle() const { return Middle(eyes[0], eyes[1]); }
};

// `person`: of the photograph's size, or null. Nothing for a face that is collapsed to a point. When it shrinks the
// photograph is averaged over whole aligned pixels first, for else fine texture would turn into noise. `faceAlone`:
// only around the face's points; everything further off counts as outside of the photograph.
std::optional<AlignedFace> Align(const Image& photograph, const FaceMesh& mesh, const Mask* person,
                                 bool faceAlone = false);

std::array<PlacePoint, 2> EyeCentres(const FaceMesh& mesh);

// The pixels whose centres lie in a polygon, which may be turned either way and need not be convex (even-odd rule).
Region FillPolygon(const std::vector<PlacePoint>& polygon, int32_t width, int32_t height);
std::vector<PlacePoint> ConvexHull(std::vector<PlacePoint> points);
// The pixels around which a rectangle of `left` to `right` pixels aside and as many above and below belongs to the
// region; beyond the picture it goes on.
Region Erode(const Region& region, int32_t before, int32_t after);
// The points of that number, in turn.
template <size_t N>
std::vector<PlacePoint> Pick(const FaceMesh& mesh, const int (&indices)[N]) {
  std::vector<PlacePoint> points;
  for (const int index : indices) points.push_back(mesh[index]);
  return points;
}

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_ALIGNED_FACE_H
