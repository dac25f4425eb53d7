// In words: why no rectangle of a photograph meets a document's bounds.
#ifndef QX_PHOTO_PLACE_FIT_REPORT_H
#define QX_PHOTO_PLACE_FIT_REPORT_H

#include <string>
#include <vector>

#include "photo/base/failure.h"
#include "photo/place/placement.h"

namespace qx::photo {

// "head to the crown 58 % of the height, wanted 70 to 80 (31.5 to 36 mm)".
std::string MissText(const Miss& miss, const Document& document);
// The same with ": move closer" or the like behind, where the person can do something.
std::string MissAdvice(const Miss& miss, const Document& document);

// "head", "top", "eyes" or "face_width".
const char* NameOf(Miss::Bound bound);

// kNoFit. The text: one line with the bounds that the nearest rectangle misses, by how much, what in the photograph is
// to blame, and what to do. `nearest`: as FindNearest finds it, not meeting the goals.
Failure NoFit(const PersonGeometry& person, const Document& document, const Goals& goals, const Obstacles& obstacles,
              const std::optional<Rectangle>& nearest);

// kNoFit, of a rectangle that was asked for and misses these bounds. `serves`: it can be taken all the same.
Failure LeavesBounds(const std::vector<Miss>& misses, const Document& document, bool serves);

// What a rectangle that was asked for must not show, or not leave out; empty when it may be taken.
std::string Hindrance(const Rectangle& rectangle, const PersonGeometry& person, const Obstacles& obstacles);
// kNoFit for such a hindrance.
Failure Hindered(const std::string& hindrance);

}  // namespace qx::photo

#endif  // QX_PHOTO_PLACE_FIT_REPORT_H
