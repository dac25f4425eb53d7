// Which rectangle of a photograph becomes the document: what is wanted, what fits, and what stands in the way.
#ifndef QX_PHOTO_PLACE_PLACEMENT_H
#define QX_PHOTO_PLACE_PLACEMENT_H

#include <optional>
#include <string>
#include <vector>

#include "photo/document/presets.h"
#include "photo/place/person_geometry.h"

namespace qx::photo {

// The bounds to meet. Where the document leaves the head or the space above it open, a usual one is wanted instead.
struct Goals {
  std::optional<Fraction> head, top, eyes;  // of the height
  std::optional<Fraction> faceWidth;        // of the width
  HeadTo headTo = HeadTo::kCrown;           // where `head` ends
};
Goals GoalsOf(const Document& document);
// The document's own ones alone.
Goals BoundsOf(const Document& document);
// What to aim at within them for this person: where the document leaves the space above open, hair that stands above
// the crown comes up to half of the usual least space closer to the edge, or the face would stand low in the picture.
Goals AimsOf(const Document& document, const PersonGeometry& person);

// Cuts the edges off every pair of bounds: `part` of its width on both sides, 0 to below 0.5, and at most 5 % of the
// height.
Goals Narrowed(const Goals& goals, double part);

// The least space above the hair. Where the head ends at its crown, hair that stands above it may take as much of the
// space that is wanted, for it is the crown that authorities then measure to; a hundredth of the height stays free, or
// all that is wanted where that is less. `above`: of the height, the hair above the crown; 0: none.
double LeastTop(const Fraction& wanted, double above, HeadTo headTo);

// One bound that a rectangle does not meet.
struct Miss {
  enum class Bound { kHead, kTop, kEyes, kFaceWidth };
  Bound bound;
  double value;     // of the height (kFaceWidth: of the width)
  Fraction wanted;  // of the same
};
// All of them, each with a tolerance of a thousandth of the height. The least space above is LeastTop.
std::vector<Miss> MissesOf(const PhotoMeasures& measures, const Goals& goals);

// What a rectangle must not do, whatever the bounds: show less of the person than belongs into it. Besides, it always
// has to hold the whole width of the face.
struct Obstacles {
  bool foot = true;   // reach below the lower end of the person in the photograph
  bool sides = true;  // reach past a side of the photograph where that cuts the person off
  bool top = true;    // reach above the photograph when that cuts the hair off
  bool keep = false;  // reach outside the photograph at all, for its background is kept
};
bool IsClear(const Rectangle& rectangle, const PersonGeometry& person, const Obstacles& obstacles);
// Whether all of the head lies inside: from the top of the hair to the chin, the face to both sides.
bool HoldsHead(const Rectangle& rectangle, const PersonGeometry& person);

// The rectangle of these proportions (width to height), centred on the face, clear of all obstacles, that comes
// nearest to the goals: the sum of the squares of what is missing is least. Nothing when no rectangle that holds the
// whole head is clear.
std::optional<Rectangle> FindNearest(const PersonGeometry& person, const Goals& goals, double proportions,
                                     const Obstacles& obstacles);

}  // namespace qx::photo

#endif  // QX_PHOTO_PLACE_PLACEMENT_H
