// From what was found in a photograph to the finished picture of a document.
#include <string>
#include <utility>
#include <vector>

#include "photo/analysis.h"
#include "photo/check/aligned_face.h"
#include "photo/check/source_check.h"
#include "photo/foreground/foreground.h"
#include "photo/place/framing.h"
#include "photo/placing.h"
#include "photo/remarks.h"
#include "photo/render/colour_cast.h"
#include "photo/render/extend_colours.h"

namespace qx::photo {
namespace {

using State = Analysis::State;

// The measures of each person, which stand in the photograph as `placed` says.
std::vector<std::vector<Measure>> MeasureSources(const State& state, const MakeRequest& request, const Placed& placed,
                                                 double enlargement) {
  const PreparedPart& prepared = *state.prepared;
  const PhotographPart& part = prepared.part;
  std::vector<std::vector<Measure>> all;
  for (size_t i = 0; i < state.source.size(); ++i) {
    const ProbedFace& face = prepared.faces[i];
    const auto eyes = PlacesOf(face, part.box, part.ScaleX(), part.ScaleY(), Turn()).eyes;
    const SourceUse use{placed.straightened != 0, request.framing.turnedBy, enlargement, Distance(eyes[0], eyes[1])};
    std::vector<Measure> measures = MeasureSource(state.source[i], use, request.persons);
    if (request.background.IsKeep()) {
      const std::vector<Measure> wall = MeasureKeptBackground(part.picture, face, prepared.mask, request.persons);
      measures.insert(measures.end(), wall.begin(), wall.end());
    }
    all.push_back(std::move(measures));
  }
  return all;
}

// The picture of the document from the part as it is now, and its opacity where the background is transparent.
Image Finish(const PhotographPart& part, const Mask& mask, const std::vector<ProbedFace>& faces,
             const MakeRequest& request, const Adjustment& adjustment, const Cast& cast, const Placed& placed,
             Mask* alpha) {
  const Background& background = request.background;
  if (background.IsKeep()) {
    Image finished = RenderPhoto(part, mask, background, placed.turn, placed.rectangle, request.document);
    Adjust(adjustment, cast, &finished);
    return finished;
  }
  const Rim rim = request.keepRim ? Rim::kKeep : Rim::kReduce;
  PhotographPart cleaned{EstimateForeground(part.picture, mask, faces[0].Width(), rim), part.box, part.width,
                         part.height};
  if (adjustment.IsNone() || background.IsTransparent()) {
    Image finished = RenderPhoto(cleaned, mask, background, placed.turn, placed.rectangle, request.document, alpha);
    if (adjustment.IsNone()) return finished;
    Adjust(adjustment, cast, &finished);
    ExtendColours(*alpha, &finished);
    return finished;
  }
  Image own;
  Mask coverage;
  Image finished =
      RenderPhoto(cleaned, mask, background, placed.turn, placed.rectangle, request.document, &coverage, &own);
  AdjustPerson(adjustment, cast, coverage, &own, &finished);
  return finished;
}

// The cast of the photograph's light, when it is to be taken away.
Cast CastOf(const PreparedPart& prepared, const Adjustment& adjustment) {
  return adjustment.whiteBalance ? MeasureCast(prepared.part.picture, prepared.mask, prepared.faces) : Cast();
}

// The picture itself, and the one before retouching and adjustment. Returns the cast that was taken away.
Cast MakePictures(FaceFinder& finder, const State& state, const MakeRequest& request, const Placed& placed,
                  MadePhoto* made) {
  const PreparedPart& prepared = *state.prepared;
  const Adjustment& adjustment = request.adjustment;
  CheckRanges(adjustment);
  const Cast cast = CastOf(prepared, adjustment);
  const bool changed = !request.retouch.IsNone() || !adjustment.IsNone();
  if (request.compare && changed) {
    made->before =
        Finish(prepared.part, prepared.mask, prepared.faces, request, Adjustment(), Cast(), placed, &made->alphaBefore);
  }
  if (request.retouch.IsNone()) {
    made->image = Finish(prepared.part, prepared.mask, prepared.faces, request, adjustment, cast, placed, &made->alpha);
  } else {
    PhotographPart part = prepared.part;
    Mask mask = prepared.mask;
    RetouchFaces(prepared.faces, request.retouch, &part.picture, &mask);
    made->image = Finish(part, mask, prepared.faces, request, adjustment, cast, placed, &made->alpha);
    if (request.retouch.face != 0) made->measures = MeasureAgain(finder, state, part, mask, placed);
  }
  if (request.compare && !changed) {
    made->before = made->image;
    made->alphaBefore = made->alpha;
  }
  return cast;
}

}  // namespace

MadePhoto RenderAnalysed(PhotoSource& upright, FaceFinder& finder, Analysis::State* state, const MakeRequest& request) {
  CheckRanges(request.framing);
  const Placed placed = PlaceFinely(upright, finder, request, state);
  MadePhoto made;
  made.measures = placed.measures;
  made.givenUp = placed.givenUp;
  made.quarterTurns = state->quarterTurns;
  made.lean = placed.lean;
  made.straightened = placed.straightened;
  made.enlargement = request.document.height / placed.rectangle.height;
  made.source = MeasureSources(*state, request, placed, made.enlargement);
  if (request.strict) RefuseUnsuitable(made.source);
  const Cast cast = MakePictures(finder, *state, request, placed, &made);
  AddRemarks(*state, request, placed, &made);
  if (request.adjustment.whiteBalance) AddBalance(cast, &made);
  if (!request.background.IsKeep() && state->map && state->map->hair) AddDoubt(state->map->hair->doubt, &made);
  return made;
}

}  // namespace qx::photo
