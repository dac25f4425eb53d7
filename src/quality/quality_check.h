#ifndef QX_QUALITY_QUALITY_CHECK_H
#define QX_QUALITY_QUALITY_CHECK_H

#include "face/face_record.h"
#include "qx_idp.h"

namespace qx {

// Measures the crop of a single portrait, which must be present. The four scores are each 0 to 100; when memory is
// short the scores that need it are 0.
QualityScores CheckQuality(const FaceRecord& face);

}  // namespace qx

#endif  // QX_QUALITY_QUALITY_CHECK_H
