// What a studio keeps of one photograph between its steps.
#ifndef QX_PHOTO_ANALYSIS_H
#define QX_PHOTO_ANALYSIS_H

#include <optional>
#include <string>
#include <vector>

#include "photo/check/source_check.h"
#include "photo/face/face_finder.h"
#include "photo/person/mask.h"
#include "photo/place/person_geometry.h"
#include "photo/render/render.h"
#include "photo/studio.h"

namespace qx::photo {

// A part of the photograph at the size that a document needs, with the persons' mask and faces in its pixels.
struct PreparedPart {
  PhotographPart part;
  Mask mask;
  std::vector<ProbedFace> faces;  // of the chosen persons
};

struct Analysis::State {
  int quarterTurns = 0;
  int32_t width = 0, height = 0;            // of the upright photograph
  double toOverviewX = 1, toOverviewY = 1;  // pixels of the overview for one of the photograph
  std::vector<ProbedFace> persons;          // the chosen ones, in pixels of the upright overview, from left to right
  std::vector<AnalysedFace> faces;          // all, in pixels of the upright photograph
  std::vector<SourceFace> source;           // what is to be measured on them; none where only the persons are cut out
  int number = 0;                           // of the first chosen one among them, from 1
  std::optional<PersonMap> map;             // none where a mask was given
  Mask given;                               // of the upright photograph, as made elsewhere; empty otherwise
  Mask coarse;                              // of the whole photograph, at a small size
  std::optional<PreparedPart> prepared;     // the last one, for the next rendering
};

// The mask of a part of the photograph whose picture is at hand.
Mask MaskOfPart(const Analysis::State& state, const PhotographPart& part);

// Studio::Render on the photograph as it stands upright.
MadePhoto RenderAnalysed(PhotoSource& upright, FaceFinder& finder, Analysis::State* state, const MakeRequest& request);

// Studio::CutOut on the photograph as it stands upright, without remarks.
CutOut CutOutAnalysed(PhotoSource& upright, const Analysis::State& state, const CutOutRequest& request);

// That the photograph shows others too, or nothing.
std::vector<std::string> RemarksOnFaces(const Analysis::State& state);

}  // namespace qx::photo

#endif  // QX_PHOTO_ANALYSIS_H
