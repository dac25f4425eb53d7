// The studio: everything that is made of a photograph. One object owns the face finder and the person's network; keep
// one for many photographs, one in each thread.
//
//   qx::photo::ImageSource source(std::move(picture)); // codec/codec.h has one for files
//   qx::photo::MakeRequest request;
//   request.document = qx::photo::Derive(qx::photo::FindPreset("schengen-visa"));
//   qx::photo::MadePhoto made = qx::photo::Studio().Make(source, {}, request);
//
// Pictures are sRGB in the order blue, green, red and hold at least one pixel; places count in pixels from the upper
// left corner; angles are degrees, clockwise positive. Whatever a call returns belongs to the caller and holds no
// reference to what it was given. Calls that differ in all of their objects may run at the same time.
#ifndef QX_PHOTO_STUDIO_H
#define QX_PHOTO_STUDIO_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/base/photo_source.h"
#include "photo/base/pixel_view.h"
#include "photo/check/check.h"
#include "photo/check/measures.h"
#include "photo/document/presets.h"
#include "photo/face/crops.h"
#include "photo/place/framing.h"
#include "photo/place/placement.h"
#include "photo/render/adjust.h"
#include "photo/render/background.h"
#include "photo/render/retouch.h"

namespace qx::photo {

struct AnalyseRequest {
  std::optional<int> face;  // number from 1, best face first; without it the largest
  bool pair = false;        // the two largest instead
};

// A face as it shows in the upright photograph.
struct AnalysedFace {
  double score;                  // of the detector, 0 to 1
  std::array<Point, 4> corners;  // top-left, top-right, bottom-left, bottom-right of the face's own upright frame
};

// What was found in one photograph: its faces and the mask of the chosen persons. Serves any number of renderings, by
// any studio, one at a time; keeps the part of the photograph that the last one needed. After it was moved from it may
// only be assigned to or destroyed.
class Analysis {
 public:
  Analysis(Analysis&&) noexcept;
  Analysis& operator=(Analysis&&) noexcept;
  ~Analysis();

  int QuarterTurns() const;   // 0 to 3, clockwise, that made the photograph upright
  int32_t Width() const;      // of the upright photograph, in pixels
  int32_t Height() const;     // the same
  size_t FacesFound() const;  // in the photograph
  // All of them, in pixels of the upright photograph; the one of number N (AnalyseRequest::face) is at N - 1.
  std::vector<AnalysedFace> Faces() const;
  double LeanDegrees() const;  // of the first person's head in the upright photograph, clockwise positive

  struct State;  // the source files' own

