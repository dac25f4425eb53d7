// Sizes of photo paper.
#ifndef QX_PHOTO_DOCUMENT_PAPER_H
#define QX_PHOTO_DOCUMENT_PAPER_H

#include <string_view>

#include "photo/document/units.h"

namespace qx::photo {

// "A4" (A3 to A7), "letter", "4x6" (inches: 3.5x5, 4x6, 5x7, 6x8, 8x10 in either order) or any size with its unit:
// "10x15cm", "100x150mm", "4x6in"; letters in either case. In millimetres. Throws Failure.
Size ParsePaper(std::string_view text);

}  // namespace qx::photo

#endif  // QX_PHOTO_DOCUMENT_PAPER_H
