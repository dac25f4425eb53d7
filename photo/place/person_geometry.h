// Where a person's head stands in a photograph, and how large that is in a rectangle cut from it.
#ifndef QX_PHOTO_PLACE_PERSON_GEOMETRY_H
#define QX_PHOTO_PLACE_PERSON_GEOMETRY_H

#include <array>
#include <cstdint>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/document/presets.h"
#include "photo/face/face_finder.h"
#include "photo/place/crown.h"

namespace qx::photo {

// The places of a face that are measured, in the turned photograph.
struct FacePlaces {
  std::array<PlacePoint, 2> eyes;        // middles
  std::array<PlacePoint, 2> eyeCorners;  // outer ones
  std::array<PlacePoint, 2> mouthCorners;
  std::array<PlacePoint, QX_FACE_ATTRIBUTE_POINTS> outline;  // all of the dense points
  FaceLengths lengths;
};

// `box`: the part of the photograph that the picture shows in which the face was found; `scaleX` and `scaleY`: pixels
// of the picture for one of the photograph.
FacePlaces PlacesOf(const ProbedFace& face, const PixelBox& box, double scaleX, double scaleY, const Turn& turn);

// A person's mask of the whole photograph at any size, and one of a part of it that is finer, seen in the turned
// photograph.
struct MaskView {
  int32_t width = 0, height = 0;  // of the photograph
  const Mask* whole = nullptr;
  const Mask* part = nullptr;  // may be null
  PixelBox partBox;            // what it shows, in pixels of the photograph
  Turn turn;

  // A rectangle of the turned photograph as a mask of that scale, pixels of the mask for one of the photograph:
  // bilinear, 0 outside of the photograph.
  Mask Sample(const Rectangle& rectangle, double scale) const;
};

// Where an edge of the photograph cuts a person off, from one end to the other, in the turned photograph.
struct Cut {
  PlacePoint from, to;
};

// In pixels of the upright photograph, after the turn that makes the head straight; edges of pixels being whole
// numbers.
struct PersonGeometry {
  int32_t width = 0, height = 0;  // of the photograph
  Turn turn;
  double headTop = 0;         // highest hair
  double crown = 0;           // row of the skull's top: headTop, or below it where hair stands high (see CrownToChin)
  double chin = 0, eyes = 0;  // rows
  double centre = 0;          // column of the face's middle
  double faceLeft = 0;        // of the face's outline
  double faceWidth = 0;
  double foot = 0;                   // lower end of what the photograph shows of the person
  double leftCut = 0, rightCut = 0;  // rows from which on the photograph's side cuts the person off; height: nowhere
  bool topCut = false;               // the upper edge cuts the head off
  std::vector<Cut> cuts;             // of a turned photograph, instead of the three
};

// A byte of the mask above 64 is a part of the person. Hair is looked for above the face and to half its width on both
// sides, so that a raised hand is none, and begins where it is wider than a tenth of the face. Throws Failure when
// there is none.
PersonGeometry MeasurePerson(const FacePlaces& face, const MaskView& view);
// The same for a whole picture that is not turned.
PersonGeometry MeasurePerson(const ProbedFace& face, const Mask& mask);

// What documents set bounds for.
struct PhotoMeasures {
  double head = 0;          // crown to the chin, of the height
  double top = 0;           // upper edge to the top of the hair, of the height
  double eyes = 0;          // eyes to the lower edge, of the height
  double faceWidth = 0;     // of the width
  double headWithHair = 0;  // top of the hair to the chin, of the height; `head`, to the bit, where no hair stands high

  // The one of the two that a document counts.
  double Head(HeadTo end) const { return end == HeadTo::kHair ? headWithHair : head; }
  // By how much the hair stands above the crown, of the height.
  double HairAboveCrown() const { return headWithHair - head; }
};

PhotoMeasures MeasuresIn(const Rectangle& rectangle, const PersonGeometry& person);

}  // namespace qx::photo

#endif  // QX_PHOTO_PLACE_PERSON_GEOMETRY_H
