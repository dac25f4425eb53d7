// Runs a part of a network on XNNPACK: one thread, all buffers its own.
#ifndef QX_NN_RUNTIME_H
#define QX_NN_RUNTIME_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "nn/model.h"

namespace qx::nn {

// An instance belongs to one thread at a time; distinct instances are independent, and threads may create them at once.
class Runtime {
 public:
  struct Impl;  // the source file's own

  // Builds the operators that lead from the tensors `inputs` to the tensors `outputs` (indices into the model, each
  // named once, none of them a constant). Any tensor may be an input, also one that the network computes; its
  // producer is then not needed. Returns null and says why in `error` when a needed operator is of a kind that is not
  // run, a tensor cannot be reached, or memory is short. The model may be freed afterwards.
  static std::unique_ptr<Runtime> Create(const Model& model, const std::vector<int>& inputs,
                                         const std::vector<int>& outputs, std::string* error);
  ~Runtime();
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  // Buffer of the i-th input, row-major in the model's shape (NHWC), to be filled before Run. Zero at first, and kept
  // from run to run.
  float* Input(size_t i);
  size_t InputSize(size_t i) const;  // number of floats
  // Buffer of the i-th output, valid until the next Run.
  const float* Output(size_t i) const;
  size_t OutputSize(size_t i) const;  // number of floats

  // Computes all outputs. False only when XNNPACK refuses.
  bool Run();

 private:
  explicit Runtime(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace qx::nn

#endif  // QX_NN_RUNTIME_H
