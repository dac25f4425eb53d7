// The functions of the shared library, without a photograph.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "engine_instance.h"

namespace qx::face {
namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

Grey Noise(int width, int height, uint32_t seed) {
  std::mt19937 random(seed);
  Grey image{width, height, std::vector<uint8_t>(static_cast<size_t>(width) * static_cast<size_t>(height))};
  for (uint8_t& pixel : image.pixels) pixel = static_cast<uint8_t>(random());
  return image;
}

void ExpectBounded(const Description& d, const Grey& image) {
  for (size_t i = 0; i < d.attributes.size(); ++i) {
    const int32_t extent = i % 2 == 0 ? image.width : image.height;
    ASSERT_TRUE(d.attributes[i] >= -extent && d.attributes[i] <= 2 * extent);
  }
}

TEST(Exports, NoFaceInImagesWithoutOne) {
  Engine engine;
  Grey waves{300, 420, {}};
  for (int y = 0; y < waves.height; ++y) {
    for (int x = 0; x < waves.width; ++x) {
      waves.pixels.push_back(static_cast<uint8_t>(128 + 60 * std::sin(x / 17.0) + 60 * std::cos(y / 23.0)));
    }
  }
  for (const Grey& image : {Noise(97, 33, 1), Noise(640, 480, 2), waves, Grey{1, 1, {200}},
                            Grey{2000, 1, std::vector<uint8_t>(2000)}, Grey{64, 64, std::vector<uint8_t>(4096, 255)}}) {
    for (const int32_t threshold : {550, 500}) {
      SetDetectThreshold(engine.detector, threshold);
      SetDetectMinFace(engine.detector, threshold == 550 ? 25 : 10);
      EXPECT_TRUE(engine.Detect(image).empty()) << image.width << " x " << image.height;
    }
  }
}

TEST(Exports, NullsAndEmptyImagesFindNothing) {
  Engine engine;
  const Grey image = Noise(40, 30, 3);
  const struct {
    void* detector;
    const uint8_t* pixels;
    int32_t width, height, channels;
  } cases[] = {{nullptr, image.pixels.data(), 40, 30, 1},
               {engine.detector, nullptr, 40, 30, 1},
               {engine.detector, image.pixels.data(), 0, 30, 1},
               {engine.detector, image.pixels.data(), 40, -1, 1},
               {engine.detector, image.pixels.data(), kMin, kMin, 1},
               {engine.detector, image.pixels.data(), 40, 30, 3}};
  for (const auto& c : cases) {
    FaceEntry entry;
    FaceEntry* faces = &entry;
    int32_t count = 7;
    FaceDetect(c.detector, c.pixels, c.width, c.height, c.channels, &faces, &count);
    EXPECT_EQ(faces, nullptr);
    EXPECT_EQ(count, 0);
  }
  FaceDetect(engine.detector, image.pixels.data(), 40, 30, 1, nullptr, nullptr);
  for (const auto set : {SetDetectFlagA, SetDetectParamB, SetDetectFlagC, SetDetectThreshold, SetDetectMinFace}) {
    set(nullptr, 1);
  }
  SetDetectSizeRange(nullptr, 1, 2);
  FaceListFree(nullptr);
  FaceDetectorRelease(nullptr);
  LandmarkerRelease(nullptr);
  FaceAttrRelease(nullptr);
}

TEST(Exports, NothingToDescribeGivesZeros) {
  Engine engine;
  const Grey image = Noise(40, 30, 4);
  const FaceArgument face = {{5, 5, 25, 5, 5, 25, 25, 25}, 0};
  const Grey empty{0, 30, image.pixels};
  for (const Description& d :
       {Describe(nullptr, engine.analyser, image, &face), Describe(engine.landmarker, engine.analyser, image, nullptr),
        Describe(engine.landmarker, nullptr, empty, &face)}) {
    for (const int32_t value : d.All()) ASSERT_EQ(value, 0);
  }
  const Description described = Describe(engine.landmarker, nullptr, image, &face);
  EXPECT_NE(described.keyPoints[0], 0);
  for (const int32_t value : described.attributes) ASSERT_EQ(value, 0);
}

TEST(Exports, BlockEndsBehindDepthsAndIrises) {
  Engine engine;
  const Grey image = Noise(40, 30, 4);
  const FaceArgument face = {{5, 5, 25, 5, 5, 25, 25, 25}, 0};
  const Description d = Describe(engine.landmarker, engine.analyser, image, &face);
  EXPECT_EQ(d.block[0], QX_FACE_BLOCK_MARK);
  EXPECT_EQ(d.block[QX_FACE_BLOCK_DEPTHS], QX_FACE_DEPTH_MARK);
  const int end = QX_FACE_BLOCK_DEPTHS + 1 + QX_FACE_DEPTH_POINTS + 2 * 10;
  for (int i = QX_FACE_BLOCK_DEPTHS + 1; i < end; ++i) EXPECT_TRUE(std::isfinite(d.BlockFloat(i))) << i;
  for (size_t i = end; i < d.block.size(); ++i) ASSERT_EQ(d.block[i], 0);
  // The dense points hang on the mesh alone.
  Description without = d;
  std::fill(without.block.begin() + QX_FACE_BLOCK_DEPTHS, without.block.end(), 0);
  FaceAttr(engine.analyser, image.pixels.data(), 40, 30, 1, nullptr, without.block.data(), 0, 0, 0,
           without.attributes.data());
  EXPECT_EQ(d.attributes, without.attributes);
}

TEST(Exports, HostileFacesGiveBoundedPoints) {
  Engine engine;
  const int32_t corners[][8] = {{0, 0, 0, 0, 0, 0, 0, 0},
                                {kMax, kMax, kMax, kMax, kMax, kMax, kMax, kMax},
                                {kMin, kMin, kMax, kMin, kMin, kMax, kMax, kMax},
                                {kMin, kMin, kMin, kMin, kMin, kMin, kMin, kMin},
                                {0, 0, 39, 0, 0, 0, 39, 0},
                                {900, 4, 4, 900, -900, 4, 4, -900}};
  const Grey images[] = {Noise(40, 30, 5), Noise(1, 1, 6), Noise(1, 3000, 7), Noise(3000, 1, 8)};
  for (const Grey& image : images) {
    for (const auto& c : corners) {
      for (const int32_t tag : {0, 4500, kMin, kMax}) {
        FaceArgument face;
        std::copy(c, c + 8, face.corners);
        face.tag = tag;
        const Description d = Describe(engine.landmarker, engine.analyser, image, &face);
        ExpectBounded(d, image);
        EXPECT_TRUE(d.presence >= 0 && d.presence <= 1000 && d.leftEye >= 0 && d.mouth >= 0);
      }
    }
  }
}

TEST(Exports, DamagedBlockGivesBoundedPoints) {
  Engine engine;
  const Grey image = Noise(40, 30, 9);
  const FaceArgument face = {{5, 5, 25, 5, 5, 25, 25, 25}, 0};
  Description d = Describe(engine.landmarker, engine.analyser, image, &face);
  std::mt19937 random(10);
  for (size_t i = 1; i < d.block.size(); ++i) d.block[i] = static_cast<int32_t>(random());
  FaceAttr(engine.analyser, image.pixels.data(), 40, 30, 1, nullptr, d.block.data(), kMin, kMax, 0,
           d.attributes.data());
  ExpectBounded(d, image);
}

TEST(Exports, HostileSettingsAreHarmless) {
  Engine engine;
  const Grey image = Noise(80, 60, 11);
  for (const int32_t value : {kMin, -1, kMax}) {
    SetDetectFlagA(engine.detector, value);
    SetDetectParamB(engine.detector, value);
    SetDetectThreshold(engine.detector, value);
    SetDetectSizeRange(engine.detector, value, value);
    SetDetectMinFace(engine.detector, value);
    EXPECT_LE(engine.Detect(image).size(), 10000U);
  }
}

// Two engines in two threads answer what one of them answers alone.
TEST(Exports, EnginesAreIndependent) {
  const Grey images[] = {Noise(200, 150, 12), Noise(150, 200, 13)};
  const FaceEntry face = {{40, 30, 120, 30, 40, 110, 120, 110}, 0, 700};
  const auto run = [&face](const Grey& image) {
    Engine engine;
    std::vector<int32_t> all;
    for (int i = 0; i < 3; ++i) {
      all.push_back(static_cast<int32_t>(engine.Detect(image).size()));
      const std::vector<int32_t> values = engine.Align(image, face).All();
      all.insert(all.end(), values.begin(), values.end());
    }
    return all;
  };
  std::vector<int32_t> together[2];
  std::thread first([&] { together[0] = run(images[0]); });
  std::thread second([&] { together[1] = run(images[1]); });
  first.join();
  second.join();
  EXPECT_EQ(together[0], run(images[0]));
  EXPECT_EQ(together[1], run(images[1]));
}

}  // namespace
}  // namespace qx::face
