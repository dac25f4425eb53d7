#include "nn/operator_check.h"

#include <algorithm>
#include <cstddef>

#include "nn/limits.h"

namespace qx::nn {
namespace {

int64_t RoundUp(int64_t value, int64_t step) {
  return (value + step - 1) / step * step;
}

// One operator with its tensors at hand. Every check returns null when it is met, else what is wrong.
class Checker {
 public:
  Checker(const Operator& op, const std::vector<Tensor>& tensors, Cost* cost)
      : op_(op), tensors_(tensors), cost_(*cost) {}

  const char* Check() {
    if (const char* wrong = CheckOperands()) return wrong;
    const char* wrong = CheckKind();
    if (wrong != nullptr) return wrong;
    if (cost_.windowTaps > kMaxWindowTaps || cost_.packedWeights > kMaxPackedWeights ||
        cost_.multiplications > kMaxMultiplications) {
      return "the network is too costly";
    }
    return nullptr;
  }

 private:
  size_t OperandCount() const {
    switch (op_.kind) {
      case OperatorKind::kConvolution:
      case OperatorKind::kDepthwiseConvolution:
      case OperatorKind::kTransposedConvolution: return 3;
      case OperatorKind::kAdd:
      case OperatorKind::kMultiply:
      case OperatorKind::kPrelu:
      case OperatorKind::kPad:
      case OperatorKind::kResizeBilinear: return 2;
      default: return 1;
    }
  }

  const char* CheckOperands() const {
    const size_t count = OperandCount();
    // Pools name their axes and reshapes their shape in a second input, which the output's shape repeats.
    const bool mayRepeatShape = op_.kind == OperatorKind::kReshape || op_.kind == OperatorKind::kGlobalAveragePool;
    if (op_.inputs.size() != count && !(mayRepeatShape && op_.inputs.size() == 2)) return "wrong number of inputs";
    if (op_.outputs.size() != 1) return "wrong number of outputs";
    for (size_t i = 0; i < count; ++i) {
      if (op_.inputs[i] < 0) return "an input is left out";
      const bool isInteger = i == 1 && (op_.kind == OperatorKind::kPad || op_.kind == OperatorKind::kResizeBilinear);
      const Tensor& tensor = Input(i);
      if (isInteger ? tensor.integers.empty() : tensor.type != ElementType::kFloat32) return "an input of a wrong type";
      if (tensor.shape.empty()) return "an input without a shape";
    }
    if (Output().type != ElementType::kFloat32 || Output().shape.empty()) return "an output of a wrong type";
    if (!(op_.minimum < op_.maximum)) return "empty range of results";
    return nullptr;
  }

  const char* CheckKind() {
    switch (op_.kind) {
      case OperatorKind::kAdd:
      case OperatorKind::kMultiply: return CheckBroadcast();
      case OperatorKind::kConvolution: return CheckConvolution();
      case OperatorKind::kDepthwiseConvolution: return CheckDepthwiseConvolution();
      case OperatorKind::kTransposedConvolution: return CheckTransposedConvolution();
      case OperatorKind::kMaxPool: return CheckMaxPool();
      case OperatorKind::kGlobalAveragePool: return CheckGlobalAveragePool();
      case OperatorKind::kPrelu: return CheckPrelu();
      case OperatorKind::kPad: return CheckPad();
      case OperatorKind::kResizeBilinear: return CheckResize();
      case OperatorKind::kReshape:
        return ElementCount(Input(0)) == ElementCount(Output()) ? nullptr : "reshape to another size";
      case OperatorKind::kClamp:
      case OperatorKind::kSigmoid:
      case OperatorKind::kHardSwish: return Input(0).shape == Output().shape ? nullptr : "output of another shape";
      default: return "an operator that is not run";
    }
  }

  const char* CheckBroadcast() const {
    const std::vector<int>& a = Input(0).shape;
    const std::vector<int>& b = Input(1).shape;
    std::vector<int> shape(std::max(a.size(), b.size()));
    for (size_t i = 1; i <= shape.size(); ++i) {  // from the last extent on
      const int extentA = i <= a.size() ? a[a.size() - i] : 1;
      const int extentB = i <= b.size() ? b[b.size() - i] : 1;
      if (extentA != extentB && extentA != 1 && extentB != 1) return "inputs that do not broadcast";
      shape[shape.size() - i] = std::max(extentA, extentB);
    }
    return shape == Output().shape ? nullptr : "output of another shape";
  }