 private:
  friend class Studio;
  explicit Analysis(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

struct MakeRequest {
  Document document;      // from Derive; sizes of 1 pixel to kMostDocumentPixels
  Background background;  // white unless set; ChooseBackground gives what the authority wants
  // Turn a head that leans by 0.5 to 25 degrees, where there is background or picture around it.
  bool straighten = true;
  bool relax =
      false;  // take the nearest rectangle when none meets the bounds, and one that `framing` leads out of them
  // Moves, scales and turns what the placement and the straightening give: as they do unless set. Of two persons no
  // bounds count.
  Framing framing;
  Retouch retouch;  // none unless set
  // Of the finished photograph, after the retouching: none unless set. A new background keeps its colours.
  Adjustment adjustment;
  bool compare = false;  // make the picture without retouching and adjustment too
  bool keepRim = false;  // leave the old surroundings' light on the rim of hair and shoulders
  // For a screen, while somebody moves an option: takes what the rendering before has read of the photograph, where
  // that holds the picture, or reads somewhat more of it, less finely. What is made then is nearly the picture, not to
  // the bit.
  bool draft = false;
  // What the document asks of the persons themselves: what does not meet it becomes a remark or, with `strict`, the
  // Failure kUnsuitable.
  MeasureOptions persons;
  bool strict = false;
};

struct MadePhoto {
  Image image;                       // of exactly the document's pixels
  std::optional<Image> before;       // the same without retouching and adjustment, when asked for
  Mask alpha, alphaBefore;           // opacity of both where the background is transparent, the colours not multiplied
                                     // by it; empty otherwise
  PhotoMeasures measures;            // of the person (of two: the left) in the finished photograph
  std::vector<Miss> givenUp;         // by `relax`; of the document's own bounds where there is a framing
  std::vector<std::string> remarks;  // what the user should know, one line each
  // Of each person, from left to right: what a new background, cut and size cannot mend, measured in the photograph.
  // What failed is among the remarks. Backgrounds only where they are kept.
  std::vector<std::vector<Measure>> source;
  int quarterTurns = 0;     // 0 to 3, clockwise, that made the photograph upright
  double lean = 0;          // of the head in the upright photograph, degrees, clockwise positive
  double straightened = 0;  // by how much of it the photograph was turned back; 0: not turned
  double enlargement = 1;   // pixels of the document for one of the photograph, along a side
};

struct CutOutRequest {
  AnalyseRequest persons;
  bool colours = true;   // not the mask alone
  bool keepRim = false;  // as in MakeRequest
};

// The persons of a whole photograph, of its size and lying as it does.
struct CutOut {
  Mask mask;                         // which Analyse takes
  Image colours;                     // the persons' own, without the old background's share and not multiplied by the
                                     // mask; they go on 32 pixels beyond it, then black. Empty when not asked for
  std::vector<std::string> remarks;  // what the user should know, one line each
};

struct RetouchedPhoto {
  Image before, after;  // the whole photograph
  size_t faces = 0;     // retouched ones
};

// The background for a document: the wanted one, or else the first of the preset, or "keep" where the authority forbids
// a change. Throws Failure (kForbiddenEdit) when a forbidden one is wanted without `force`.
std::string ChooseBackground(const Preset& preset, const std::optional<std::string>& wanted, bool force);

// Throws Failure (kForbiddenEdit) when the authority forbids the wanted retouching and there is no `force`.
void CheckRetouch(const Preset& preset, const Retouch& wanted, bool force);

// The same for adjustments, which count as retouching. Throws Failure (kBadOption) too when a strength is out of its
// range.
void CheckAdjustment(const Preset& preset, const Adjustment& wanted, bool force);

// The same for a turn of one's own: where the background has to stay no photograph is turned. Throws Failure
// (kBadOption) too when a number is out of its range.
void CheckFraming(const Preset& preset, const Framing& wanted, bool force);

// One photograph at a time; one thread at a time. The same input gives the same output. Every call throws Failure when
// the photograph does not serve, its source fails or memory is short (kOutOfMemory); the studio then is as it was and
// serves the next photograph. Nothing that a call is given is kept after it.
class Studio {
 public:
  Studio();  // throws Failure when the face engine or the person's network cannot load
  ~Studio();
  Studio(Studio&&) noexcept;

  // The faces of the photograph as it is, best first; may be none.
  std::vector<ProbedFace> Inspect(const PixelView& photograph);

  // The rough crop of every face, best first; at least one. Throws Failure when there is no face.
  std::vector<Image> Crop(const PixelView& photograph, const CropSettings& settings);

  // Finds the faces and the persons, once for a photograph. Throws Failure: kNoFace, kNoSuchFace, kTooFewFaces,
  // kFacesTurned, kNoPerson, kBadMask. `mask`: of the persons, made elsewhere, of the size that the source has, before
  // any quarter turn; null to make it here.
  Analysis Analyse(PhotoSource& source, const AnalyseRequest& request, const Mask* mask = nullptr);
  // Makes the finished photograph of what Analyse found in the same source: as often as something of the request
  // changes. Throws Failure: kNoFit when no rectangle meets the bounds, or the one that
  // MakeRequest::framing makes of it does not or cannot be taken; kNoPerson or kTooSmall when the person cannot
  // be measured; kUnsuitable, see MakeRequest::strict. What the authority forbids is not asked here: see
  // ChooseBackground, CheckRetouch and CheckAdjustment. For two persons: the proportions of the document, both faces
  // with some room on all sides; its bounds are not used.
  MadePhoto Render(PhotoSource& source, Analysis& analysis, const MakeRequest& request);
  // Both.
  MadePhoto Make(PhotoSource& source, const AnalyseRequest& faces, const MakeRequest& request,
                 const Mask* mask = nullptr);

  // Takes the persons out of the photograph, at its full size. Throws Failure as Analyse does.
  photo::CutOut CutOut(PhotoSource& source, const CutOutRequest& request);

  // Retouches the face of that number (from 1, best first), or all faces, and leaves everything else as it is. Throws
  // Failure (kNoFace, kNoSuchFace).
  RetouchedPhoto Retouch(Image photograph, const photo::Retouch& retouch, std::optional<int> face);

  // Measures a finished photograph, which is taken as the whole document; `child`: of a person under six. A photograph
  // without a face is a check that has not passed, no failure.
  PhotoCheck Check(const Image& photograph, const FileFacts& file, const Preset& preset, bool child = false);

 private:
  struct Engines;
  // `measured`: the faces are to be measured as well.
  std::unique_ptr<Analysis::State> FindPersons(PhotoSource& source, const AnalyseRequest& request, const Mask* mask,
                                               bool measured);

  std::unique_ptr<Engines> engines_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_STUDIO_H
