// A network read from the bytes of a .tflite file: tensors, constants and operators, checked and copied out.
#ifndef QX_NN_MODEL_H
#define QX_NN_MODEL_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace qx::nn {

enum class ElementType { kFloat32, kInt32, kOther };

struct Tensor {
  ElementType type = ElementType::kOther;
  std::vector<int> shape;         // every extent 1 or above; at most 6 of them
  std::vector<float> constant;    // values of a float constant (float16 is widened), else empty
  std::vector<int32_t> integers;  // values of an int32 constant, else empty
};

enum class OperatorKind {
  kAdd,                    // inputs: two tensors, broadcast against each other
  kMultiply,               // likewise
  kConvolution,            // inputs: [1,H,W,I], filter [O,h,w,I], bias [O]
  kDepthwiseConvolution,   // inputs: [1,H,W,C], filter [1,h,w,C], bias [C]
  kTransposedConvolution,  // inputs: [1,H,W,I], filter [O,h,w,I], bias [O]; custom "Convolution2DTransposeBias"
  kMaxPool,
  kGlobalAveragePool,  // mean over height and width
  kClamp,
  kPrelu,  // inputs: tensor, slope with one value per channel
  kSigmoid,
  kHardSwish,
  kPad,             // inputs: tensor, int32 [rank][2] zeros before and behind
  kResizeBilinear,  // half-pixel centres
  kReshape,
  kConcatenation,  // not run by Runtime: ask for its inputs and join them
  kCustom,         // not run by Runtime
  kUnsupported     // not run by Runtime
};

enum class Padding { kValid, kSame };

// Fields that a kind does not use keep their defaults.
struct Operator {
  OperatorKind kind = OperatorKind::kUnsupported;
  std::string name;          // of a custom operator; "builtin N" for an unsupported one
  std::vector<int> inputs;   // tensor indices; -1 stands for an input that is left out
  std::vector<int> outputs;  // tensor indices
  Padding padding = Padding::kValid;
  int strideHeight = 1;
  int strideWidth = 1;
  int windowHeight = 1;  // of a pool
  int windowWidth = 1;
  int axis = 0;                                             // of a concatenation
  float minimum = -std::numeric_limits<float>::infinity();  // bounds of every result
  float maximum = std::numeric_limits<float>::infinity();
  std::vector<uint8_t> options;  // bytes of a custom operator's options
};

// Constant after Parse, so that threads may share it.
class Model {
 public:
  struct Impl;  // the source file's own

  // Reads and checks a file image: any bytes are allowed. Returns null and says why in `error` when the file is
  // damaged, indices are out of range, an operator's operands do not fit each other, or limits of size are passed.
  // Operators of kinds that Runtime cannot run are kept with their names, tensors and option bytes. Float16 constants
  // are widened, and the operators that did so in the file are gone.
  static std::unique_ptr<Model> Parse(const uint8_t* data, size_t size, std::string* error);
  ~Model();

  const std::vector<int>& Inputs() const;   // tensor indices
  const std::vector<int>& Outputs() const;  // tensor indices
  const std::vector<Tensor>& Tensors() const;
  const std::vector<Operator>& Operators() const;  // in the order in which they run
  // The operator that computes a tensor, or null when none does (a constant, an input, an index out of range).
  const Operator* Producer(int tensor) const;

 private:
  explicit Model(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace qx::nn

#endif  // QX_NN_MODEL_H
