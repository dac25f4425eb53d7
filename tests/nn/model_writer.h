// Writes small .tflite files, right or wrong as the caller has it.
#ifndef QX_TESTS_NN_MODEL_WRITER_H
#define QX_TESTS_NN_MODEL_WRITER_H

#include <cstdint>
#include <string>
#include <vector>

#include "tflite_generated.h"

namespace qx::nn {

class ModelWriter {
 public:
  using Shape = std::vector<int>;

  ModelWriter();

  // Tensors; each returns its index. Constants repeat a short row of values.
  int Value(const Shape& shape);
  int Constant(const Shape& shape);
  int HalfConstant(const Shape& shape);
  int Integers(const Shape& shape, const std::vector<int32_t>& values);
  int AddTensor(const Shape& shape, tflite::TensorType type, const std::vector<uint8_t>& data);

  // Operators; `out` is the output's shape, and its index is returned.
  int Plain(tflite::BuiltinOperator code, const std::vector<int>& inputs, const Shape& out);
  int Convolution(int input, int filter, int bias, int stride, tflite::Padding padding, const Shape& out);
  int DepthwiseConvolution(int input, int filter, int bias, int stride, tflite::Padding padding, const Shape& out);
  int Pool(tflite::BuiltinOperator code, int input, int window, int stride, tflite::Padding padding, const Shape& out);
  int Resize(int input, int size, const Shape& out);
  int Concatenation(const std::vector<int>& inputs, int axis, const Shape& out);
  int Custom(const std::string& name, const std::vector<int32_t>& options, const std::vector<int>& inputs,
             const Shape& out);
  // A float constant that the file stores as float16.
  int Widened(const Shape& shape);
  void AddOperator(tflite::BuiltinOperator code, const std::string& name, const std::vector<int>& inputs,
                   const std::vector<int>& outputs, tflite::BuiltinOptions type, flatbuffers::Offset<void> options,
                   const std::vector<uint8_t>& customOptions);

  std::vector<uint8_t> Finish(const std::vector<int>& inputs, const std::vector<int>& outputs);

 private:
  int AddWithOptions(tflite::BuiltinOperator code, const std::vector<int>& inputs, const Shape& out,
                     tflite::BuiltinOptions type, flatbuffers::Offset<void> options);

  flatbuffers::FlatBufferBuilder builder_;
  std::vector<flatbuffers::Offset<tflite::Buffer>> buffers_;
  std::vector<flatbuffers::Offset<tflite::Tensor>> tensors_;
  std::vector<flatbuffers::Offset<tflite::OperatorCode>> codes_;
  std::vector<flatbuffers::Offset<tflite::Operator>> operators_;
};

// A network of some kilobytes with every operator that is run, and one each that is not.
std::vector<uint8_t> WriteSmallModel();

}  // namespace qx::nn

#endif  // QX_TESTS_NN_MODEL_WRITER_H
