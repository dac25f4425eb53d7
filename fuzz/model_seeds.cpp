// Writes the networks that model_fuzz starts from into a folder.
#include <cstdint>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "tests/nn/model_writer.h"

namespace {

using qx::nn::ModelWriter;
using qx::nn::tflite::BuiltinOperator;
using qx::nn::tflite::Padding;

bool Write(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(file.flush());
}

// One operator each, so that a mutation hits its options and shapes often.
std::vector<std::vector<uint8_t>> WriteSingleOperators() {
  std::vector<std::vector<uint8_t>> files;
  for (int kind = 0; kind < 6; ++kind) {
    ModelWriter w;
    const int in = w.Value({1, 5, 6, 2});
    int out = in;
    if (kind == 0) out = w.Convolution(in, w.Constant({3, 3, 2, 2}), w.Constant({3}), 2, Padding::SAME, {1, 3, 3, 3});
    if (kind == 1) {
      out = w.DepthwiseConvolution(in, w.Constant({1, 3, 2, 2}), w.Constant({2}), 1, Padding::VALID, {1, 3, 5, 2});
    }
    if (kind == 2) out = w.Pool(BuiltinOperator::MAX_POOL_2D, in, 2, 2, Padding::SAME, {1, 3, 3, 2});
    if (kind == 3) {
      const int filter = w.Constant({3, 2, 3, 2});
      out = w.Custom("Convolution2DTransposeBias", {1, 2, 2}, {in, filter, w.Constant({3})}, {1, 10, 12, 3});
    }
    if (kind == 4) {
      out = w.Plain(BuiltinOperator::PAD, {in, w.Integers({4, 2}, {0, 0, 1, 0, 2, 1, 0, 0})}, {1, 6, 9, 2});
    }
    if (kind == 5) out = w.Resize(in, w.Integers({2}, {9, 4}), {1, 9, 4, 2});
    files.push_back(w.Finish({in}, {out}));
  }
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: model_seeds FOLDER\n";
    return 2;
  }
  const std::string folder = argv[1];
  bool isWritten = Write(folder + "/small", qx::nn::WriteSmallModel());
  int index = 0;
  for (const std::vector<uint8_t>& file : WriteSingleOperators()) {
    isWritten = Write(folder + "/single" + std::to_string(index++), file) && isWritten;
  }
  if (!isWritten) std::cerr << "cannot write to " << folder << "\n";
  return isWritten ? 0 : 1;
}
