#include "nn/runtime.h"

#include <xnnpack.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <utility>

#include "nn/limits.h"
#include "nn/operator_check.h"

namespace qx::nn {
namespace {

// XNNPACK of 2024 leaves out the rows and columns of a pooled picture unless it is told to keep them; before, it knew
// no other way.
#ifdef XNN_FLAG_KEEP_DIMS
constexpr uint32_t kPoolFlags = XNN_FLAG_KEEP_DIMS;
#else
constexpr uint32_t kPoolFlags = 0;
#endif

static_assert(kMaxRank <= XNN_MAX_TENSOR_DIMS, "XNNPACK must take every tensor that the loader takes");

// Why a runtime cannot be made; leaves this file only as the text of Create's error.
struct Refusal : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void Require(bool condition, const std::string& text) {
  if (!condition) throw Refusal(text);
}

struct SubgraphDeleter {
  void operator()(xnn_subgraph_t subgraph) const { xnn_delete_subgraph(subgraph); }
};
struct RuntimeDeleter {
  void operator()(xnn_runtime_t runtime) const { xnn_delete_runtime(runtime); }
};

// Floats with the bytes behind them that XNNPACK may read.
struct Buffer {
  std::unique_ptr<float[]> values;
  size_t count = 0;  // without the bytes behind
};

// Not filled: nothing comes from the bytes behind, and what XNNPACK computes it writes first.
Buffer MakeBuffer(size_t count) {
  return {std::unique_ptr<float[]>(new float[count + XNN_EXTRA_BYTES / sizeof(float)]), count};
}

Buffer MakeBuffer(const std::vector<float>& values) {
  Buffer buffer = MakeBuffer(values.size());
  std::copy(values.begin(), values.end(), buffer.values.get());
  return buffer;
}

// Zeros around a picture, in pixels.
struct Margins {
  uint32_t top = 0;
  uint32_t right = 0;
  uint32_t bottom = 0;
  uint32_t left = 0;
};

// Zeros before and behind so that `steps` positions of a window, `stride` apart, cover `extent`; an odd one goes
// behind.
void SetMargins(int extent, int window, int stride, int steps, uint32_t* before, uint32_t* behind) {
  const int64_t total = std::max<int64_t>(int64_t{steps - 1} * stride + window - extent, 0);
  *before = static_cast<uint32_t>(total / 2);
  *behind = static_cast<uint32_t>(total - total / 2);
}

uint32_t Unsigned(int value) {
  return static_cast<uint32_t>(value);
}

// The tensors whose values an operator reads. The second one of a reshape or pool only repeats the output's shape, and
// XNNPACK has no memory for what nobody reads.
std::vector<int> ReadInputs(const Operator& op) {
  const bool readsOne = op.kind == OperatorKind::kReshape || op.kind == OperatorKind::kGlobalAveragePool;
  std::vector<int> read = op.inputs;
  if (readsOne && read.size() > 1) read.resize(1);
  return read;
}

// Which operators of a model lead from given tensors to others, in order.
std::vector<const Operator*> Reach(const Model& model, const std::vector<int>& inputs,
                                   const std::vector<int>& outputs) {
  std::vector<bool> isNeeded(model.Tensors().size());
  for (const int output : outputs) isNeeded[static_cast<size_t>(output)] = true;
  std::vector<bool> isGiven(model.Tensors().size());
  for (const int input : inputs) isGiven[static_cast<size_t>(input)] = true;
  std::vector<const Operator*> reached;
  for (auto op = model.Operators().rbegin(); op != model.Operators().rend(); ++op) {
    const bool isReached = std::any_of(op->outputs.begin(), op->outputs.end(), [&](int output) {
      return isNeeded[static_cast<size_t>(output)] && !isGiven[static_cast<size_t>(output)];
    });
    if (!isReached) continue;
    reached.push_back(&*op);
    for (const int input : ReadInputs(*op)) {
      if (input >= 0) isNeeded[static_cast<size_t>(input)] = true;
    }
  }
  std::reverse(reached.begin(), reached.end());
  return reached;
}

}  // namespace

struct Runtime::Impl {
  // The runtime points into the buffers and constants: destroyed first.
  std::vector<Buffer> inputs;
  std::vector<Buffer> outputs;
  std::vector<Buffer> constants;  // those that a run reads
  std::unique_ptr<xnn_runtime, RuntimeDeleter> runtime;
};

namespace {

// Translates the operators of a model into a subgraph of XNNPACK. External ids are the inputs, then the outputs.
class Builder {
 public:
  Builder(const Model& model, const std::vector<int>& inputs, const std::vector<int>& outputs)
      : model_(model), inputs_(inputs), outputs_(outputs), ids_(model.Tensors().size(), XNN_INVALID_VALUE_ID) {}

