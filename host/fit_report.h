// In words: why no rectangle of a photograph meets a document's bounds.
#ifndef QX_HOST_FIT_REPORT_H
#define QX_HOST_FIT_REPORT_H

#include <string>

#include "host/placement.h"

namespace qx::host {

// "head 58 % of the height, wanted 70 to 80 (31.5 to 36 mm)".
std::string MissText(const Miss& miss, const Document& document);
// The same with ": move closer or use --head" or the like behind.
std::string MissAdvice(const Miss& miss, const Document& document);

// One line with the bounds that the nearest rectangle misses, by how much, what in the photograph is to blame, and
// what to do. `nearest`: as FindNearest finds it, not meeting the goals.
std::string NoFitText(const PersonGeometry& person, const Document& document, const Goals& goals,
                      const Obstacles& obstacles, const std::optional<Rectangle>& nearest);

}  // namespace qx::host

#endif  // QX_HOST_FIT_REPORT_H
