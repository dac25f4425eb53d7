// A head of 200 pixels in the middle of a photograph of 800 x 1000 pixels, shown down to the lower edge.
#ifndef QX_TESTS_SUPPORT_TYPICAL_PERSON_H
#define QX_TESTS_SUPPORT_TYPICAL_PERSON_H

#include "photo/place/person_geometry.h"

namespace qx::test {

inline photo::PersonGeometry TypicalPerson() {
  photo::PersonGeometry person;
  person.width = 800;
  person.height = 1000;
  person.headTop = person.crown = 300;
  person.eyes = 400;
  person.chin = 500;
  person.centre = 400;
  person.faceLeft = 330;
  person.faceWidth = 140;
  person.foot = 1000;
  person.leftCut = person.rightCut = 1000;
  return person;
}

}  // namespace qx::test

#endif  // QX_TESTS_SUPPORT_TYPICAL_PERSON_H