  std::unique_ptr<Runtime::Impl> Build();

 private:
  void CheckEnds() const;
  void AddEnds(const std::vector<const Operator*>& operators);
  void AddOperator(const Operator& op);
  xnn_status Define(const Operator& op);
  xnn_status DefineConvolution(const Operator& op);
  xnn_status DefineTransposedConvolution(const Operator& op);
  xnn_status DefineMaxPool(const Operator& op);
  xnn_status DefinePad(const Operator& op);
  Margins WindowMargins(const Operator& op, int windowHeight, int windowWidth) const;
  uint32_t AddValue(int tensor, const std::vector<int>& shape, const float* constant, uint32_t external,
                    uint32_t flags);
  uint32_t Id(int tensor);
  uint32_t PackedId(int tensor);
  uint32_t SlopesId(int tensor);
  std::vector<size_t> Shape(int tensor) const;
  const Tensor& At(int tensor) const { return model_.Tensors()[static_cast<size_t>(tensor)]; }

  const Model& model_;
  const std::vector<int>& inputs_;
  const std::vector<int>& outputs_;
  std::vector<uint32_t> ids_;   // per tensor: its value in the subgraph
  std::vector<Buffer> packed_;  // constants of which the runtime has its own copy once it is made
  std::unique_ptr<xnn_subgraph, SubgraphDeleter> subgraph_;
  std::unique_ptr<Runtime::Impl> built_;
  std::vector<xnn_external_value> external_;
};

void Builder::CheckEnds() const {
  std::vector<int> ends = inputs_;
  ends.insert(ends.end(), outputs_.begin(), outputs_.end());
  Require(!inputs_.empty() && !outputs_.empty(), "no inputs or no outputs");
  for (const int end : ends) {
    Require(end >= 0 && static_cast<size_t>(end) < ids_.size(), "tensor index out of range");
    Require(At(end).type == ElementType::kFloat32 && At(end).constant.empty() && !At(end).shape.empty(),
            "tensor " + std::to_string(end) + " is not a computed float tensor");
  }
  std::sort(ends.begin(), ends.end());
  Require(std::adjacent_find(ends.begin(), ends.end()) == ends.end(), "tensor named twice");
}

std::unique_ptr<Runtime::Impl> Builder::Build() {
  CheckEnds();
  static const bool isReady = xnn_initialize(nullptr) == xnn_status_success;
  Require(isReady, "XNNPACK does not run on this processor");
  built_ = std::make_unique<Runtime::Impl>();
  xnn_subgraph_t subgraph = nullptr;
  Require(
      xnn_create_subgraph(static_cast<uint32_t>(inputs_.size() + outputs_.size()), 0, &subgraph) == xnn_status_success,
      "memory is short");
  subgraph_.reset(subgraph);

  const std::vector<const Operator*> operators = Reach(model_, inputs_, outputs_);
  AddEnds(operators);
  for (const Operator* op : operators) AddOperator(*op);
  for (const int output : outputs_) {
    Require(model_.Producer(output) != nullptr, "tensor " + std::to_string(output) + " is not computed");
  }

  xnn_runtime_t runtime = nullptr;
  Require(xnn_create_runtime_v2(subgraph_.get(), nullptr, 0, &runtime) == xnn_status_success,
          "XNNPACK refuses the network or memory is short");
  built_->runtime.reset(runtime);
  Require(xnn_setup_runtime(runtime, external_.size(), external_.data()) == xnn_status_success,
          "XNNPACK refuses the tensors or memory is short");
  return std::move(built_);
}

void Builder::AddEnds(const std::vector<const Operator*>& operators) {
  const auto isRead = [&operators](int tensor) {
    return std::any_of(operators.begin(), operators.end(), [tensor](const Operator* op) {
      const std::vector<int> read = ReadInputs(*op);
      return std::find(read.begin(), read.end(), tensor) != read.end();
    });
  };
  const auto add = [this](int tensor, uint32_t flags, std::vector<Buffer>* buffers) {
    const size_t count = static_cast<size_t>(ElementCount(At(tensor)));
    buffers->push_back(MakeBuffer(count));
    if (flags == 0) return;
    const uint32_t id = static_cast<uint32_t>(built_->inputs.size() + built_->outputs.size() - 1);
    ids_[static_cast<size_t>(tensor)] = AddValue(tensor, At(tensor).shape, nullptr, id, flags);
    external_.push_back({id, buffers->back().values.get()});
  };
  // An input that nobody reads has its buffer but is unknown to XNNPACK, which would refuse it.
  for (const int input : inputs_) {
    add(input, isRead(input) ? XNN_VALUE_FLAG_EXTERNAL_INPUT : 0, &built_->inputs);
    std::fill_n(built_->inputs.back().values.get(), built_->inputs.back().count, 0.0f);
  }
  for (const int output : outputs_) add(output, XNN_VALUE_FLAG_EXTERNAL_OUTPUT, &built_->outputs);
}

void Builder::AddOperator(const Operator& op) {
  const bool isRun = op.kind != OperatorKind::kConcatenation && op.kind != OperatorKind::kCustom &&
                     op.kind != OperatorKind::kUnsupported;
  Require(isRun, "operator " + (op.name.empty() ? std::string("concatenation") : op.name) + " is not run");
  // The first input always is computed or a constant tensor of its own; what else an operator reads depends on its
  // kind.
  const bool readsTwo = op.kind == OperatorKind::kAdd || op.kind == OperatorKind::kMultiply;
  for (size_t i = 0; i < (readsTwo ? 2u : 1u); ++i) {
    const int input = op.inputs[i];
    Require(ids_[static_cast<size_t>(input)] != XNN_INVALID_VALUE_ID || !At(input).constant.empty(),
            "tensor " + std::to_string(input) + " cannot be reached");
  }
  Require(Define(op) == xnn_status_success, "XNNPACK refuses an operator or memory is short");
}

std::vector<size_t> Builder::Shape(int tensor) const {
  return std::vector<size_t>(At(tensor).shape.begin(), At(tensor).shape.end());
}

uint32_t Builder::AddValue(int tensor, const std::vector<int>& shape, const float* constant, uint32_t external,
                           uint32_t flags) {
  const std::vector<size_t> extents(shape.begin(), shape.end());
  uint32_t id = XNN_INVALID_VALUE_ID;
  Require(xnn_define_tensor_value(subgraph_.get(), xnn_datatype_fp32, extents.size(), extents.data(), constant,
                                  external, flags, &id) == xnn_status_success,
          "XNNPACK refuses tensor " + std::to_string(tensor) + " or memory is short");
  return id;
}

uint32_t Builder::Id(int tensor) {
  uint32_t& id = ids_[static_cast<size_t>(tensor)];
  if (id == XNN_INVALID_VALUE_ID) {
    const float* constant = nullptr;
    if (!At(tensor).constant.empty()) {
      built_->constants.push_back(MakeBuffer(At(tensor).constant));
      constant = built_->constants.back().values.get();
    }
    id = AddValue(tensor, At(tensor).shape, constant, XNN_INVALID_VALUE_ID, 0);
  }
  return id;
}

// Filters and biases: XNNPACK brings them into its own order when it makes the runtime and reads only that afterwards.
// A value of its own, since another operator may read the same tensor in every run.
uint32_t Builder::PackedId(int tensor) {
  packed_.push_back(MakeBuffer(At(tensor).constant));
  return AddValue(tensor, At(tensor).shape, packed_.back().values.get(), XNN_INVALID_VALUE_ID, 0);
}

// Slopes as [C], the file has [1,1,C]. XNNPACK of 2022 packs them as it does filters, that of 2024 reads them in every
// run.
uint32_t Builder::SlopesId(int tensor) {
  built_->constants.push_back(MakeBuffer(At(tensor).constant));
  return AddValue(tensor, {At(tensor).shape.back()}, built_->constants.back().values.get(), XNN_INVALID_VALUE_ID, 0);
}

xnn_status Builder::Define(const Operator& op) {
  xnn_subgraph_t graph = subgraph_.get();
  const uint32_t in = Id(op.inputs[0]);
  const uint32_t out = Id(op.outputs[0]);
  const float low = op.minimum;
  const float high = op.maximum;
  switch (op.kind) {
    case OperatorKind::kAdd: return xnn_define_add2(graph, low, high, in, Id(op.inputs[1]), out, 0);
    case OperatorKind::kMultiply: return xnn_define_multiply2(graph, low, high, in, Id(op.inputs[1]), out, 0);
    case OperatorKind::kConvolution:
    case OperatorKind::kDepthwiseConvolution: return DefineConvolution(op);
    case OperatorKind::kTransposedConvolution: return DefineTransposedConvolution(op);
    case OperatorKind::kMaxPool: return DefineMaxPool(op);
    case OperatorKind::kGlobalAveragePool:
      return xnn_define_global_average_pooling_2d(graph, low, high, in, out, kPoolFlags);
    case OperatorKind::kClamp: return xnn_define_clamp(graph, low, high, in, out, 0);
    case OperatorKind::kPrelu: return xnn_define_prelu(graph, in, SlopesId(op.inputs[1]), out, 0);
    case OperatorKind::kSigmoid: return xnn_define_sigmoid(graph, in, out, 0);
    case OperatorKind::kHardSwish: return xnn_define_hardswish(graph, in, out, 0);
    case OperatorKind::kPad: return DefinePad(op);
    case OperatorKind::kResizeBilinear: {
      const std::vector<size_t> shape = Shape(op.outputs[0]);
      return xnn_define_static_resize_bilinear_2d(graph, shape[1], shape[2], in, out, 0);
    }
    case OperatorKind::kReshape: {
      const std::vector<size_t> shape = Shape(op.outputs[0]);
      return xnn_define_static_reshape(graph, shape.size(), shape.data(), in, out, 0);
    }
    default: return xnn_status_unsupported_parameter;
  }
}

Margins Builder::WindowMargins(const Operator& op, int windowHeight, int windowWidth) const {
  Margins margins;
  if (op.padding == Padding::kValid) return margins;
  const std::vector<int>& from = At(op.inputs[0]).shape;
  const std::vector<int>& to = At(op.outputs[0]).shape;
  SetMargins(from[1], windowHeight, op.strideHeight, to[1], &margins.top, &margins.bottom);
  SetMargins(from[2], windowWidth, op.strideWidth, to[2], &margins.left, &margins.right);
  return margins;
}

xnn_status Builder::DefineConvolution(const Operator& op) {
  const std::vector<size_t> filter = Shape(op.inputs[1]);  // [O,h,w,I], or [1,h,w,C] where depthwise
  const Margins margins = WindowMargins(op, At(op.inputs[1]).shape[1], At(op.inputs[1]).shape[2]);
  const uint32_t height = static_cast<uint32_t>(filter[1]);
  const uint32_t width = static_cast<uint32_t>(filter[2]);
  const uint32_t in = Id(op.inputs[0]);
  const uint32_t weights = PackedId(op.inputs[1]);
  const uint32_t bias = PackedId(op.inputs[2]);
  const uint32_t out = Id(op.outputs[0]);
  if (op.kind == OperatorKind::kDepthwiseConvolution) {
    return xnn_define_depthwise_convolution_2d(subgraph_.get(), margins.top, margins.right, margins.bottom,
                                               margins.left, height, width, Unsigned(op.strideHeight),
                                               Unsigned(op.strideWidth), 1, 1, 1, filter[3], op.minimum, op.maximum, in,
                                               weights, bias, out, 0);
  }
  return xnn_define_convolution_2d(subgraph_.get(), margins.top, margins.right, margins.bottom, margins.left, height,
                                   width, Unsigned(op.strideHeight), Unsigned(op.strideWidth), 1, 1, 1, filter[3],
                                   filter[0], op.minimum, op.maximum, in, weights, bias, out, 0);
}

// The output is the input's size times the stride: what the windows cover beyond it is cut off (the margins), and what
// they leave uncovered is added behind (the adjustment).
xnn_status Builder::DefineTransposedConvolution(const Operator& op) {
  const std::vector<size_t> filter = Shape(op.inputs[1]);  // [O,h,w,I]
  const std::vector<int>& window = At(op.inputs[1]).shape;
  Margins margins;
  SetMargins(op.strideHeight, window[1], op.strideHeight, 1, &margins.top, &margins.bottom);
  SetMargins(op.strideWidth, window[2], op.strideWidth, 1, &margins.left, &margins.right);
  const uint32_t adjustmentHeight = Unsigned(std::max(op.strideHeight - window[1], 0));
  const uint32_t adjustmentWidth = Unsigned(std::max(op.strideWidth - window[2], 0));
  return xnn_define_deconvolution_2d(subgraph_.get(), margins.top, margins.right, margins.bottom, margins.left,
                                     adjustmentHeight, adjustmentWidth, Unsigned(window[1]), Unsigned(window[2]),
                                     Unsigned(op.strideHeight), Unsigned(op.strideWidth), 1, 1, 1, filter[3], filter[0],
                                     op.minimum, op.maximum, Id(op.inputs[0]), PackedId(op.inputs[1]),
                                     PackedId(op.inputs[2]), Id(op.outputs[0]), 0);
}

xnn_status Builder::DefineMaxPool(const Operator& op) {
  const Margins margins = WindowMargins(op, op.windowHeight, op.windowWidth);
  return xnn_define_max_pooling_2d(subgraph_.get(), margins.top, margins.right, margins.bottom, margins.left,
                                   Unsigned(op.windowHeight), Unsigned(op.windowWidth), Unsigned(op.strideHeight),
                                   Unsigned(op.strideWidth), 1, 1, op.minimum, op.maximum, Id(op.inputs[0]),
                                   Id(op.outputs[0]), 0);
}

xnn_status Builder::DefinePad(const Operator& op) {
  const std::vector<int32_t>& pads = At(op.inputs[1]).integers;
  std::array<size_t, XNN_MAX_TENSOR_DIMS> before{};
  std::array<size_t, XNN_MAX_TENSOR_DIMS> behind{};
  for (size_t i = 0; i < pads.size() / 2; ++i) {
    before[i] = static_cast<size_t>(pads[2 * i]);
    behind[i] = static_cast<size_t>(pads[2 * i + 1]);
  }
  return xnn_define_static_constant_pad(subgraph_.get(), before.data(), behind.data(), 0.0f, Id(op.inputs[0]),
                                        Id(op.outputs[0]), 0);
}

}  // namespace

Runtime::Runtime(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Runtime::~Runtime() = default;

std::unique_ptr<Runtime> Runtime::Create(const Model& model, const std::vector<int>& inputs,
                                         const std::vector<int>& outputs, std::string* error) {
  try {
    return std::unique_ptr<Runtime>(new Runtime(Builder(model, inputs, outputs).Build()));
  } catch (const Refusal& refusal) {
    *error = refusal.what();
  } catch (const std::bad_alloc&) {
    *error = "memory is short";
  }
  return nullptr;
}

float* Runtime::Input(size_t i) {
  return impl_->inputs[i].values.get();
}
size_t Runtime::InputSize(size_t i) const {
  return impl_->inputs[i].count;
}
const float* Runtime::Output(size_t i) const {
  return impl_->outputs[i].values.get();
}
size_t Runtime::OutputSize(size_t i) const {
  return impl_->outputs[i].count;
}
bool Runtime::Run() {
  return xnn_invoke_runtime(impl_->runtime.get()) == xnn_status_success;
}

}  // namespace qx::nn
