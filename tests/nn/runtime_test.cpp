#include "nn/runtime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <thread>

#include "tests/nn/model_writer.h"
#include "tests/nn/naive_interpreter.h"
#include "tests/nn/real_models.h"

namespace qx::nn {
namespace {

using tflite::BuiltinOperator;
using Indices = std::vector<int>;

std::unique_ptr<Model> Load(const std::vector<uint8_t>& bytes) {
  std::string error;
  std::unique_ptr<Model> model = Model::Parse(bytes.data(), bytes.size(), &error);
  EXPECT_NE(model, nullptr) << error;
  return model;
}

std::unique_ptr<Runtime> Make(const Model& model, const Indices& inputs, const Indices& outputs) {
  std::string error;
  std::unique_ptr<Runtime> runtime = Runtime::Create(model, inputs, outputs, &error);
  EXPECT_NE(runtime, nullptr) << error;
  return runtime;
}

// Why a runtime is refused; empty when it is made.
std::string RefusalOf(const Model& model, const Indices& inputs, const Indices& outputs) {
  std::string error;
  return Runtime::Create(model, inputs, outputs, &error) == nullptr ? error : "";
}

TensorValues RandomValues(const Model& model, const Indices& inputs, uint32_t seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> distribution(-1, 1);
  TensorValues values;
  for (const int input : inputs) {
    size_t count = 1;
    for (const int extent : model.Tensors()[static_cast<size_t>(input)].shape) count *= static_cast<size_t>(extent);
    std::vector<float>& filled = values[input];
    filled.resize(count);
    std::generate(filled.begin(), filled.end(), [&] { return distribution(random); });
  }
  return values;
}

void Fill(const TensorValues& values, const Indices& inputs, Runtime* runtime) {
  for (size_t i = 0; i < inputs.size(); ++i) {
    const std::vector<float>& from = values.at(inputs[i]);
    ASSERT_EQ(runtime->InputSize(i), from.size());
    std::copy(from.begin(), from.end(), runtime->Input(i));
  }
}

void ExpectNear(const Runtime& runtime, const TensorValues& values, const Indices& outputs, double tolerance) {
  for (size_t i = 0; i < outputs.size(); ++i) {
    const std::vector<float>& expected = values.at(outputs[i]);
    ASSERT_EQ(runtime.OutputSize(i), expected.size());
    for (size_t k = 0; k < expected.size(); ++k) {
      const double bound = tolerance * std::max(1.0f, std::abs(expected[k]));
      ASSERT_NEAR(runtime.Output(i)[k], expected[k], bound) << "tensor " << outputs[i] << " element " << k;
    }
  }
}

// Holds one runtime for each set of outputs against the naive interpreter, twice over, since nothing may be left from
// the run before.
void Compare(const Model& model, const Indices& inputs, const std::vector<Indices>& outputSets, double tolerance) {
  std::vector<std::unique_ptr<Runtime>> runtimes;
  for (const Indices& outputs : outputSets) {
    runtimes.push_back(Make(model, inputs, outputs));
    ASSERT_NE(runtimes.back(), nullptr);
  }
  for (const uint32_t seed : {1u, 2u}) {
    TensorValues values = RandomValues(model, inputs, seed);
    for (const std::unique_ptr<Runtime>& runtime : runtimes) {
      Fill(values, inputs, runtime.get());
      ASSERT_TRUE(runtime->Run());
    }
    InterpretNaively(model, &values);
    for (size_t i = 0; i < runtimes.size(); ++i) ExpectNear(*runtimes[i], values, outputSets[i], tolerance);
  }
}

// Every computed tensor that the inputs lead to, so that no two operators are joined into one.
Indices Reachable(const Model& model, const Indices& inputs) {
  std::vector<bool> isKnown(model.Tensors().size());
  for (size_t i = 0; i < isKnown.size(); ++i) {
    isKnown[i] = !model.Tensors()[i].constant.empty() || !model.Tensors()[i].integers.empty();
  }
  for (const int input : inputs) isKnown[static_cast<size_t>(input)] = true;
  Indices reachable;
  for (const Operator& op : model.Operators()) {
    const bool isRun = op.kind < OperatorKind::kConcatenation && !isKnown[static_cast<size_t>(op.outputs[0])];
    if (isRun && std::all_of(op.inputs.begin(), op.inputs.end(),
                             [&](int input) { return isKnown[static_cast<size_t>(input)]; })) {
      isKnown[static_cast<size_t>(op.outputs[0])] = true;
      reachable.push_back(op.outputs[0]);
    }
  }
  return reachable;
}

TEST(RuntimeTest, RealModelsAgreeWithNaiveInterpreter) {
  const struct {
    const char* name;
    std::vector<uint8_t> (*bytes)();
    Indices inputs, outputs;
  } parts[] = {
      {"full range", FullRangeBytes, {0}, {364, 365}},   {"short range", ShortRangeBytes, {0}, {170, 171, 172, 173}},
      {"face mesh", LandmarkBytes, {0}, {186, 35, 710}}, {"lips", LandmarkBytes, {199}, {684}},
      {"left eye", LandmarkBytes, {200}, {687, 690}},    {"right eye", LandmarkBytes, {201}, {693, 696}},
      {"person mask", PersonMaskBytes, {0}, {249}}};
  for (const auto& part : parts) {
    SCOPED_TRACE(part.name);
    const std::unique_ptr<Model> model = Load(part.bytes());
    ASSERT_NE(model, nullptr);
    Compare(*model, part.inputs, {part.outputs, Reachable(*model, part.inputs)}, 3e-4);
  }
}

TEST(RuntimeTest, SmallModelAgreesWithNaiveInterpreter) {
  const std::unique_ptr<Model> model = Load(WriteSmallModel());
  ASSERT_NE(model, nullptr);
  const Indices ends = {model->Outputs()[0], model->Outputs()[3]};
  Compare(*model, model->Inputs(), {ends, Reachable(*model, model->Inputs())}, 5e-5);
}

// The second input of a reshape may name any tensor; what nobody else reads has no memory.
TEST(RuntimeTest, LeavesOutWhatOnlyShapesAReshape) {
  ModelWriter w;
  const int input = w.Value({1, 2, 3, 4});
  const int unread = w.Plain(BuiltinOperator::LOGISTIC, {input}, {1, 2, 3, 4});
  const int other = w.Value({1, 4});
  const int reshaped = w.Plain(BuiltinOperator::RESHAPE, {input, unread}, {1, 24});
  const int fromOther = w.Plain(BuiltinOperator::RESHAPE, {reshaped, other}, {4, 6});
  const std::unique_ptr<Model> model = Load(w.Finish({input, other}, {fromOther}));
  ASSERT_NE(model, nullptr);
  Compare(*model, {input, other}, {{fromOther}}, 0);
}

// Windows of random shape and stride behind a zero pad, which XNNPACK may join with them.
TEST(RuntimeTest, RandomWindowsAgreeWithNaiveInterpreter) {
  std::mt19937 random(7);
  const auto pick = [&random](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  for (int round = 0; round < 200; ++round) {
    const int height = pick(1, 12), width = pick(1, 12), channels = pick(1, 20), outputs = pick(1, 20);
    const int kernelHeight = pick(1, 5), kernelWidth = pick(1, 5), stride = pick(1, 4), margin = pick(0, 2);
    const auto padding = pick(0, 1) == 0 ? tflite::Padding::SAME : tflite::Padding::VALID;
    const auto steps = [&](int extent, int window) {
      return padding == tflite::Padding::SAME ? (extent + stride - 1) / stride : (extent - window + stride) / stride;
    };
    const int tall = height + margin, wide = width + margin;
    if (padding == tflite::Padding::VALID && (tall < kernelHeight || wide < kernelWidth)) continue;
    SCOPED_TRACE(round);
    ModelWriter w;
    const int input = w.Value({1, height, width, channels});
    const int pads = w.Integers({4, 2}, {0, 0, margin, 0, 0, margin, 0, 0});
    const int padded = w.Plain(BuiltinOperator::PAD, {input, pads}, {1, tall, wide, channels});
    const int rows = steps(tall, kernelHeight), columns = steps(wide, kernelWidth);
    Indices ends;
    ends.push_back(w.Convolution(padded, w.Constant({outputs, kernelHeight, kernelWidth, channels}),
                                 w.Constant({outputs}), stride, padding, {1, rows, columns, outputs}));
    ends.push_back(w.DepthwiseConvolution(padded, w.Constant({1, kernelHeight, kernelWidth, channels}),
                                          w.Constant({channels}), stride, padding, {1, rows, columns, channels}));
    ends.push_back(w.Custom("Convolution2DTransposeBias", {1, stride, stride},
                            {input, w.Constant({outputs, kernelHeight, kernelWidth, channels}), w.Constant({outputs})},
                            {1, height * stride, width * stride, outputs}));
    const int window = std::min({kernelHeight, tall, wide});
    if (window > 1 && stride <= window) {
      ends.push_back(w.Pool(BuiltinOperator::MAX_POOL_2D, padded, window, stride, padding,
                            {1, steps(tall, window), steps(wide, window), channels}));
    }
    ends.push_back(w.Resize(padded, w.Integers({2}, {outputs, stride}), {1, outputs, stride, channels}));
    ends.push_back(w.Plain(BuiltinOperator::MEAN, {padded, w.Integers({2}, {1, 2})}, {1, channels}));
    const std::unique_ptr<Model> model = Load(w.Finish({input}, ends));
    ASSERT_NE(model, nullptr);
    std::vector<Indices> single;
    for (const int end : ends) single.push_back({end});
    Compare(*model, {input}, single, 5e-5);
  }
}

// Tensors of one to six dimensions through everything that takes any shape.
TEST(RuntimeTest, RandomShapesAgreeWithNaiveInterpreter) {
  std::mt19937 random(8);
  const auto pick = [&random](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  for (int round = 0; round < 100; ++round) {
    SCOPED_TRACE(round);
    Indices shape(static_cast<size_t>(pick(1, 6))), padded, pads, other;
    for (int& extent : shape) extent = pick(1, 5);
    for (const int extent : shape) {
      pads.insert(pads.end(), {pick(0, 2), pick(0, 2)});
      padded.push_back(pads[pads.size() - 2] + extent + pads.back());
      other.push_back(pick(0, 1) == 0 ? 1 : padded.back());
    }
    other.erase(other.begin(), other.begin() + pick(0, static_cast<int>(shape.size()) - 1));
    int count = 1;
    for (const int extent : padded) count *= extent;
    ModelWriter w;
    const int input = w.Value(shape);
    const int second = w.Value(other);
    const int paddings = w.Integers({static_cast<int>(shape.size()), 2}, pads);
    const int wide = w.Plain(BuiltinOperator::PAD, {input, paddings}, padded);
    const int sum = w.Plain(BuiltinOperator::ADD, {second, wide}, padded);
    const int bent = w.Plain(BuiltinOperator::PRELU, {sum, w.Constant({padded.back()})}, padded);
    const int scaled = w.Plain(BuiltinOperator::MUL, {bent, w.Constant(other)}, padded);
    const int flat = w.Plain(BuiltinOperator::RESHAPE, {scaled}, {count});
    const int limited = w.Plain(BuiltinOperator::RELU6, {flat}, {count});
    const int swish = w.Plain(BuiltinOperator::HARD_SWISH, {scaled}, padded);
    const int sigmoid = w.Plain(BuiltinOperator::LOGISTIC, {flat}, {count});
    const std::unique_ptr<Model> model = Load(w.Finish({input, second}, {limited, swish, sigmoid}));
    ASSERT_NE(model, nullptr);
    Compare(*model, {input, second}, {model->Outputs(), Reachable(*model, {input, second})}, 5e-5);
  }
}

TEST(RuntimeTest, BroadcastsEitherWay) {
  ModelWriter w;
  const int a = w.Value({1, 3, 1, 5});
  const int b = w.Value({4, 1});
  const int scale = w.Constant({1});
  const int sum = w.Plain(BuiltinOperator::ADD, {a, b}, {1, 3, 4, 5});
  const int product = w.Plain(BuiltinOperator::MUL, {scale, sum}, {1, 3, 4, 5});
  const std::unique_ptr<Model> model = Load(w.Finish({a, b}, {product}));
  ASSERT_NE(model, nullptr);
  Compare(*model, {a, b}, {{product}}, 1e-6);
}

TEST(RuntimeTest, RefusesEndsThatLeadNowhere) {
  const std::unique_ptr<Model> model = Load(WriteSmallModel());
  ASSERT_NE(model, nullptr);
  const int input = model->Inputs()[0];
  const int mask = model->Outputs()[0];
  const int joined = model->Outputs()[1];
  const int other = model->Outputs()[2];
  int constant = 0;
  while (model->Tensors()[static_cast<size_t>(constant)].constant.empty()) ++constant;
  EXPECT_NE(RefusalOf(*model, {}, {mask}), "");
  EXPECT_NE(RefusalOf(*model, {input}, {}), "");
  EXPECT_NE(RefusalOf(*model, {input}, {-1}), "");
  EXPECT_NE(RefusalOf(*model, {input}, {1000000}), "");
  EXPECT_NE(RefusalOf(*model, {input}, {input}), "");
  EXPECT_NE(RefusalOf(*model, {input}, {mask, mask}), "");
  EXPECT_NE(RefusalOf(*model, {input}, {constant}), "");
  EXPECT_NE(RefusalOf(*model, {mask}, {model->Producer(mask)->inputs[0]}), "") << "against the flow";
  EXPECT_NE(RefusalOf(*model, {input}, {joined}), "") << "needs a concatenation";
  EXPECT_NE(RefusalOf(*model, {input}, {other}), "") << "needs a custom operator";
  EXPECT_EQ(RefusalOf(*model, {input}, model->Producer(joined)->inputs), "");
  EXPECT_EQ(RefusalOf(*model, {mask, input}, {model->Outputs()[3]}), "") << "an input too many does no harm";
}

TEST(RuntimeTest, ThreadsMakeAndRunTheirOwn) {
  const std::unique_ptr<Model> model = Load(PersonMaskBytes());
  ASSERT_NE(model, nullptr);
  std::vector<float> results[4];
  std::vector<std::thread> threads;
  for (std::vector<float>& result : results) {
    threads.emplace_back([&model, &result] {
      std::string error;
      const std::unique_ptr<Runtime> runtime = Runtime::Create(*model, model->Inputs(), model->Outputs(), &error);
      if (runtime == nullptr) return;
      Fill(RandomValues(*model, model->Inputs(), 3), model->Inputs(), runtime.get());
      for (int run = 0; run < 3 && runtime->Run(); ++run) {
        result.assign(runtime->Output(0), runtime->Output(0) + runtime->OutputSize(0));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(results[0].size(), 65536u);
  for (const std::vector<float>& result : results) EXPECT_EQ(result, results[0]);
}

TEST(RuntimeTest, OutlivesItsModel) {
  std::unique_ptr<Model> model = Load(WriteSmallModel());
  ASSERT_NE(model, nullptr);
  const Indices ends = {model->Outputs()[0]};
  const std::unique_ptr<Runtime> runtime = Make(*model, model->Inputs(), ends);
  ASSERT_NE(runtime, nullptr);
  TensorValues values = RandomValues(*model, model->Inputs(), 4);
  Fill(values, model->Inputs(), runtime.get());
  InterpretNaively(*model, &values);
  model.reset();
  ASSERT_TRUE(runtime->Run());
  ExpectNear(*runtime, values, ends, 5e-5);
}

}  // namespace
}  // namespace qx::nn
