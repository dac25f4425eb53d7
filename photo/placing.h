// Where the persons of a photograph stand in the picture of a document: measured coarsely, then as finely as it needs.
#ifndef QX_PHOTO_PLACING_H
#define QX_PHOTO_PLACING_H

#include <string>
#include <vector>

#include "photo/analysis.h"
#include "photo/place/fit_report.h"

namespace qx::photo {

struct Placed {
  Turn turn;
  double lean = 0, straightened = 0;
  PhotoMeasures measures;
  Rectangle rectangle;
  std::vector<Miss> givenUp;
  std::string pairProblem;
};

// By measures as fine as the document needs; the part of the photograph for it is prepared then. Throws Failure
// (kNoFit).
Placed PlaceFinely(PhotoSource& upright, FaceFinder& finder, const MakeRequest& request, Analysis::State* state);

// The measures of the first person after the face was made narrower.
PhotoMeasures MeasureAgain(FaceFinder& finder, const Analysis::State& state, const PhotographPart& part,
                           const Mask& mask, const Placed& placed);

}  // namespace qx::photo

#endif  // QX_PHOTO_PLACING_H
