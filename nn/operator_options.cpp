#include "nn/operator_options.h"

#include <cstddef>
#include <cstring>

namespace qx::nn {
namespace {

using tflite::ActivationFunctionType;
using tflite::BuiltinOperator;

void SetBounds(float minimum, float maximum, Operator* out) {
  out->minimum = minimum;
  out->maximum = maximum;
}

constexpr float kUnbounded = std::numeric_limits<float>::infinity();

// False for an activation that is not known.
bool SetActivation(ActivationFunctionType activation, Operator* out) {
  switch (activation) {
    case ActivationFunctionType::NONE: return true;
    case ActivationFunctionType::RELU: SetBounds(0, kUnbounded, out); return true;
    case ActivationFunctionType::RELU_N1_TO_1: SetBounds(-1, 1, out); return true;
    case ActivationFunctionType::RELU6: SetBounds(0, 6, out); return true;
    default: return false;
  }
}

// Padding, stride and activation, which convolutions and pools share. False for values that are not known.
template <typename Options>
bool SetWindow(const Options& options, Operator* out) {
  if (options.padding() != tflite::Padding::SAME && options.padding() != tflite::Padding::VALID) return false;
  out->padding = options.padding() == tflite::Padding::SAME ? Padding::kSame : Padding::kValid;
  out->strideHeight = options.stride_h();
  out->strideWidth = options.stride_w();
  return SetActivation(options.fused_activation_function(), out);
}

template <typename Options>
bool SetConvolution(const Options* options, Operator* out) {
  return options != nullptr && options->dilation_h_factor() == 1 && options->dilation_w_factor() == 1 &&
         SetWindow(*options, out);
}

// A sum or product without options has no activation.
template <typename Options>
bool SetArithmetic(const Options* options, Operator* out) {
  return options == nullptr || SetActivation(options->fused_activation_function(), out);
}

const Tensor* Operand(const std::vector<Tensor>& tensors, const std::vector<int>& indices, size_t i) {
  return i < indices.size() && indices[i] >= 0 ? &tensors[static_cast<size_t>(indices[i])] : nullptr;
}

bool SetMaxPool(const tflite::Pool2DOptions* options, Operator* out) {
  if (options == nullptr || !SetWindow(*options, out)) return false;
  out->windowHeight = options->filter_height();
  out->windowWidth = options->filter_width();
  return true;
}

// An average pool is run when its one window is the whole picture.
bool SetAveragePool(const tflite::Pool2DOptions* options, const std::vector<Tensor>& tensors, Operator* out) {
  if (options == nullptr || !SetWindow(*options, out)) return false;
  const Tensor* from = Operand(tensors, out->inputs, 0);
  const Tensor* to = Operand(tensors, out->outputs, 0);
  if (from == nullptr || to == nullptr || from->shape.size() != 4 || to->shape.size() != 4) return false;
  return options->filter_height() == from->shape[1] && options->filter_width() == from->shape[2] && to->shape[1] == 1 &&
         to->shape[2] == 1;
}

// A mean is run when it goes over height and width.
bool SetMean(const std::vector<Tensor>& tensors, const Operator& op) {
  const Tensor* from = Operand(tensors, op.inputs, 0);
  const Tensor* axes = Operand(tensors, op.inputs, 1);
  if (from == nullptr || axes == nullptr || from->shape.size() != 4) return false;
  return axes->integers == std::vector<int32_t>{1, 2} || axes->integers == std::vector<int32_t>{2, 1};
}

bool SetConcatenation(const tflite::ConcatenationOptions* options, Operator* out) {
  if (options == nullptr) return false;
  out->axis = options->axis();
  return SetActivation(options->fused_activation_function(), out);
}

// Other centres than the half-pixel ones place the values elsewhere.
bool IsHalfPixel(const tflite::ResizeBilinearOptions* options) {
  return options != nullptr && options->half_pixel_centers() && !options->align_corners();
}

}  // namespace

void ReadBuiltinOptions(int32_t code, const tflite::Operator& op, const std::vector<Tensor>& tensors, Operator* out) {
  const auto setIf = [out](bool isKnown, OperatorKind kind) {
    if (isKnown) out->kind = kind;
  };
  switch (static_cast<BuiltinOperator>(code)) {
    case BuiltinOperator::ADD: setIf(SetArithmetic(op.builtin_options_as_AddOptions(), out), OperatorKind::kAdd); break;
    case BuiltinOperator::MUL:
      setIf(SetArithmetic(op.builtin_options_as_MulOptions(), out), OperatorKind::kMultiply);
      break;
    case BuiltinOperator::CONV_2D:
      setIf(SetConvolution(op.builtin_options_as_Conv2DOptions(), out), OperatorKind::kConvolution);
      break;
    case BuiltinOperator::DEPTHWISE_CONV_2D:
      setIf(SetConvolution(op.builtin_options_as_DepthwiseConv2DOptions(), out), OperatorKind::kDepthwiseConvolution);
      break;
    case BuiltinOperator::MAX_POOL_2D:
      setIf(SetMaxPool(op.builtin_options_as_Pool2DOptions(), out), OperatorKind::kMaxPool);
      break;
    case BuiltinOperator::AVERAGE_POOL_2D:
      setIf(SetAveragePool(op.builtin_options_as_Pool2DOptions(), tensors, out), OperatorKind::kGlobalAveragePool);
      break;
    case BuiltinOperator::MEAN: setIf(SetMean(tensors, *out), OperatorKind::kGlobalAveragePool); break;
    case BuiltinOperator::CONCATENATION:
      setIf(SetConcatenation(op.builtin_options_as_ConcatenationOptions(), out), OperatorKind::kConcatenation);
      break;
    case BuiltinOperator::RESIZE_BILINEAR:
      setIf(IsHalfPixel(op.builtin_options_as_ResizeBilinearOptions()), OperatorKind::kResizeBilinear);
      break;
    case BuiltinOperator::RELU: setIf(SetActivation(ActivationFunctionType::RELU, out), OperatorKind::kClamp); break;
    case BuiltinOperator::RELU6: setIf(SetActivation(ActivationFunctionType::RELU6, out), OperatorKind::kClamp); break;
    case BuiltinOperator::LOGISTIC: setIf(true, OperatorKind::kSigmoid); break;
    case BuiltinOperator::HARD_SWISH: setIf(true, OperatorKind::kHardSwish); break;
    case BuiltinOperator::PRELU: setIf(true, OperatorKind::kPrelu); break;
    case BuiltinOperator::RESHAPE: setIf(true, OperatorKind::kReshape); break;
    case BuiltinOperator::PAD: setIf(true, OperatorKind::kPad); break;
    default: break;
  }
}

void ReadCustomOptions(Operator* out) {
  out->kind = OperatorKind::kCustom;
  int32_t values[3];  // padding (1 is same-size), stride along the width, stride along the height
  if (out->name != "Convolution2DTransposeBias" || out->options.size() != sizeof values) return;
  std::memcpy(values, out->options.data(), sizeof values);
  if (values[0] != 1) return;
  out->kind = OperatorKind::kTransposedConvolution;
  out->padding = Padding::kSame;
  out->strideWidth = values[1];
  out->strideHeight = values[2];
}

}  // namespace qx::nn
