// Many photographs at once, some of them damaged.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "codec/codec.h"
#include "support/test_files.h"

namespace qx::codec {
namespace {

using namespace qx::test;
using namespace qx::photo;
using vips::VImage;

constexpr int kThreads = 8, kRounds = 8;

struct Sample {
  Bytes bytes;
  std::string answer;  // what reading it alone says
  Bytes pixels;
};

std::string Read(const Bytes& bytes, Bytes* pixels) {
  return FailureOf([&] {
    FileSource source(bytes, {4'000'000});
    source.Overview(5000);
    *pixels = source.Whole().bgr;
  });
}

// Files of every format, cut at different places and with bytes changed, and whole ones between them.
std::vector<Sample> MakeSamples() {
  const VImage noise =
      VImage::gaussnoise(160, 120, VImage::option()->set("mean", 128)->set("sigma", 40)->set("seed", 5))
          .bandjoin(std::vector<double>{60, 200})
          .cast(VIPS_FORMAT_UCHAR)
          .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
  std::vector<Sample> samples;
  const TestFolder folder;
  for (const char* name : {"a.jpg", "a.png", "a.webp", "a.tif", "a.heic"}) {
    noise.write_to_file((folder / name).c_str());
    const std::string whole = ReadBytes(folder / name);
    for (int part = 1; part <= 6; ++part) {
      std::string text = whole.substr(0, whole.size() * static_cast<size_t>(part) / 6);
      if (part == 3) text = whole.substr(0, 60) + std::string(40, '\x55') + whole.substr(100);
      Sample sample{{text.begin(), text.end()}, "", {}};
      sample.answer = Read(sample.bytes, &sample.pixels);
      samples.push_back(sample);
    }
  }
  return samples;
}

TEST(CodecThreads, EachFileGetsItsOwnAnswerAlways) {
  const std::vector<Sample> samples = MakeSamples();
  const auto damaged = std::count_if(samples.begin(), samples.end(), [](const Sample& sample) {
    return Contains(sample.answer, "damaged or truncated") && !Contains(sample.answer, "no reason given");
  });
  ASSERT_LE(20, damaged);  // with the reason in brackets
  std::atomic<int> wrong{0}, next{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int k; (k = next++) < kRounds * static_cast<int>(samples.size());) {
        const Sample& sample = samples[static_cast<size_t>(k) * 7 % samples.size()];
        Bytes pixels;
        if (Read(sample.bytes, &pixels) != sample.answer || pixels != sample.pixels) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, wrong);
}

}  // namespace
}  // namespace qx::codec
