#ifndef QX_QUALITY_FACE_FRAME_H
#define QX_QUALITY_FACE_FRAME_H

#include <cstdint>

#include "face/face_record.h"

namespace qx {

// The upright frame of a face in its crop, between the outer eye corners A, B and the mouth corners E, F.
struct FaceFrame {
  double width;            // W: distance of A and B
  double height;           // H: from the middle of A and B down to the middle of E and F
  double sine, cosine;     // of the face's tilt
  int32_t centreX;         // between A and B
  int32_t eyeY;            // between A and B
  int32_t mouthX, mouthY;  // between E and F
  int32_t centreY;         // between the middle of B and F and the middle of A and E
};

FaceFrame BuildFaceFrame(const FaceRecord& face);

}  // namespace qx

#endif  // QX_QUALITY_FACE_FRAME_H
