#ifndef QX_API_HANDLE_H
#define QX_API_HANDLE_H

#include "crop/crop_settings.h"
#include "face/face_engine.h"
#include "qx_idp.h"

struct IdpHandle {
  qx::FaceEngine engine;
  qx::CropSettings settings;
};

#endif  // QX_API_HANDLE_H
