#include "nn/model.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "nn/runtime.h"
#include "tests/nn/model_writer.h"
#include "tests/nn/real_models.h"

namespace qx::nn {
namespace {

using tflite::BuiltinOperator;
using tflite::Padding;

// Parses bytes and, when they still are a network, runs what can be run. True when they were accepted.
bool Survives(const std::vector<uint8_t>& bytes) {
  std::string error;
  const std::unique_ptr<Model> model = Model::Parse(bytes.data(), bytes.size(), &error);
  if (model == nullptr) {
    EXPECT_NE(error, "");
    return false;
  }
  for (const int output : model->Outputs()) {
    const std::unique_ptr<Runtime> runtime = Runtime::Create(*model, model->Inputs(), {output}, &error);
    EXPECT_TRUE(runtime == nullptr || runtime->Run());
  }
  return true;
}

TEST(ModelTest, ReadsSmallModel) {
  const std::vector<uint8_t> bytes = WriteSmallModel();
  std::string error;
  const std::unique_ptr<Model> model = Model::Parse(bytes.data(), bytes.size(), &error);
  ASSERT_NE(model, nullptr) << error;
  EXPECT_EQ(model->Tensors()[static_cast<size_t>(model->Inputs()[0])].shape, (std::vector<int>{1, 7, 6, 3}));
  const Operator* stem = &model->Operators()[0];  // the operator that widens its filter is gone
  EXPECT_EQ(stem->kind, OperatorKind::kConvolution);
  EXPECT_EQ(stem->padding, qx::nn::Padding::kSame);
  EXPECT_EQ(stem->strideHeight, 2);
  const Tensor& filter = model->Tensors()[static_cast<size_t>(stem->inputs[1])];
  ASSERT_EQ(filter.constant.size(), 108u);
  EXPECT_EQ(filter.constant[0], 0.25f);                       // 0x3400
  EXPECT_EQ(filter.constant[1], -(0.25f + 0x111 / 4096.0f));  // 0xb511
  const Operator* joined = model->Producer(model->Outputs()[1]);
  ASSERT_NE(joined, nullptr);
  EXPECT_EQ(joined->kind, OperatorKind::kConcatenation);
  EXPECT_EQ(joined->axis, 1);
  const Operator* other = model->Producer(model->Outputs()[2]);
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(other->name, "Other");
  EXPECT_EQ(other->options, (std::vector<uint8_t>{7, 0, 0, 0}));
  EXPECT_EQ(model->Producer(-1), nullptr);
  EXPECT_EQ(model->Producer(1 << 20), nullptr);
}

TEST(ModelTest, ReadsFromAnyAddress) {
  std::vector<uint8_t> bytes = WriteSmallModel();
  bytes.insert(bytes.begin(), 3, 0);
  std::string error;
  EXPECT_NE(Model::Parse(bytes.data() + 3, bytes.size() - 3, &error), nullptr) << error;
  EXPECT_EQ(Model::Parse(nullptr, 0, &error), nullptr);
  EXPECT_EQ(Model::Parse(bytes.data(), 0, &error), nullptr);
}

TEST(ModelTest, EveryTruncationIsRefused) {
  const std::vector<uint8_t> small = WriteSmallModel();
  for (size_t size = 0; size < small.size(); size += 3) {
    EXPECT_FALSE(Survives(std::vector<uint8_t>(small.data(), small.data() + size))) << size;
  }
  const std::vector<uint8_t> real = ShortRangeBytes();
  for (size_t size = 0; size < real.size(); size += 1501) {
    EXPECT_FALSE(Survives(std::vector<uint8_t>(real.data(), real.data() + size))) << size;
  }
}

TEST(ModelTest, FlippedBytesDoNoHarm) {
  const std::vector<uint8_t> small = WriteSmallModel();
  int refused = 0;
  for (size_t at = 0; at < small.size(); ++at) {
    for (const int flip : {0x01, 0x80, 0xff}) {
      std::vector<uint8_t> bytes = small;
      bytes[at] = static_cast<uint8_t>(bytes[at] ^ flip);
      if (!Survives(bytes)) ++refused;
    }
  }
  EXPECT_GT(refused, 1000);

  std::mt19937 random(11);
  const std::vector<uint8_t> real = ShortRangeBytes();
  for (int round = 0; round < 300; ++round) {
    std::vector<uint8_t> bytes = real;
    for (int flips = 0; flips < 1 + round % 8; ++flips) {
      // The tables stand at both ends of the file, the weights between them.
      const size_t at = random() % 30000;
      bytes[round % 2 == 0 ? at : bytes.size() - 1 - at] = static_cast<uint8_t>(random());
    }
    Survives(bytes);
  }
}

using Indices = std::vector<int>;
using Shape = ModelWriter::Shape;
using Write = std::function<Indices(ModelWriter*, int input)>;  // input is [1,8,8,4]; returns the outputs

// One network with one fault each; the base without a fault is accepted.
struct Fault {
  const char* name;
  Write write;
  bool isAccepted = false;
};

// A convolution of the input, or of a tensor of the shape `from`.
Write Convolve(const Shape& filter, int bias, int stride, Padding padding, const Shape& out, const Shape& from = {}) {
  return [=](ModelWriter* w, int in) {
    const int input = from.empty() ? in : w->Value(from);
    return Indices{w->Convolution(input, w->Constant(filter), w->Constant({bias}), stride, padding, out)};
  };
}

Write Transpose(int stride, const Shape& filter, const Shape& out) {
  return [=](ModelWriter* w, int in) {
    const Indices inputs = {in, w->Constant(filter), w->Constant({out[3]})};
    return Indices{w->Custom("Convolution2DTransposeBias", {1, stride, stride}, inputs, out)};
  };
}

// An operator on the input and a float constant, where it has a shape.
Write Plain(BuiltinOperator code, const Shape& constant, const Shape& out) {
  return [=](ModelWriter* w, int in) {
    return Indices{w->Plain(code, constant.empty() ? Indices{in} : Indices{in, w->Constant(constant)}, out)};
  };
}

Write WithIntegers(BuiltinOperator code, const Shape& shape, const Indices& values, const Shape& out) {
  return [=](ModelWriter* w, int in) { return Indices{w->Plain(code, {in, w->Integers(shape, values)}, out)}; };
}

Write Resize(const Shape& from, const Indices& size, const Shape& out) {
  return [=](ModelWriter* w, int) { return Indices{w->Resize(w->Value(from), w->Integers({2}, size), out)}; };
}

Write ReluOf(const Indices& inputs) {
  return [=](ModelWriter* w, int) { return Indices{w->Plain(BuiltinOperator::RELU, inputs, {1, 8, 8, 4})}; };
}

Write Value(const Shape& shape) {
  return [=](ModelWriter* w, int) { return Indices{w->Value(shape)}; };
}

void AddRelu(ModelWriter* w, int from, int to) {
  w->AddOperator(BuiltinOperator::RELU, "", {from}, {to}, tflite::BuiltinOptions::NONE, 0, {});
}

const Fault kFaults[] = {
    {"None", Convolve({2, 3, 3, 4}, 2, 2, Padding::SAME, {1, 4, 4, 2}), true},
    {"FilterInputs", Convolve({2, 3, 3, 5}, 2, 2, Padding::SAME, {1, 4, 4, 2})},
    {"FilterOutputs", Convolve({1, 3, 3, 4}, 2, 2, Padding::SAME, {1, 4, 4, 2})},
    {"Bias", Convolve({2, 3, 3, 4}, 1, 2, Padding::SAME, {1, 4, 4, 2})},
    {"OutputTooLarge", Convolve({2, 3, 3, 4}, 2, 2, Padding::SAME, {1, 5, 4, 2})},
    {"OutputTooSmall", Convolve({2, 3, 3, 4}, 2, 2, Padding::VALID, {1, 3, 2, 2})},
    {"WindowTooLarge", Convolve({2, 9, 9, 4}, 2, 1, Padding::VALID, {1, 1, 1, 2})},
    {"NoStride", Convolve({2, 3, 3, 4}, 2, 0, Padding::SAME, {1, 8, 8, 2})},
    {"NegativeStride", Convolve({2, 3, 3, 4}, 2, -1, Padding::SAME, {1, 8, 8, 2})},
    {"ComputedFilter",
     [](ModelWriter* w, int in) {
       return Indices{w->Convolution(in, w->Value({2, 3, 3, 4}), w->Constant({2}), 1, Padding::SAME, {1, 8, 8, 2})};
     }},
    {"DepthwiseFilter",
     [](ModelWriter* w, int in) {
       const int filter = w->Constant({1, 3, 3, 3});
       return Indices{w->DepthwiseConvolution(in, filter, w->Constant({4}), 1, Padding::SAME, {1, 8, 8, 4})};
     }},
    {"TransposedOutput", Transpose(2, {2, 2, 2, 4}, {1, 16, 15, 2})},
    {"TransposedFilter", Transpose(2, {2, 2, 2, 3}, {1, 16, 16, 2})},
    {"TransposedStride", Transpose(-2, {2, 2, 2, 4}, {1, 16, 16, 2})},
    {"PoolOutput",
     [](ModelWriter* w, int in) {
       return Indices{w->Pool(BuiltinOperator::MAX_POOL_2D, in, 2, 2, Padding::VALID, {1, 4, 4, 5})};
     }},
    {"MeanOutput", WithIntegers(BuiltinOperator::MEAN, {2}, {1, 2}, {1, 1, 1, 3})},
    {"SlopeCount", Plain(BuiltinOperator::PRELU, {1, 1, 3}, {1, 8, 8, 4})},
    {"AddShapes", Plain(BuiltinOperator::ADD, {3}, {1, 8, 8, 4})},
    {"ClampOutput", Plain(BuiltinOperator::RELU, {}, {1, 8, 8, 5})},
    {"ReshapeCount", Plain(BuiltinOperator::RESHAPE, {}, {255})},
    {"NegativePad", WithIntegers(BuiltinOperator::PAD, {4, 2}, {0, 0, -1, 1, 0, 0, 0, 0}, {1, 8, 8, 4})},
    {"ShortPads", WithIntegers(BuiltinOperator::PAD, {2}, {0, 0}, {1, 8, 8, 4})},
    {"ResizeSize", Resize({1, 8, 8, 4}, {4, 5}, {1, 4, 4, 4})},
    {"InputLeftOut", ReluOf({-1})},
    {"InputOutOfRange", ReluOf({99})},
    {"NoInput", ReluOf({})},
    {"OutputOutOfRange", [](ModelWriter*, int) { return Indices{99}; }},
    {"ComputedTwice",
     [](ModelWriter* w, int in) {
       const int out = w->Plain(BuiltinOperator::RELU, {in}, {1, 8, 8, 4});
       AddRelu(w, in, out);
       return Indices{out};
     }},
    {"Ring",
     [](ModelWriter* w, int) {
       const int a = w->Value({1, 8, 8, 4});
       const int b = w->Plain(BuiltinOperator::RELU, {a}, {1, 8, 8, 4});
       AddRelu(w, b, a);
       return Indices{b};
     }},
    {"ConstantSize",
     [](ModelWriter* w, int in) {
       w->AddTensor({5}, tflite::TensorType::FLOAT32, {0, 0, 0, 0});
       return Indices{w->Plain(BuiltinOperator::RELU, {in}, {1, 8, 8, 4})};
     }},
    {"NegativeExtent", Value({1, -8})},
    {"NoExtent", Value({1, 0})},
    {"ExtentsThatWrap", Value({65536, 65536, 65536, 65536})},
    {"TooManyDimensions", Value({1, 1, 1, 1, 1, 1, 1})},
    {"ManyLargeTensors",
     [](ModelWriter* w, int) {
       for (int i = 0; i < 8; ++i) w->Value({4096, 4096});
       return Indices{};
     }},
    {"TooManyTaps", Convolve({1, 5, 5, 1}, 1, 1, Padding::SAME, {1, 1000, 1000, 1}, {1, 1000, 1000, 1})},
    {"LargeResize", Resize({1, 2, 2, 1}, {4000, 4000}, {1, 4000, 4000, 1})},
    {"TooManyMultiplications",
     Convolve({400, 1, 1, 400}, 400, 1, Padding::SAME, {1, 200, 200, 400}, {1, 200, 200, 400})},
};

TEST(ModelTest, FaultsAreSeenBeforeTheyReachTheRuntime) {
  for (const Fault& fault : kFaults) {
    ModelWriter writer;
    const int input = writer.Value({1, 8, 8, 4});
    const Indices outputs = fault.write(&writer, input);
    EXPECT_EQ(Survives(writer.Finish({input}, outputs)), fault.isAccepted) << fault.name;
  }
}

}  // namespace
}  // namespace qx::nn
