#ifndef QX_QUALITY_BACKGROUND_SCORE_H
#define QX_QUALITY_BACKGROUND_SCORE_H

#include <cstdint>

#include "face/face_record.h"
#include "quality/face_frame.h"

namespace qx {

// 0 to 100: up to 50 for how uniform the two patches beside the head are, up to 50 for how far the patch below the
// face stands apart from them.
int32_t BackgroundScore(const FaceRecord& face, const FaceFrame& frame);

}  // namespace qx

#endif  // QX_QUALITY_BACKGROUND_SCORE_H
