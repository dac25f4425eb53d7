#include "tests/nn/naive_interpreter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace qx::nn {
namespace {

using Values = std::vector<float>;

size_t Count(const std::vector<int>& shape) {
  size_t count = 1;
  for (const int extent : shape) count *= static_cast<size_t>(extent);
  return count;
}

// A [1,H,W,C] tensor, zero outside.
struct Picture {
  int height, width, channels;
  const Values* values;
  Picture(const Tensor& tensor, const Values& v)
      : height(tensor.shape[1]), width(tensor.shape[2]), channels(tensor.shape[3]), values(&v) {}
  bool Holds(int y, int x) const { return y >= 0 && y < height && x >= 0 && x < width; }
  const float* Pixel(int y, int x) const { return values->data() + (int64_t{y} * width + x) * channels; }
  float At(int y, int x, int c) const { return Pixel(y, x)[c]; }
};

// Rows or columns before the picture that a sliding window begins at.
int Before(const Operator& op, int extent, int window, int stride) {
  if (op.padding == Padding::kValid) return 0;
  const int steps = (extent + stride - 1) / stride;
  return std::max((steps - 1) * stride + window - extent, 0) / 2;
}

class Interpreter {
 public:
  Interpreter(const Model& model, const Operator& op, const TensorValues& values)
      : model_(model), op_(op), values_(values), out_(Count(Shape(op.outputs[0]))) {}

  // False when the kind is not known here.
  bool Compute() {
    switch (op_.kind) {
      case OperatorKind::kAdd:
      case OperatorKind::kMultiply: Broadcast(); break;
      case OperatorKind::kConvolution:
      case OperatorKind::kDepthwiseConvolution: Convolve(); break;
      case OperatorKind::kTransposedConvolution: ConvolveTransposed(); break;
      case OperatorKind::kMaxPool: MaxPool(); break;
      case OperatorKind::kGlobalAveragePool: Average(); break;
      case OperatorKind::kPad: Pad(); break;
      case OperatorKind::kResizeBilinear: Resize(); break;
      case OperatorKind::kPrelu: Prelu(); break;
      case OperatorKind::kClamp:
      case OperatorKind::kReshape: out_ = In(0); break;
      case OperatorKind::kSigmoid: Map([](double x) { return 1 / (1 + std::exp(-x)); }); break;
      case OperatorKind::kHardSwish: Map([](double x) { return x * std::clamp(x + 3, 0.0, 6.0) / 6; }); break;
      default: return false;
    }
    for (float& value : out_) value = std::clamp(value, op_.minimum, op_.maximum);
    return true;
  }
  Values Take() { return std::move(out_); }

 private:
  const std::vector<int>& Shape(int tensor) const { return TensorOf(tensor).shape; }
  const Tensor& TensorOf(int tensor) const { return model_.Tensors()[static_cast<size_t>(tensor)]; }
  const Values& In(size_t i) const {
    const Tensor& tensor = TensorOf(op_.inputs[i]);
    return tensor.constant.empty() ? values_.at(op_.inputs[i]) : tensor.constant;
  }
  Picture From() const { return Picture(TensorOf(op_.inputs[0]), In(0)); }
  Picture To() const { return Picture(TensorOf(op_.outputs[0]), out_); }

  template <typename Function>
  void Map(Function function) {
    for (size_t i = 0; i < out_.size(); ++i) out_[i] = static_cast<float>(function(double{In(0)[i]}));
  }

  // Calls visit(flat index, position) for every element of the output.
  template <typename Visit>
  void ForEach(Visit visit) const {
    const std::vector<int>& shape = Shape(op_.outputs[0]);
    std::vector<int> at(shape.size());
    for (size_t i = 0; i < out_.size(); ++i) {
      visit(i, at);
      for (size_t d = shape.size(); d-- > 0 && ++at[d] == shape[d];) at[d] = 0;
    }
  }

  // Value of an input at a position of the output, whose missing or single extents repeat.
  double Repeated(size_t input, const std::vector<int>& at) const {
    const std::vector<int>& shape = Shape(op_.inputs[input]);
    size_t index = 0;
    for (size_t d = 0; d < shape.size(); ++d) {
      const int position = shape[d] == 1 ? 0 : at[at.size() - shape.size() + d];
      index = index * static_cast<size_t>(shape[d]) + static_cast<size_t>(position);
    }
    return In(input)[index];
  }

  void Broadcast() {
    ForEach([this](size_t i, const std::vector<int>& at) {
      const double a = Repeated(0, at);
      const double b = Repeated(1, at);
      out_[i] = static_cast<float>(op_.kind == OperatorKind::kAdd ? a + b : a * b);
    });
  }

  void Prelu() {
    const size_t channels = static_cast<size_t>(Shape(op_.inputs[0]).back());
    for (size_t i = 0; i < out_.size(); ++i) out_[i] = In(0)[i] * (In(0)[i] < 0 ? In(1)[i % channels] : 1.0f);
  }

  // Row of a filter [O,h,w,I] at a place of its window.
  const float* Taps(const std::vector<int>& filter, int output, int ky, int kx) const {
    return In(1).data() + ((int64_t{output} * filter[1] + ky) * filter[2] + kx) * filter[3];
  }

  // Calls visit(pixel, ky, kx) for the pixels of the first input under the window at a position of the output.
  template <typename Visit>
  void ForWindow(const std::vector<int>& at, int height, int width, Visit visit) const {
    const Picture from = From();
    const int top = at[1] * op_.strideHeight - Before(op_, from.height, height, op_.strideHeight);
    const int left = at[2] * op_.strideWidth - Before(op_, from.width, width, op_.strideWidth);
    for (int ky = 0; ky < height; ++ky) {
      for (int kx = 0; kx < width; ++kx) {
        if (from.Holds(top + ky, left + kx)) visit(from.Pixel(top + ky, left + kx), ky, kx);
      }
    }
  }

