// The networks that are embedded in the library, ready to run.
#ifndef QX_ENGINE_NETWORKS_H
#define QX_ENGINE_NETWORKS_H

#include <memory>
#include <stdexcept>

#include "nn/runtime.h"

namespace qx::face {

// A network cannot be made or run: memory is short, or the processor is none that is supported.
struct NetworkFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Computes the outputs from the inputs. Throws NetworkFailure.
void Run(nn::Runtime* network);

// Load() of each throws NetworkFailure or std::bad_alloc. The tensors are numbered as in the model files.

struct DetectionNetwork {
  static std::unique_ptr<DetectionNetwork> Load();

  // Input 192 x 192 x 3, -1 to 1. Outputs: 0 boxes and points of the anchors, 1 logits of their scores.
  std::unique_ptr<nn::Runtime> network;
};

// The face mesh.
struct MeshNetwork {
  static std::unique_ptr<MeshNetwork> Load();

  // Input 192 x 192 x 3, 0 to 1. Outputs: mesh, feature map, logit of presence.
  std::unique_ptr<nn::Runtime> network;
};

// The parts that look closer at a mesh. Input 16 x 16 x 32 of the feature map; output 0: the part's
// points; of an eye also output 1: the five points of its iris.
struct RefiningNetworks {
  static std::unique_ptr<RefiningNetworks> Load();

  std::unique_ptr<nn::Runtime> lips;      // 80 points
  std::unique_ptr<nn::Runtime> leftEye;   // 71 points
  std::unique_ptr<nn::Runtime> rightEye;  // 71 points
};

}  // namespace qx::face

#endif  // QX_ENGINE_NETWORKS_H
