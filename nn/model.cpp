#include "nn/model.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "nn/half_float.h"
#include "nn/limits.h"
#include "nn/operator_check.h"
#include "nn/operator_options.h"
#include "tflite_generated.h"

namespace qx::nn {
namespace {

// What is wrong with a file; leaves this file only as the text of Parse's error.
struct Damage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void Require(bool condition, const char* text) {
  if (!condition) throw Damage(text);
}

template <typename T>
uint32_t Length(const flatbuffers::Vector<T>* vector) {
  return vector == nullptr ? 0 : vector->size();
}

}  // namespace

struct Model::Impl {
  std::vector<int> inputs;
  std::vector<int> outputs;
  std::vector<Tensor> tensors;
  std::vector<Operator> operators;
  std::vector<int> producers;  // per tensor: index of its operator, or -1
};

namespace {

// Copies a verified file image into a model.
class Reader {
 public:
  explicit Reader(const tflite::Model& file) : file_(file) {}

  std::unique_ptr<Model::Impl> Read();

 private:
  void ReadTensor(const tflite::Tensor& tensor);
  void ReadConstant(const tflite::Tensor& tensor, Tensor* out);
  std::vector<int> ReadIndices(const flatbuffers::Vector<int32_t>* indices, bool mayBeLeftOut) const;
  void ReadOperator(const tflite::Operator& op, Cost* cost);
  bool WidenConstant(const Operator& op);
  static void ReadCustom(const tflite::OperatorCode& code, const tflite::Operator& op, Operator* out);

