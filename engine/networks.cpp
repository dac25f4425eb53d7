#include "engine/networks.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "nn/model.h"

extern "C" {
extern const unsigned char qx_model_face_detection[], qx_model_face_detection_end[];
extern const unsigned char qx_model_face_landmarks[], qx_model_face_landmarks_end[];
}

namespace qx::face {
namespace {

std::unique_ptr<nn::Model> Parse(const unsigned char* begin, const unsigned char* end) {
  std::string error;
  auto model = nn::Model::Parse(begin, static_cast<size_t>(end - begin), &error);
  if (!model) throw NetworkFailure(error);
  return model;
}

std::unique_ptr<nn::Runtime> Part(const nn::Model& model, const std::vector<int>& inputs,
                                  const std::vector<int>& outputs) {
  std::string error;
  auto runtime = nn::Runtime::Create(model, inputs, outputs, &error);
  if (!runtime) throw NetworkFailure(error);
  return runtime;
}

std::unique_ptr<nn::Model> Landmarks() {
  return Parse(qx_model_face_landmarks, qx_model_face_landmarks_end);
}

}  // namespace

void Run(nn::Runtime* network) {
  if (!network->Run()) throw NetworkFailure("a network cannot be run");
}

std::unique_ptr<DetectionNetwork> DetectionNetwork::Load() {
  const auto model = Parse(qx_model_face_detection, qx_model_face_detection_end);
  auto loaded = std::make_unique<DetectionNetwork>();
  loaded->network = Part(*model, model->Inputs(), model->Outputs());
  return loaded;
}

std::unique_ptr<MeshNetwork> MeshNetwork::Load() {
  constexpr int kImage = 0, kMesh = 186, kMap = 35, kPresence = 710;
  const auto model = Landmarks();
  auto loaded = std::make_unique<MeshNetwork>();
  loaded->network = Part(*model, {kImage}, {kMesh, kMap, kPresence});
  return loaded;
}

std::unique_ptr<RefiningNetworks> RefiningNetworks::Load() {
  const auto model = Landmarks();
  auto loaded = std::make_unique<RefiningNetworks>();
  loaded->lips = Part(*model, {199}, {684});
  loaded->leftEye = Part(*model, {200}, {687, 690});
  loaded->rightEye = Part(*model, {201}, {693, 696});
  return loaded;
}

}  // namespace qx::face
