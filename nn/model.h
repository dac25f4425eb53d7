// A network read from the bytes of a .tflite file: tensors, constants and operators, checked and copied out.
#ifndef QX_NN_MODEL_H
#define QX_NN_MODEL_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qx::nn {

struct Tensor {
  std::vector<int> shape;         // every extent 1 or above
  std::vector<float> constant;    // values of a float constant (float16 is widened), else empty
  std::vector<int32_t> integers;  // values of an int32 constant, else empty
};

// An operator as the runtime needs it; options that a kind does not use keep their defaults.
struct Operator;

class Model {
 public:
  // Reads and checks a file image: any bytes are allowed. Returns null and says why in `error` when the file is
  // damaged, has operators, types or shapes that are not supported, or indices out of range.
  static std::unique_ptr<Model> Parse(const uint8_t* data, size_t size, std::string* error);
  ~Model();

  const std::vector<int>& Inputs() const;   // tensor indices
  const std::vector<int>& Outputs() const;  // tensor indices
  const std::vector<Tensor>& Tensors() const;
  const std::vector<Operator>& Operators() const;  // in the order in which they run

 private:
  struct Impl;
  explicit Model(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace qx::nn

#endif  // QX_NN_MODEL_H
