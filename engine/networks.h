// The networks that are embedded in the library, ready to run.
#ifndef QX_ENGINE_NETWORKS_H
#define QX_ENGINE_NETWORKS_H

#include <memory>

#include "nn/runtime.h"

namespace qx::face {

// Each returns null when its network cannot be loaded or memory is short. The tensors are numbered as in the model
// files.

// Input 192 x 192 x 3, -1 to 1. Outputs: 0 boxes and points of the anchors, 1 logits of their scores.
std::unique_ptr<nn::Runtime> LoadFaceDetection();

// The face mesh, in four parts.
struct LandmarkParts {
  std::unique_ptr<nn::Runtime> base;      // 192 x 192 x 3, 0 to 1; outputs: mesh, feature map, logit of presence
  std::unique_ptr<nn::Runtime> lips;      // 16 x 16 x 32 of the feature map; output: 80 points
  std::unique_ptr<nn::Runtime> leftEye;   // likewise, 71 points
  std::unique_ptr<nn::Runtime> rightEye;  // likewise, 71 points
};

enum class LandmarkDetail {
  kBase,  // only the base part
  kFull,
};

// False when a part that is asked for cannot be loaded.
bool LoadLandmarks(LandmarkDetail detail, LandmarkParts* parts);

}  // namespace qx::face

#endif  // QX_ENGINE_NETWORKS_H
