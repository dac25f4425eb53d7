// The operations of the skin retouch stage: by hand, and against the plain reading of their definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "beauty/skin/face_weight_map.h"
#include "beauty/skin/masked_gaussian.h"
#include "beauty/skin/resize_mask.h"
#include "beauty/skin/skin_colour_mask.h"
#include "beauty/skin/skin_layer.h"
#include "beauty/skin/skin_region.h"
#include "beauty/skin/skin_score.h"
#include "src/beauty/skin_fixture.h"

namespace qx::test {
namespace {

TEST(SkinTables, ByHand) {
  const LabTables tables = Tables();
  EXPECT_EQ(tables.lTable[0], 0);
  EXPECT_EQ(tables.lTable[255], 100);
  EXPECT_EQ(tables.lTable[2], 7);     // 116 (2 * 7.787 / 255 + 16 / 116) - 16 = 7.08
  EXPECT_EQ(tables.lTable[128], 76);  // 116 * 0.79471 - 16 = 76.19
  EXPECT_EQ(tables.aTable[255 * 256 + 255], 140);
  EXPECT_EQ(tables.aTable[255 * 256 + 128], 242);  // 140 + trunc(500 * 0.20529)
  EXPECT_EQ(tables.aTable[0 * 256 + 255], 0);
  EXPECT_EQ(tables.bTable[255 * 256 + 128], 141);
  EXPECT_EQ(tables.bTable[128 * 256 + 255], 59);
  EXPECT_EQ(tables.levelTable[255], 255.0);
  LabTables again = Tables();
  again.lTable[0] = 9;
  EXPECT_EQ(BuildLabTables(&again), Status::kOk);
  EXPECT_EQ(again.lTable[0], 9) << "built once";

  const SkinTaper taper;
  EXPECT_EQ(taper[25], 255);
  EXPECT_EQ(taper[49], 166);  // radius 0.7: 1 - cos(1.4 pi) = 1.30902, and half of 255 of that
  EXPECT_EQ(taper[100], 0);
}

TEST(SkinTables, HalfLabIsThePlainOne) {
  for (const auto& [w, h] : {std::pair(1, 5), std::pair(2, 2), std::pair(37, 21), std::pair(64, 40)}) {
    Picture image = Noise(w, h, 3);
    std::fill_n(image.bytes.begin(), 3, static_cast<uint8_t>(0));
    Picture lab(w / 2, h / 2, 3, 77);
    ConvertHalfLab(Tables(), image.View(), lab.bytes.data());
    EXPECT_EQ(lab.bytes, PlainHalfLab(image).bytes) << w << "x" << h;
  }
}

TEST(SkinRegion, IsThePlainOne) {
  const SkinTaper taper;
  const std::pair<Point, Point> eyes[] = {{{50, 40}, {80, 40}}, {{50, 40}, {50, 70}}, {{80, 60}, {50, 52}},
                                          {{5, 5}, {6, 5}},     {{60, 60}, {60, 60}}, {{-40, 20}, {170, 35}}};
  for (const auto& [e0, e1] : eyes) {
    Picture region(140, 110, 1);
    SkinBox box, plainBox;
    BuildSkinRegion(e0, e1, taper, region.Mutable(), &box);
    EXPECT_EQ(region.bytes, PlainRegion(140, 110, e0, e1, &plainBox).bytes);
    EXPECT_EQ(std::memcmp(&box, &plainBox, sizeof box), 0);
  }
}

TEST(SkinColour, StatisticsAreThePlainOnes) {
  const uint8_t key[] = {0, 140, 100};
  std::vector<Bytes> patches = {{}, {9, 9, 9}, {0, 140, 100, 0, 140, 100}, {10, 20, 30, 0, 140, 100, 14, 20, 36}};
  for (int round = 0; round < 50; ++round) patches.push_back(Noise(30, 1, 3, round < 25 ? 4 : 256).bytes);
  for (const Bytes& patch : patches) {
    for (const double k : {0.0, 2.0}) {
      ColourModel model;
      RobustColourStats({patch.data(), static_cast<int>(patch.size() / 3), 1, 3}, key, k, &model);
      const ColourModel plain = PlainStats(patch, k);
      EXPECT_EQ(std::memcmp(&model, &plain, sizeof model), 0) << patch.size() << " bytes, " << k;
    }
  }
}

TEST(SkinColour, ScoresAreThePlainOnesAtAndAroundEveryThreshold) {
  const Picture lab = Noise(200, 150, 3, 30), region = Noise(200, 150, 1, 3);
  const SkinBox box = {10, 5, 190, 150};
  for (int round = 0; round < 40; ++round) {
    const auto between = [](double low, double high) { return std::uniform_real_distribution(low, high)(Random()); };
    const ColourModel model = {{between(5, 25), between(5, 25), 15}, {between(1, 20), between(1, 8), 8}};
    Picture score(200, 150, 1);
    ScoreSkinColour(lab.View(), model, box, region.bytes.data(), score.bytes.data());
    ASSERT_EQ(score.bytes, PlainScore(lab, model, box, region).bytes);
  }
  const Picture one(1, 1, 1, 15), pixel(1, 1, 3, 15);
  for (int v = 1; v < 256; ++v) {
    const ColourModel model = {{15 + std::sqrt(-3 * std::log(v / 255.0)), 15, 15}, {1, 1, 1}};
    Picture score(1, 1, 1);
    ScoreSkinColour(pixel.View(), model, {0, 0, 1, 1}, one.bytes.data(), score.bytes.data());
    ASSERT_EQ(score.bytes, PlainScore(pixel, model, {0, 0, 1, 1}, one).bytes) << v;
  }
  Picture score(200, 150, 1, 9);
  ScoreSkinColour(lab.View(), {{1, 1, 1}, {1, 0, 1}}, box, region.bytes.data(), score.bytes.data());
  EXPECT_EQ(score.bytes, Picture(200, 150, 1).bytes) << "no spread";
}

TEST(SkinColour, RefiningIsThePlainOne) {
  for (const SkinBox box : {SkinBox{0, 0, 61, 47}, SkinBox{3, 4, 50, 40}, SkinBox{3, 4, 7, 9}, SkinBox{3, 4, 5, 40}}) {
    for (const int rounds : {1, 2}) {
      Picture score = Noise(61, 47, 1), plain = score;
      ASSERT_EQ(RefineSkinScore(score.Mutable(), box, rounds), Status::kOk);
      PlainRefine(box, rounds, &plain);
      EXPECT_EQ(score.bytes, plain.bytes);
    }
  }
}

TEST(SkinColour, MasksArePlainOnesForOneFaceAndTwo) {
  struct Scene {
    Picture image;
    Point corners[8], eyes0[2], eyes1[2];
  };
  // In the small image, patches are cut at every edge, scores are cleaned twice, as the faces are larger than the
  // image, and the sides are equal, so that the first face's direction counts.
  Scene scenes[] = {{PaintedFace(230, 262, 150, 120, 110).image,
                     {{40, 32}, {65, 32}, {40, 67}, {65, 67}, {22, 17}, {97, 17}, {22, 92}, {97, 92}},
                     {{90, 98}, {150, 150}},
                     {{150, 98}, {158, 190}}},
                    {Noise(26, 24, 3, 5),
                     {{-11, -12}, {29, -12}, {-11, 28}, {29, 28}, {24, -16}, {24, 24}, {-16, -16}, {-16, 24}},
                     {{9, 4}, {6, 15}},
                     {{17, 4}, {16, 15}}}};
  for (int i = 0; i < 24 * 26 * 3; ++i) {
    uint8_t& b = scenes[1].image.bytes[static_cast<size_t>(i)];
    b = static_cast<uint8_t>(b + 15 + i / 3 % 26 + i / 78 * 9);
  }
  for (const Scene& scene : scenes) {
    const int w = scene.image.width, h = scene.image.height;
    for (const int faces : {1, 2}) {
      Picture mask(w / 2, h / 2, 1, 33);
      SkinBox boxes[2], plainBoxes[2];
      ASSERT_EQ(BuildSkinColourMask(Tables(), scene.image.View(), scene.corners, faces, scene.eyes0, scene.eyes1, boxes,
                                    mask.bytes.data()),
                Status::kOk);
      EXPECT_EQ(mask.bytes,
                PlainColourMask(scene.image, scene.corners, faces, scene.eyes0, scene.eyes1, plainBoxes).bytes);
      ByteBuffer map;
      ASSERT_EQ(BuildFaceWeightMap(scene.image.View(), scene.corners, faces, w / 4, h / 4, &map), Status::kOk);
      EXPECT_EQ(Taken(map, static_cast<size_t>(w / 4 * (h / 4))),
                PlainWeightMap(scene.image, scene.corners, faces, w / 4, h / 4).bytes);
    }
  }
  const Point point = {};
  SkinBox box;
  uint8_t byte;
  EXPECT_EQ(BuildSkinColourMask(LabTables(), {&byte, 1, 1, 3}, scenes[0].corners, 1, &point, &point, &box, &byte),
            Status::kMemoryShort);
}

TEST(FaceWeights, RefuseWhatHasNoScale) {
  const Picture image(240, 240, 3, 200);
  const Point nowhere[4] = {}, face[] = {{30, 30}, {90, 30}, {30, 90}, {90, 90}},
              pixel[] = {{0, 0}, {1, 0}, {0, 50}, {50, 50}};
  ByteBuffer none;
  EXPECT_EQ(BuildFaceWeightMap(image.View(), nowhere, 1, 60, 60, &none), Status::kBadArgument);
  EXPECT_EQ(BuildFaceWeightMap({image.bytes.data(), 3, 3, 3}, face, 1, 0, 0, &none), Status::kBadArgument);
  EXPECT_EQ(BuildFaceWeightMap({image.bytes.data(), 4000, 3000, 3}, pixel, 1, 1000, 750, &none), Status::kBadArgument)
      << "enlarged too far";
}

TEST(SkinSmoothing, TheKernelByHand) {
  const LabTables tables = Tables();
  // Sigma 1 on a row: 0.27407, 0.45186, 0.27407 of 100 and 200, then the same down one row of the same pixels.
  Bytes image = {100, 0, 0, 200, 0, 0, 100, 0, 0};
  const Bytes all = {9, 9, 9}, centre = {0, 9, 0};
  EXPECT_EQ(MaskedGaussian(tables, {image.data(), 3, 1, 3}, 1.0, nullptr, 0, all.data()), Status::kOk);
  EXPECT_EQ(image[3], 145);  // 54.81 + 90.37
  EXPECT_EQ(image[0], 127);  // (0.27407 + 0.45186) * 100 + 54.81, the edge pixel replicated
  image = {100, 0, 0, 200, 0, 0, 100, 0, 0};
  EXPECT_EQ(MaskedGaussian(tables, {image.data(), 3, 1, 3}, 1.0, nullptr, 0, centre.data()), Status::kOk);
  EXPECT_NEAR(image[3], 200, 1) << "nothing comes in from outside the mask";
  EXPECT_EQ(image[0], 100);
  EXPECT_EQ(MaskedGaussian(LabTables(), {image.data(), 3, 1, 3}, 1.0, nullptr, 0, all.data()), Status::kMemoryShort);
}

TEST(SkinSmoothing, IsThePlainOne) {
  const LabTables tables = Tables();
  for (const double sigma : {1.0, 1.5, 2.0, 3.5, 4.0}) {
    for (const SkinBox& box : {SkinBox{9, 6, 61, 51}, SkinBox{-7, -3, 300, 300}, SkinBox{40, 40, 30, 60}}) {
      for (const int faces : {1, 2}) {
        Picture image = Noise(41, 33, 3), plain = image, mask = Noise(41, 33, 1);
        for (uint8_t& m : mask.bytes) m = m < 120 ? 0 : m;
        ASSERT_EQ(MaskedGaussian(tables, image.Mutable(), sigma, &box, faces, mask.bytes.data()), Status::kOk);
        PlainGaussian(sigma, faces == 1 ? &box : nullptr, mask, &plain);
        EXPECT_EQ(image.bytes, plain.bytes) << sigma;
      }
    }
  }
}

TEST(SkinSmoothing, BringsTheLayerBackToSize) {
  for (const auto& [w, h] : {std::pair(4, 4), std::pair(7, 9), std::pair(30, 21), std::pair(45, 18)}) {
    const Picture image = Noise(w / 4, h / 4, 3), mask = Noise(w / 4, h / 4, 1);
    Picture big(w, h, 3);
    UpsampleLayer(image.bytes.data(), big.Mutable());
    EXPECT_EQ(big.bytes, PlainUpsample(image, w, h).bytes);
    EXPECT_EQ(Taken(ResizeMask(mask.View(), w, h), static_cast<size_t>(w * h)), PlainResize(mask, w, h).bytes);
    const Picture wide = Noise(w, h, 1);
    EXPECT_EQ(Taken(ResizeMask(wide.View(), w / 3, h / 4), static_cast<size_t>(w / 3 * (h / 4))),
              PlainResize(wide, w / 3, h / 4).bytes);
  }
}

TEST(SkinBlend, WeighsByMaskAndStrength) {
  SkinLayer layer;
  layer.image.Allocate(9);
  layer.mask.Allocate(3);
  std::memset(layer.image.data(), 100, 9);
  const Bytes mask = {0, 128, 255}, source(9, 200);
  std::copy(mask.begin(), mask.end(), layer.mask.data());
  const auto blend = [&](const SkinLayer* what, double strength, Status expected = Status::kOk) {
    Bytes out(9);
    EXPECT_EQ(BlendSkinLayer(what, {source.data(), 3, 1, 3}, strength, out.data()), expected);
    return Bytes{out[0], out[3], out[8]};
  };
  const Bytes copy = {200, 200, 200};
  EXPECT_EQ(blend(&layer, 2), (Bytes{200, 150, 100}));  // the last one keeps 1 / 256: 100.39
  EXPECT_EQ(blend(&layer, 1), (Bytes{200, 175, 150}));
  EXPECT_EQ(blend(&layer, 5), (Bytes{200, 100, 100}));
  EXPECT_EQ(blend(&layer, 0), copy);
  EXPECT_EQ(blend(&layer, 1e-9), copy);
  for (const double refused : {-0.1, 5.0001, std::nan("")})
    EXPECT_EQ(blend(&layer, refused, Status::kBadArgument), copy);
  layer.mask.Release();
  EXPECT_EQ(blend(&layer, 2, Status::kBadArgument), copy);
  EXPECT_EQ(blend(nullptr, 2, Status::kBadArgument), copy);
}

}  // namespace
}  // namespace qx::test
