#include "engine/networks.h"

#include <cstddef>
#include <string>
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
  return nn::Model::Parse(begin, static_cast<size_t>(end - begin), &error);
}

std::unique_ptr<nn::Runtime> Part(const nn::Model& model, const std::vector<int>& inputs,
                                  const std::vector<int>& outputs) {
  std::string error;
  return nn::Runtime::Create(model, inputs, outputs, &error);
}

}  // namespace

std::unique_ptr<nn::Runtime> LoadFaceDetection() {
  const auto model = Parse(qx_model_face_detection, qx_model_face_detection_end);
  return model ? Part(*model, model->Inputs(), model->Outputs()) : nullptr;
}

bool LoadLandmarks(LandmarkDetail detail, LandmarkParts* parts) {
  const auto model = Parse(qx_model_face_landmarks, qx_model_face_landmarks_end);
  if (!model) return false;
  constexpr int kImage = 0, kMesh = 186, kMap = 35, kPresence = 710;
  parts->base = Part(*model, {kImage}, {kMesh, kMap, kPresence});
  if (detail == LandmarkDetail::kBase) return parts->base != nullptr;
  parts->lips = Part(*model, {199}, {684});
  parts->leftEye = Part(*model, {200}, {687});
  parts->rightEye = Part(*model, {201}, {693});
  return parts->base && parts->lips && parts->leftEye && parts->rightEye;
}

}  // namespace qx::face