  void Convolve() {
    const bool isDepthwise = op_.kind == OperatorKind::kDepthwiseConvolution;
    const std::vector<int>& filter = Shape(op_.inputs[1]);
    ForEach([&](size_t i, const std::vector<int>& at) {
      double sum = In(2)[static_cast<size_t>(at[3])];
      ForWindow(at, filter[1], filter[2], [&](const float* pixel, int ky, int kx) {
        const float* taps = Taps(filter, isDepthwise ? 0 : at[3], ky, kx);
        const int first = isDepthwise ? at[3] : 0, end = isDepthwise ? at[3] + 1 : filter[3];
        for (int c = first; c < end; ++c) sum += double{pixel[c]} * taps[c];
      });
      out_[i] = static_cast<float>(sum);
    });
  }

  // Every input pixel adds its filter to the output at its position times the stride.
  void ConvolveTransposed() {
    const Picture from = From();
    const Picture to = To();
    const std::vector<int>& filter = Shape(op_.inputs[1]);
    const int top = std::max(filter[1] - op_.strideHeight, 0) / 2;
    const int left = std::max(filter[2] - op_.strideWidth, 0) / 2;
    std::vector<double> sums(out_.size());
    for (size_t i = 0; i < sums.size(); ++i) sums[i] = In(2)[i % static_cast<size_t>(to.channels)];
    for (int y = 0; y < from.height; ++y) {
      for (int x = 0; x < from.width; ++x) {
        for (int o = 0; o < to.channels; ++o) {
          for (int ky = 0; ky < filter[1]; ++ky) {
            for (int kx = 0; kx < filter[2]; ++kx) {
              const int toY = y * op_.strideHeight + ky - top;
              const int toX = x * op_.strideWidth + kx - left;
              if (!to.Holds(toY, toX)) continue;
              for (int c = 0; c < from.channels; ++c) {
                const int64_t at = (int64_t{toY} * to.width + toX) * to.channels + o;
                sums[static_cast<size_t>(at)] += double{from.At(y, x, c)} * Taps(filter, o, ky, kx)[c];
              }
            }
          }
        }
      }
    }
    for (size_t i = 0; i < sums.size(); ++i) out_[i] = static_cast<float>(sums[i]);
  }

  void MaxPool() {
    ForEach([&](size_t i, const std::vector<int>& at) {
      float most = -std::numeric_limits<float>::infinity();
      ForWindow(at, op_.windowHeight, op_.windowWidth,
                [&](const float* pixel, int, int) { most = std::max(most, pixel[at[3]]); });
      out_[i] = most;
    });
  }

  void Average() {
    const size_t channels = out_.size();
    std::vector<double> sums(channels);
    for (size_t i = 0; i < In(0).size(); ++i) sums[i % channels] += In(0)[i];
    const size_t pixels = In(0).size() / channels;
    for (size_t c = 0; c < channels; ++c) out_[c] = static_cast<float>(sums[c] / static_cast<double>(pixels));
  }

  void Pad() {
    const std::vector<int>& from = Shape(op_.inputs[0]);
    const std::vector<int32_t>& pads = TensorOf(op_.inputs[1]).integers;
    ForEach([&](size_t i, const std::vector<int>& at) {
      size_t index = 0;
      bool isInside = true;
      for (size_t d = 0; d < from.size(); ++d) {
        const int position = at[d] - pads[2 * d];
        isInside = isInside && position >= 0 && position < from[d];
        index = index * static_cast<size_t>(from[d]) + static_cast<size_t>(std::max(position, 0));
      }
      out_[i] = isInside ? In(0)[index] : 0.0f;
    });
  }

  // Pixel centres lie at halves; beyond the outer centres the outer pixel holds.
  void Resize() {
    const Picture from = From();
    const Picture to = To();
    ForEach([&](size_t i, const std::vector<int>& at) {
      const double y = std::clamp((at[1] + 0.5) * from.height / to.height - 0.5, 0.0, from.height - 1.0);
      const double x = std::clamp((at[2] + 0.5) * from.width / to.width - 0.5, 0.0, from.width - 1.0);
      const int y0 = static_cast<int>(y);
      const int x0 = static_cast<int>(x);
      const int y1 = std::min(y0 + 1, from.height - 1);
      const int x1 = std::min(x0 + 1, from.width - 1);
      const double above = from.At(y0, x0, at[3]) * (1 - (x - x0)) + from.At(y0, x1, at[3]) * (x - x0);
      const double below = from.At(y1, x0, at[3]) * (1 - (x - x0)) + from.At(y1, x1, at[3]) * (x - x0);
      out_[i] = static_cast<float>(above * (1 - (y - y0)) + below * (y - y0));
    });
  }

  const Model& model_;
  const Operator& op_;
  const TensorValues& values_;
  Values out_;
};

}  // namespace

void InterpretNaively(const Model& model, TensorValues* values) {
  for (const Operator& op : model.Operators()) {
    const bool isReady = std::all_of(op.inputs.begin(), op.inputs.end(), [&](int input) {
      const Tensor& tensor = model.Tensors()[static_cast<size_t>(input)];
      return !tensor.constant.empty() || !tensor.integers.empty() || values->count(input) != 0;
    });
    if (!isReady || values->count(op.outputs[0]) != 0) continue;
    Interpreter interpreter(model, op, *values);
    if (interpreter.Compute()) (*values)[op.outputs[0]] = interpreter.Take();
  }
}

}  // namespace qx::nn