  // Input and output are one picture each; the window slides by the stride over it.
  const char* CheckWindow(int windowHeight, int windowWidth) {
    if (!IsPicture(Input(0)) || !IsPicture(Output())) return "not a [1,H,W,C] tensor";
    if (!IsExtent(windowHeight) || !IsExtent(windowWidth)) return "window out of range";
    if (!IsExtent(op_.strideHeight) || !IsExtent(op_.strideWidth)) return "stride out of range";
    if (Output().shape[1] != Slides(Input(0).shape[1], windowHeight, op_.strideHeight) ||
        Output().shape[2] != Slides(Input(0).shape[2], windowWidth, op_.strideWidth)) {
      return "output of another size than the window gives";
    }
    // A stride beyond the window costs as much index space as a window of that size.
    return AddTaps(std::max(windowHeight, op_.strideHeight), std::max(windowWidth, op_.strideWidth));
  }

  const char* AddTaps(int64_t windowHeight, int64_t windowWidth) {
    const int64_t pixels = ElementCount(Output()) / Output().shape[3];
    cost_.windowTaps +=
        pixels * windowHeight > kMaxWindowTaps ? kMaxWindowTaps + 1 : pixels * windowHeight * windowWidth;
    return cost_.windowTaps > kMaxWindowTaps ? "window too large" : nullptr;
  }

  // How many positions the window takes; 0 when it does not fit.
  int Slides(int extent, int window, int stride) const {
    if (op_.padding == Padding::kSame) return (extent + stride - 1) / stride;
    return extent < window ? 0 : (extent - window) / stride + 1;
  }

  // Filter [outputs,h,w,inputs] and bias [outputs], both constant. `outputs` and `inputs` are at most the two tensors'
  // elements, so that the products below are in range once the filter's shape has been met.
  const char* CheckWeights(int outputs, int inputs, int64_t packed, int64_t perElement) {
    const Tensor& filter = Input(1);
    const Tensor& bias = Input(2);
    if (filter.constant.empty() || bias.constant.empty()) return "weights that are not constant";
    if (filter.shape.size() != 4 || filter.shape[0] != outputs || filter.shape[3] != inputs) {
      return "filter of another shape";
    }
    if (bias.shape.size() != 1 || bias.shape[0] != Output().shape[3]) return "bias of another shape";
    cost_.packedWeights += packed;
    // At most 2^25 elements times 2^25 weights.
    cost_.multiplications += ElementCount(Output()) * perElement;
    return cost_.multiplications > kMaxMultiplications ? "convolution too large" : nullptr;
  }

  const char* CheckConvolution() {
    if (Input(1).shape.size() != 4) return "filter of another shape";
    const int height = Input(1).shape[1];
    const int width = Input(1).shape[2];
    if (const char* wrong = CheckWindow(height, width)) return wrong;
    const int64_t inputs = Input(0).shape[3];
    const int64_t area = int64_t{height} * width;  // at most the filter's elements
    const int outputs = Output().shape[3];
    return CheckWeights(outputs, Input(0).shape[3], RoundUp(outputs, 16) * area * RoundUp(inputs, 4), area * inputs);
  }

  const char* CheckDepthwiseConvolution() {
    if (Input(1).shape.size() != 4) return "filter of another shape";
    const int height = Input(1).shape[1];
    const int width = Input(1).shape[2];
    if (const char* wrong = CheckWindow(height, width)) return wrong;
    const int64_t area = int64_t{height} * width;
    if (area > kMaxDepthwiseWindow) return "depthwise window too large";
    const int channels = Input(0).shape[3];
    if (Output().shape[3] != channels) return "depthwise convolution that changes the channels";
    return CheckWeights(1, channels, RoundUp(channels, 16) * kMaxDepthwiseWindow, area);
  }

