// What one document asks beyond the general limits, and what it lets pass.
#ifndef QX_PHOTO_CHECK_DOCUMENT_RULES_H
#define QX_PHOTO_CHECK_DOCUMENT_RULES_H

#include "photo/check/measure.h"
#include "photo/check/measures.h"

namespace qx::photo {

// Brings what was measured by the general limits under the document's: a smile that it takes is only shown, glasses
// that it takes none of are named as not seen, small children are exempt from pose, gaze and expression, and a face
// whose pixels its own size decides is not too small. A limit whose reason is the authority's has its page as source.
void HoldToDocument(const MeasureOptions& options, MeasureList* list);

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_DOCUMENT_RULES_H
