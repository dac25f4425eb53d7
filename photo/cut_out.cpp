// The persons taken out of a whole photograph.
#include <utility>

#include "photo/analysis.h"
#include "photo/foreground/foreground.h"
#include "photo/render/extend_colours.h"

namespace qx::photo {

CutOut CutOutAnalysed(PhotoSource& upright, const Analysis::State& state, const CutOutRequest& request) {
  const PixelBox all{0, 0, state.width, state.height};
  PhotographPart whole{upright.Part(all, state.width, state.height), all, state.width, state.height};
  CutOut cutOut;
  cutOut.mask = MaskOfPart(state, whole);
  if (request.colours) {
    const double faceWidth = state.persons[0].Width() / state.toOverviewX;
    cutOut.colours = EstimateForeground(std::move(whole.picture), cutOut.mask, faceWidth,
                                        request.keepRim ? Rim::kKeep : Rim::kReduce);
    ExtendColours(cutOut.mask, &cutOut.colours);
  }
  return cutOut;
}

}  // namespace qx::photo