  const tflite::Model& file_;
  const tflite::SubGraph* graph_ = nullptr;
  std::unique_ptr<Model::Impl> model_;
  std::vector<bool> isUsed_;                                 // per tensor: an input, or read by an operator so far
  std::vector<const flatbuffers::Vector<uint8_t>*> halves_;  // per tensor: data of a float16 constant, or null
  int64_t elements_ = 0;
};

std::unique_ptr<Model::Impl> Reader::Read() {
  model_ = std::make_unique<Model::Impl>();
  Require(file_.version() == 3, "format version other than 3");
  Require(Length(file_.subgraphs()) == 1, "not exactly one graph");
  graph_ = file_.subgraphs()->Get(0);
  Require(Length(graph_->tensors()) <= kMaxTensors, "too many tensors");
  Require(Length(graph_->operators()) <= kMaxOperators, "too many operators");

  const uint32_t tensorCount = Length(graph_->tensors());
  model_->tensors.reserve(tensorCount);
  for (uint32_t i = 0; i < tensorCount; ++i) ReadTensor(*graph_->tensors()->Get(i));
  model_->producers.assign(tensorCount, -1);
  model_->inputs = ReadIndices(graph_->inputs(), false);
  isUsed_.assign(tensorCount, false);
  for (const int input : model_->inputs) isUsed_[static_cast<size_t>(input)] = true;
  model_->outputs = ReadIndices(graph_->outputs(), false);
  Cost cost;
  for (uint32_t i = 0; i < Length(graph_->operators()); ++i) ReadOperator(*graph_->operators()->Get(i), &cost);
  return std::move(model_);
}

void Reader::ReadTensor(const tflite::Tensor& tensor) {
  Require(!tensor.is_variable(), "variable tensor");
  Require(tensor.sparsity() == nullptr, "sparse tensor");
  Require(Length(tensor.shape()) <= kMaxRank, "tensor of too many dimensions");
  Tensor out;
  int64_t count = 1;
  for (uint32_t i = 0; i < Length(tensor.shape()); ++i) {
    const int extent = tensor.shape()->Get(i);
    Require(extent >= 1 && extent <= kMaxExtent, "tensor extent out of range");
    count *= extent;
    Require(count <= kMaxElements, "tensor too large");
    out.shape.push_back(extent);
  }
  elements_ += count;
  Require(elements_ <= kMaxElements, "tensors too large");
  if (tensor.type() == tflite::TensorType::FLOAT32) out.type = ElementType::kFloat32;
  if (tensor.type() == tflite::TensorType::INT32) out.type = ElementType::kInt32;
  halves_.push_back(nullptr);
  ReadConstant(tensor, &out);
  model_->tensors.push_back(std::move(out));
}

void Reader::ReadConstant(const tflite::Tensor& tensor, Tensor* out) {
  if (tensor.buffer() == 0) return;
  Require(tensor.buffer() < Length(file_.buffers()), "buffer index out of range");
  const flatbuffers::Vector<uint8_t>* data = file_.buffers()->Get(tensor.buffer())->data();
  if (Length(data) == 0) return;
  const size_t count = static_cast<size_t>(ElementCount(*out));
  switch (tensor.type()) {
    case tflite::TensorType::FLOAT32:
      Require(data->size() == count * sizeof(float), "constant of another size than its shape");
      out->constant.resize(count);
      std::memcpy(out->constant.data(), data->data(), data->size());
      break;
    case tflite::TensorType::FLOAT16:
      Require(data->size() == count * sizeof(uint16_t), "constant of another size than its shape");
      halves_.back() = data;
      break;
    case tflite::TensorType::INT32:
      Require(data->size() == count * sizeof(int32_t), "constant of another size than its shape");
      out->integers.resize(count);
      std::memcpy(out->integers.data(), data->data(), data->size());
      break;
    default: break;  // of no use to any operator that is run
  }
}

std::vector<int> Reader::ReadIndices(const flatbuffers::Vector<int32_t>* indices, bool mayBeLeftOut) const {
  Require(Length(indices) <= kMaxOperands, "too many operands");
  std::vector<int> out;
  for (uint32_t i = 0; i < Length(indices); ++i) {
    const int index = indices->Get(i);
    Require((index >= 0 && index < static_cast<int>(model_->tensors.size())) || (index == -1 && mayBeLeftOut),
            "tensor index out of range");
    out.push_back(index);
  }
  return out;
}

void Reader::ReadOperator(const tflite::Operator& op, Cost* cost) {
  Require(op.opcode_index() < Length(file_.operator_codes()), "operator code index out of range");
  const tflite::OperatorCode& code = *file_.operator_codes()->Get(op.opcode_index());
  const int32_t builtin = std::max<int32_t>(code.deprecated_builtin_code(), static_cast<int32_t>(code.builtin_code()));

  Operator out;
  out.inputs = ReadIndices(op.inputs(), true);
  out.outputs = ReadIndices(op.outputs(), false);
  const int index = static_cast<int>(model_->operators.size());
  for (const int input : out.inputs) {
    if (input >= 0) isUsed_[static_cast<size_t>(input)] = true;
  }
  for (const int output : out.outputs) {  // so that the operators are in order and without a ring
    const size_t at = static_cast<size_t>(output);
    Require(model_->producers[at] == -1 && model_->tensors[at].constant.empty() &&
                model_->tensors[at].integers.empty() && halves_[at] == nullptr,
            "tensor that is computed twice");
    Require(!isUsed_[at], "tensor that is computed after its use");
    model_->producers[at] = index;
  }
  if (builtin == static_cast<int32_t>(tflite::BuiltinOperator::DEQUANTIZE) && WidenConstant(out)) return;

  if (builtin == static_cast<int32_t>(tflite::BuiltinOperator::CUSTOM)) {
    ReadCustom(code, op, &out);
  } else {
    ReadBuiltinOptions(builtin, op, model_->tensors, &out);
    if (out.kind == OperatorKind::kUnsupported) out.name = "builtin " + std::to_string(builtin);
  }
  const bool isRun = out.kind != OperatorKind::kUnsupported && out.kind != OperatorKind::kCustom &&
                     out.kind != OperatorKind::kConcatenation;
  std::string wrong;
  if (isRun && !CheckOperator(out, model_->tensors, cost, &wrong)) {
    throw Damage("operator " + std::to_string(index) + ": " + wrong);
  }
  model_->operators.push_back(std::move(out));
}

// A float16 constant becomes a float constant of the tensor that the operator would compute.
bool Reader::WidenConstant(const Operator& op) {
  if (op.inputs.size() != 1 || op.outputs.size() != 1 || op.inputs[0] < 0) return false;
  const flatbuffers::Vector<uint8_t>* data = halves_[static_cast<size_t>(op.inputs[0])];
  Tensor& out = model_->tensors[static_cast<size_t>(op.outputs[0])];
  if (data == nullptr || out.type != ElementType::kFloat32) return false;
  Require(out.shape == model_->tensors[static_cast<size_t>(op.inputs[0])].shape, "constant that changes its shape");
  model_->producers[static_cast<size_t>(op.outputs[0])] = -1;
  out.constant.resize(data->size() / 2);
  for (size_t i = 0; i < out.constant.size(); ++i) {
    uint16_t half;
    std::memcpy(&half, data->data() + 2 * i, sizeof half);
    out.constant[i] = HalfToFloat(half);
  }
  return true;
}

void Reader::ReadCustom(const tflite::OperatorCode& code, const tflite::Operator& op, Operator* out) {
  Require(code.custom_code() != nullptr && code.custom_code()->size() <= kMaxNameBytes, "custom operator without name");
  Require(Length(op.custom_options()) <= kMaxOptionBytes, "options too large");
  out->name = code.custom_code()->str();
  Require(std::all_of(out->name.begin(), out->name.end(), [](char c) { return c > ' ' && c <= '~'; }),
          "custom operator with an unreadable name");  // names go into error texts
  if (op.custom_options() != nullptr) out->options.assign(op.custom_options()->begin(), op.custom_options()->end());
  ReadCustomOptions(out);
}

std::unique_ptr<Model::Impl> ReadFile(const uint8_t* data, size_t size) {
  Require(data != nullptr && size <= kMaxFileBytes, "no data or too much of it");
  // The format's own accessors read aligned words.
  std::vector<uint8_t> aligned;
  if (reinterpret_cast<uintptr_t>(data) % alignof(std::max_align_t) != 0) {
    aligned.assign(data, data + size);
    data = aligned.data();
  }
  flatbuffers::Verifier verifier(data, size, 64, 100000);
  Require(tflite::VerifyModelBuffer(verifier), "not a .tflite file, or a damaged one");
  return Reader(*tflite::GetModel(data)).Read();
}

}  // namespace

Model::Model(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Model::~Model() = default;

std::unique_ptr<Model> Model::Parse(const uint8_t* data, size_t size, std::string* error) {
  try {
    return std::unique_ptr<Model>(new Model(ReadFile(data, size)));
  } catch (const Damage& damage) {
    *error = damage.what();
  } catch (const std::bad_alloc&) {
    *error = "memory is short";
  }
  return nullptr;
}

const std::vector<int>& Model::Inputs() const {
  return impl_->inputs;
}
const std::vector<int>& Model::Outputs() const {
  return impl_->outputs;
}
const std::vector<Tensor>& Model::Tensors() const {
  return impl_->tensors;
}
const std::vector<Operator>& Model::Operators() const {
  return impl_->operators;
}

const Operator* Model::Producer(int tensor) const {
  if (tensor < 0 || static_cast<size_t>(tensor) >= impl_->producers.size()) return nullptr;
  const int index = impl_->producers[static_cast<size_t>(tensor)];
  return index < 0 ? nullptr : &impl_->operators[static_cast<size_t>(index)];
}

}  // namespace qx::nn
