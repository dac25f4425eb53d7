// Where a person's head stands in a photograph, and how large that is in a rectangle cut from it.
#ifndef QX_PHOTO_PLACE_PERSON_GEOMETRY_H
#define QX_PHOTO_PLACE_PERSON_GEOMETRY_H

#include <cstdint>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/face/face_finder.h"

namespace qx::photo {

// In pixels of the upright photograph, edges of pixels being whole numbers.
struct PersonGeometry {
  int32_t width = 0, height = 0;  // of the photograph
  double headTop = 0;             // highest hair
  double chin = 0, eyes = 0;      // rows
  double centre = 0;              // column of the face's middle
  double faceLeft = 0;            // of the face's outline
  double faceWidth = 0;
  double foot = 0;                   // lower end of what the photograph shows of the person
  double leftCut = 0, rightCut = 0;  // rows from which on the photograph's side cuts the person off; height: nowhere
  bool topCut = false;               // the upper edge cuts the head off
};

// `mask` as the library's fine crop reads it: a byte above 64 is a part of the person. Hair is looked for above the
// face and to half its width on both sides, so that a raised hand is none, and begins where it is wider than a tenth
// of the face. Throws Failure when there is none.
PersonGeometry MeasurePerson(const ProbedFace& face, const Mask& mask);

// What the person's mask is asked for with.
FaceBox BoxOf(const ProbedFace& face);

// What documents set bounds for.
struct PhotoMeasures {
  double head = 0;       // top of the hair to the chin, of the height
  double top = 0;        // upper edge to the top of the hair, of the height
  double eyes = 0;       // eyes to the lower edge, of the height
  double faceWidth = 0;  // of the width
};

PhotoMeasures MeasuresIn(const Rectangle& rectangle, const PersonGeometry& person);

}  // namespace qx::photo

#endif  // QX_PHOTO_PLACE_PERSON_GEOMETRY_H
