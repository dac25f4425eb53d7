// Any bytes as a network: parsed, and when they still are a small network, run.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "nn/model.h"
#include "nn/runtime.h"

namespace {

using qx::nn::Model;
using qx::nn::Runtime;

// Whether a run takes about a millisecond at most.
bool IsSmall(const Model& model) {
  size_t count = 0;
  for (const qx::nn::Tensor& tensor : model.Tensors()) {
    size_t elements = 1;
    for (const int extent : tensor.shape) elements *= static_cast<size_t>(extent);
    count += elements;
  }
  return count < 100000 && model.Operators().size() < 100;
}

void RunTo(const Model& model, int output) {
  std::string error;
  const std::unique_ptr<Runtime> runtime = Runtime::Create(model, model.Inputs(), {output}, &error);
  if (runtime == nullptr) {
    if (error.empty()) std::abort();
    return;
  }
  for (size_t i = 0; i < model.Inputs().size(); ++i) {
    for (size_t k = 0; k < runtime->InputSize(i); ++k) runtime->Input(i)[k] = static_cast<float>(k % 17) - 8.0f;
  }
  if (!runtime->Run()) std::abort();
  // Reads every value, so that a buffer of the wrong size is seen.
  volatile float sum = 0;
  for (size_t k = 0; k < runtime->OutputSize(0); ++k) sum = sum + runtime->Output(0)[k];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string error;
  const std::unique_ptr<Model> model = Model::Parse(data, size, &error);
  if (model == nullptr) {
    if (error.empty()) std::abort();
    return 0;
  }
  if (!IsSmall(*model)) return 0;
  for (size_t i = 0; i < std::min<size_t>(model->Outputs().size(), 4); ++i) RunTo(*model, model->Outputs()[i]);
  return 0;
}
