#include "tests/nn/model_writer.h"

#include <cstring>

namespace qx::nn {
namespace {

using tflite::BuiltinOperator;
using tflite::BuiltinOptions;
using tflite::Padding;
using tflite::TensorType;

size_t Count(const ModelWriter::Shape& shape) {
  size_t count = 1;
  for (const int extent : shape) count *= static_cast<size_t>(extent);
  return count;
}

template <typename T>
std::vector<uint8_t> Bytes(const std::vector<T>& values) {
  std::vector<uint8_t> bytes(values.size() * sizeof(T));
  if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
  return bytes;
}

}  // namespace

ModelWriter::ModelWriter() {
  buffers_.push_back(tflite::CreateBuffer(builder_));
}

int ModelWriter::AddTensor(const Shape& shape, TensorType type, const std::vector<uint8_t>& data) {
  uint32_t buffer = 0;
  if (!data.empty()) {
    buffer = static_cast<uint32_t>(buffers_.size());
    buffers_.push_back(tflite::CreateBufferDirect(builder_, &data));
  }
  tensors_.push_back(tflite::CreateTensorDirect(builder_, &shape, type, buffer));
  return static_cast<int>(tensors_.size()) - 1;
}

int ModelWriter::Value(const Shape& shape) {
  return AddTensor(shape, TensorType::FLOAT32, {});
}

int ModelWriter::Constant(const Shape& shape) {
  std::vector<float> values(Count(shape));
  for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<float>(i * 7 % 11) / 8.0f - 0.5f;
  return AddTensor(shape, TensorType::FLOAT32, Bytes(values));
}

int ModelWriter::HalfConstant(const Shape& shape) {
  std::vector<uint16_t> values(Count(shape));  // from 2^-2 up, both signs
  for (size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<uint16_t>(0x3400u + i % 5 * 0x111u + i % 2 * 0x8000u);
  }
  return AddTensor(shape, TensorType::FLOAT16, Bytes(values));
}

int ModelWriter::Integers(const Shape& shape, const std::vector<int32_t>& values) {
  return AddTensor(shape, TensorType::INT32, Bytes(values));
}

void ModelWriter::AddOperator(BuiltinOperator code, const std::string& name, const std::vector<int>& inputs,
                              const std::vector<int>& outputs, BuiltinOptions type, flatbuffers::Offset<void> options,
                              const std::vector<uint8_t>& customOptions) {
  const int8_t narrow = static_cast<int8_t>(code);
  codes_.push_back(tflite::CreateOperatorCodeDirect(builder_, narrow, name.empty() ? nullptr : name.c_str(), 1, code));
  operators_.push_back(tflite::CreateOperatorDirect(builder_, static_cast<uint32_t>(codes_.size()) - 1, &inputs,
                                                    &outputs, type, options, &customOptions));
}

int ModelWriter::AddWithOptions(BuiltinOperator code, const std::vector<int>& inputs, const Shape& out,
                                BuiltinOptions type, flatbuffers::Offset<void> options) {
  const int output = Value(out);
  AddOperator(code, "", inputs, {output}, type, options, {});
  return output;
}

int ModelWriter::Plain(BuiltinOperator code, const std::vector<int>& inputs, const Shape& out) {
  return AddWithOptions(code, inputs, out, BuiltinOptions::NONE, 0);
}

int ModelWriter::Convolution(int input, int filter, int bias, int stride, Padding padding, const Shape& out) {
  const auto options = tflite::CreateConv2DOptions(builder_, padding, stride, stride);
  return AddWithOptions(BuiltinOperator::CONV_2D, {input, filter, bias}, out, BuiltinOptions::Conv2DOptions,
                        options.Union());
}

int ModelWriter::DepthwiseConvolution(int input, int filter, int bias, int stride, Padding padding, const Shape& out) {
  const auto options =
      tflite::CreateDepthwiseConv2DOptions(builder_, padding, stride, stride, tflite::ActivationFunctionType::RELU6);
  return AddWithOptions(BuiltinOperator::DEPTHWISE_CONV_2D, {input, filter, bias}, out,
                        BuiltinOptions::DepthwiseConv2DOptions, options.Union());
}

int ModelWriter::Pool(BuiltinOperator code, int input, int window, int stride, Padding padding, const Shape& out) {
  const auto options = tflite::CreatePool2DOptions(builder_, padding, stride, stride, window, window);
  return AddWithOptions(code, {input}, out, BuiltinOptions::Pool2DOptions, options.Union());
}

int ModelWriter::Resize(int input, int size, const Shape& out) {
  const auto options = tflite::CreateResizeBilinearOptions(builder_, false, true);
  return AddWithOptions(BuiltinOperator::RESIZE_BILINEAR, {input, size}, out, BuiltinOptions::ResizeBilinearOptions,
                        options.Union());
}

int ModelWriter::Concatenation(const std::vector<int>& inputs, int axis, const Shape& out) {
  const auto options = tflite::CreateConcatenationOptions(builder_, axis);
  return AddWithOptions(BuiltinOperator::CONCATENATION, inputs, out, BuiltinOptions::ConcatenationOptions,
                        options.Union());
}

int ModelWriter::Custom(const std::string& name, const std::vector<int32_t>& options, const std::vector<int>& inputs,
                        const Shape& out) {
  const int output = Value(out);
  AddOperator(BuiltinOperator::CUSTOM, name, inputs, {output}, BuiltinOptions::NONE, 0, Bytes(options));
  return output;
}

int ModelWriter::Widened(const Shape& shape) {
  const int half = HalfConstant(shape);
  return Plain(BuiltinOperator::DEQUANTIZE, {half}, shape);
}

std::vector<uint8_t> ModelWriter::Finish(const std::vector<int>& inputs, const std::vector<int>& outputs) {
  const auto graph = tflite::CreateSubGraphDirect(builder_, &tensors_, &inputs, &outputs, &operators_);
  const std::vector<flatbuffers::Offset<tflite::SubGraph>> graphs = {graph};
  tflite::FinishModelBuffer(builder_, tflite::CreateModelDirect(builder_, 3, &codes_, &graphs, &buffers_));
  return std::vector<uint8_t>(builder_.GetBufferPointer(), builder_.GetBufferPointer() + builder_.GetSize());
}

std::vector<uint8_t> WriteSmallModel() {
  ModelWriter w;
  const int input = w.Value({1, 7, 6, 3});
  const int stem = w.Convolution(input, w.Widened({4, 3, 3, 3}), w.Constant({4}), 2, Padding::SAME, {1, 4, 3, 4});
  const int slope = w.Plain(BuiltinOperator::PRELU, {stem, w.Widened({1, 1, 4})}, {1, 4, 3, 4});
  const int deep =
      w.DepthwiseConvolution(slope, w.Constant({1, 3, 3, 4}), w.Constant({4}), 1, Padding::SAME, {1, 4, 3, 4});
  const int sum = w.Plain(BuiltinOperator::ADD, {deep, stem}, {1, 4, 3, 4});
  const int relu = w.Plain(BuiltinOperator::RELU, {sum}, {1, 4, 3, 4});
  const int pool = w.Pool(BuiltinOperator::MAX_POOL_2D, relu, 2, 2, Padding::SAME, {1, 2, 2, 4});
  const int pads = w.Integers({4, 2}, {0, 0, 1, 0, 0, 1, 0, 2});
  const int pad = w.Plain(BuiltinOperator::PAD, {pool, pads}, {1, 3, 3, 6});
  const int average = w.Pool(BuiltinOperator::AVERAGE_POOL_2D, pad, 3, 3, Padding::VALID, {1, 1, 1, 6});
  const int large = w.Resize(pad, w.Integers({2}, {5, 4}), {1, 5, 4, 6});
  const int swish = w.Plain(BuiltinOperator::HARD_SWISH, {large}, {1, 5, 4, 6});
  const int mean = w.Plain(BuiltinOperator::MEAN, {swish, w.Integers({2}, {1, 2})}, {1, 1, 1, 6});
  const int sigmoid = w.Plain(BuiltinOperator::LOGISTIC, {mean}, {1, 1, 1, 6});
  const int scaled = w.Plain(BuiltinOperator::MUL, {swish, sigmoid}, {1, 5, 4, 6});
  const int limited = w.Plain(BuiltinOperator::RELU6, {scaled}, {1, 5, 4, 6});
  const int mask = w.Custom("Convolution2DTransposeBias", {1, 2, 2},
                            {limited, w.Constant({1, 2, 2, 6}), w.Constant({1})}, {1, 10, 8, 1});
  const int row = w.Plain(BuiltinOperator::RESHAPE, {mask}, {1, 80, 1});
  const int flag = w.Plain(BuiltinOperator::RESHAPE, {sigmoid}, {1, 6, 1});
  const int joined = w.Concatenation({row, flag}, 1, {1, 86, 1});
  const int other = w.Custom("Other", {7}, {row}, {1, 80, 1});
  return w.Finish({input}, {mask, joined, other, average});
}

}  // namespace qx::nn