  const char* CheckTransposedConvolution() {
    const Tensor& filter = Input(1);
    if (!IsPicture(Input(0)) || !IsPicture(Output())) return "not a [1,H,W,C] tensor";
    if (filter.shape.size() != 4) return "filter of another shape";
    if (!IsExtent(op_.strideHeight) || !IsExtent(op_.strideWidth)) return "stride out of range";
    if (int64_t{Input(0).shape[1]} * op_.strideHeight != Output().shape[1] ||
        int64_t{Input(0).shape[2]} * op_.strideWidth != Output().shape[2]) {
      return "output of another size than the stride gives";
    }
    const int height = filter.shape[1];
    const int width = filter.shape[2];
    if (const char* wrong = AddTaps(std::max(height, op_.strideHeight), std::max(width, op_.strideWidth))) return wrong;
    const int64_t inputs = Input(0).shape[3];
    const int64_t area = int64_t{height} * width;
    const int outputs = Output().shape[3];
    return CheckWeights(outputs, Input(0).shape[3], RoundUp(outputs, 16) * area * RoundUp(inputs, 4), area * inputs);
  }

  const char* CheckMaxPool() {
    if (const char* wrong = CheckWindow(op_.windowHeight, op_.windowWidth)) return wrong;
    if (Input(0).shape[3] != Output().shape[3]) return "pool that changes the channels";
    // With same-size padding every window must still touch the picture; a window up to its size always does.
    if (op_.windowHeight > Input(0).shape[1] || op_.windowWidth > Input(0).shape[2]) return "window larger than input";
    cost_.multiplications += ElementCount(Output()) * op_.windowHeight * op_.windowWidth;
    return nullptr;
  }

  const char* CheckGlobalAveragePool() {
    if (!IsPicture(Input(0))) return "not a [1,H,W,C] tensor";
    const int channels = Input(0).shape[3];
    if (channels > kMaxPooledChannels) return "pool over too many channels";
    if (ElementCount(Output()) != channels || Output().shape.back() != channels) return "output of another shape";
    cost_.multiplications += ElementCount(Input(0));
    return nullptr;
  }

  const char* CheckPrelu() const {
    const Tensor& slope = Input(1);
    const int channels = Input(0).shape.back();
    if (slope.constant.empty()) return "slope that is not constant";
    if (ElementCount(slope) != channels || slope.shape.back() != channels) return "slope of another shape";
    return Input(0).shape == Output().shape ? nullptr : "output of another shape";
  }

  const char* CheckPad() const {
    const std::vector<int>& from = Input(0).shape;
    const std::vector<int>& to = Output().shape;
    const std::vector<int32_t>& pads = Input(1).integers;
    if (pads.size() != 2 * from.size() || to.size() != from.size()) return "paddings of another shape";
    for (size_t i = 0; i < from.size(); ++i) {
      const int64_t before = pads[2 * i];
      const int64_t behind = pads[2 * i + 1];
      if (before < 0 || behind < 0 || before + from[i] + behind != to[i]) return "paddings that do not give the output";
    }
    return nullptr;
  }

  const char* CheckResize() {
    const Tensor& from = Input(0);
    const Tensor& to = Output();
    const std::vector<int32_t>& size = Input(1).integers;
    if (!IsPicture(from) || !IsPicture(to)) return "not a [1,H,W,C] tensor";
    if (size.size() != 2 || size[0] != to.shape[1] || size[1] != to.shape[2] || from.shape[3] != to.shape[3]) {
      return "output of another shape";
    }
    return AddTaps(2, 2);
  }

  static bool IsPicture(const Tensor& tensor) { return tensor.shape.size() == 4 && tensor.shape[0] == 1; }
  static bool IsExtent(int value) { return value >= 1 && value <= kMaxExtent; }
  const Tensor& Input(size_t i) const { return tensors_[static_cast<size_t>(op_.inputs[i])]; }
  const Tensor& Output() const { return tensors_[static_cast<size_t>(op_.outputs[0])]; }

  const Operator& op_;
  const std::vector<Tensor>& tensors_;
  Cost& cost_;
};

}  // namespace

int64_t ElementCount(const Tensor& tensor) {
  int64_t count = 1;
  for (const int extent : tensor.shape) count *= extent;
  return count;
}

bool CheckOperator(const Operator& op, const std::vector<Tensor>& tensors, Cost* cost, std::string* error) {
  const char* wrong = Checker(op, tensors, cost).Check();
  if (wrong == nullptr) return true;
  *error = wrong;
  return false;
}

}  // namespace qx::nn
