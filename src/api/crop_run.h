#ifndef QX_API_CROP_RUN_H
#define QX_API_CROP_RUN_H

#include <cstdint>

#include "base/image_view.h"
#include "face/face_engine.h"

struct IDPResult;

namespace qx {

// Finds and describes the faces of a photograph and cuts their crops into the result, whose mode and settings are set
// and which holds no faces yet. Returns the status of QX_IDP_RoughCrop after its checks.
int32_t RunCrop(const ImageView& photograph, FaceEngine* engine, IDPResult* result);

}  // namespace qx

#endif  // QX_API_CROP_RUN_H
