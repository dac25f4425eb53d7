// The skin retouch stage as a whole, on painted faces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "beauty/smooth_skin.h"
#include "beauty/spot_mask.h"
#include "library/skin_fixture.h"

namespace qx::test {
namespace {

// Scattered dots and half a face of texture, under any box and any polygon, which may cross itself.
TEST(SpotMask, IsThePlainOne) {
  const auto number = [](int from, int to) {
    return from + static_cast<int>(Random()() % static_cast<unsigned>(to - from));
  };
  int64_t marked = 0;
  for (int round = 0; round < 60; ++round) {
    const int base = round % 3 == 0 ? 61 : 150;  // as dark as a block may begin, or light
    Picture image(90 + round, 100, 3, static_cast<uint8_t>(base));
    const int dots = number(30, 300), texture = number(0, 40);
    for (size_t i = 0; i < image.bytes.size(); ++i) {
      const bool dot = number(0, dots) == 0, rough = i / 3 % static_cast<size_t>(image.width) < 35;
      if (dot || rough) image.bytes[i] = static_cast<uint8_t>(base - number(0, dot ? base : 1 + texture));
    }
    LandmarkSet set;
    for (Point* p = set.FaceBox(); p < set.Eyes(); ++p) *p = {number(-20, image.width + 20), number(-20, 120)};
    set.FaceBox()[0] = {number(0, 15), number(0, 15)};
    set.FaceBox()[3] = {number(75, 90), number(75, 100)};
    if (round % 2 == 0) set.FaceBox()[0] = set.FaceBox()[1] = set.FaceBox()[2] = {number(20, 40), number(20, 40)};
    for (int i = 0; i < 88; ++i) set.Attributes()[i] = {number(0, image.width), number(20, 100)};
    SpotMask spots;
    ASSERT_TRUE(BuildSpotMask(image.bytes.data(), image.height, image.width, &set, set.Attributes(), &spots));
    const PlainSpots plain = PlainSpotMask(image, set);
    ASSERT_EQ(Taken(spots.mask, plain.mask.bytes.size()), plain.mask.bytes) << round;
    EXPECT_EQ(std::vector({spots.top, spots.bottom, spots.left, spots.right}),
              std::vector({plain.top, plain.bottom, plain.left, plain.right}));
    marked += std::count(plain.mask.bytes.begin(), plain.mask.bytes.end(), 255);
  }
  EXPECT_GT(marked, 2000);
  SpotMask none;
  uint8_t byte;
  LandmarkSet set;
  EXPECT_FALSE(BuildSpotMask(nullptr, 1, 1, &set, set.Attributes(), &none));
  EXPECT_FALSE(BuildSpotMask(&byte, -1, 1, &set, set.Attributes(), &none));
  EXPECT_FALSE(BuildSpotMask(&byte, 1, 1, nullptr, set.Attributes(), &none));
}

// Both passes, on faces upright, turned, cut by the image's edges, and on noise.
TEST(SkinRetouch, IsThePlainOne) {
  std::vector<PaintedFace> faces = {
      {211, 257, 130, 105, 120}, {130, 141, 104, 60, 66}, {150, 110, 120, 20, 90}, {97, 120, 90, 70, 30}};
  faces.emplace_back(300, 330, 270, 150, 160);  // blurred farther, and as far as can be
  faces.emplace_back(460, 60, 460, 230, 30);
  faces.push_back(faces[0].Turned());
  faces.push_back(faces[0].Turned().Turned().Turned());
  for (PaintedFace& face : faces) {
    for (const bool noisy : {false, true}) {
      if (noisy) {
        for (uint8_t& b : face.image.bytes) b = static_cast<uint8_t>(std::min<unsigned long>(b + Random()() % 12, 255));
      }
      const Picture& image = face.image;
      for (const double strength : noisy ? std::vector<double>{0.01, 3.7} : std::vector<double>{2, 5, 5.0001}) {
        ASSERT_EQ(face.Retouch(strength), PlainRetouch(image, strength, face.set).bytes) << strength;
      }
    }
  }
}

TEST(SkinRetouch, SpotsVanishAndFeaturesStay) {
  const PaintedFace face(460, 520, 320, 230, 250);
  const Picture& image = face.image;
  const auto difference = [&](const Bytes& out, Point spot) {
    int most = 0;
    for (int y = -5; y <= 5; ++y) {
      for (int x = -5; x <= 5; ++x) {
        const Point p = face.At(spot.x, spot.y);
        const auto at = static_cast<size_t>(((p.y + y) * image.width + p.x + x) * 3);
        most = std::max(most, std::abs(out[at + 2] - 205));
      }
    }
    return most;
  };
  const Bytes filled = face.Retouch(5.0001), smooth = face.Retouch(2);
  for (const Point spot : kSpots) {
    EXPECT_GE(difference(image.bytes, spot), 77);
    EXPECT_LE(difference(filled, spot), 11) << spot.x;
    EXPECT_LE(difference(smooth, spot), 11) << spot.x;
  }
  SkinLayer layer;
  const LabTables tables = Tables();
  LandmarkSet set = face.set;
  ASSERT_TRUE(SmoothSkin(&tables, filled.data(), image.width, image.height, &set, set.Eyes(), set.Eyes() + 1, &layer));
  int features = 0, smoothed = 0;
  for (size_t i = 0; i < face.feature.bytes.size(); ++i) {
    smoothed += layer.mask[i] > 200 ? 1 : 0;
    if (face.feature.bytes[i] == 0) continue;
    ASSERT_EQ(std::memcmp(&filled[3 * i], &image.bytes[3 * i], 3), 0) << "filled at " << i;
    if (layer.mask[i] > 1) continue;  // 0: not a bit may change
    ++features;
    for (size_t c = 3 * i; c < 3 * i + 3; ++c) ASSERT_LE(std::abs(smooth[c] - image.bytes[c]), layer.mask[i]) << i;
  }
  EXPECT_GT(features, 100000);
  EXPECT_GT(smoothed, 15000) << "the skin is found";
}

TEST(SkinRetouch, FlatSkinStaysFlat) {
  for (const int level : {0, 1, 128, 255}) {
    PaintedFace face(160, 180, 100, 80, 90);
    std::fill(face.image.bytes.begin(), face.image.bytes.end(), static_cast<uint8_t>(level));
    for (const uint8_t b : face.Retouch(4)) ASSERT_NEAR(b, level, 1);
  }
}

TEST(SkinRetouch, FacesOf51PixelsAreSmoothed) {
  const auto changed = [](int side, double strength) {
    PaintedFace face(200, 200, 100, 100, 100);
    Point* box = face.set.FaceBox();
    box[1] = {box[0].x + side, box[0].y};
    for (uint8_t& b : face.image.bytes) b = static_cast<uint8_t>(std::min<unsigned long>(b + Random()() % 9, 255));
    return face.Retouch(strength) != face.Retouch(5.0001);
  };
  EXPECT_FALSE(changed(50, 3));
  EXPECT_TRUE(changed(51, 3));
  EXPECT_FALSE(changed(100, 1e-9));
  const PaintedFace large(850, 900, 800, 425, 450);
  EXPECT_NE(large.Retouch(5), large.Retouch(5.0001));
}

TEST(SkinRetouch, ClampsTheBoxUnlessTheFaceIsTooSmall) {
  PaintedFace face(120, 130, 110, 60, 60);
  const Point outside[] = {{-20, -3}, {140, 7}, {-1, 130}, {120, 200}};
  std::copy(std::begin(outside), std::end(outside), face.set.FaceBox());
  Bytes image = face.image.bytes, work(image.size());
  RetouchSkin(130, 120, 3, &face.set, image.data(), work.data());
  const Point clamped[] = {{0, 0}, {119, 7}, {0, 129}, {119, 129}};
  EXPECT_EQ(std::memcmp(face.set.FaceBox(), clamped, sizeof clamped), 0);
  const Point small[] = {{-20, -3}, {30, -3}, {-20, 40}, {30, 40}};
  std::copy(std::begin(small), std::end(small), face.set.FaceBox());
  RetouchSkin(130, 120, 3, &face.set, image.data(), work.data());
  EXPECT_EQ(std::memcmp(face.set.FaceBox(), small, sizeof small), 0);
  const PaintedFace wide(40000, 4, 60, 50000, 2);  // limits are 16-bit numbers
  image = wide.image.bytes, work.resize(image.size()), face.set = wide.set;
  RetouchSkin(4, 40000, 3, &face.set, image.data(), work.data());
  EXPECT_EQ(face.set.FaceBox()[0].x, 39999 - 65536);
}

TEST(SkinRetouch, TinyImagesStayAsTheyAre) {
  for (const auto& [w, h] : {std::pair(0, 0), std::pair(1, 1), std::pair(3, 3), std::pair(200, 3), std::pair(2, 90)}) {
    const PaintedFace face(w, h, 90, w / 2, h / 2);
    EXPECT_EQ(face.Retouch(5), face.image.bytes) << w << "x" << h;
  }
}

TEST(SkinRetouch, PointsAnywhereStayInTheBuffers) {
  const auto coordinate = [](int extent) {
    switch (Random()() % 8) {
      case 0: return std::numeric_limits<int32_t>::max();
      case 1: return std::numeric_limits<int32_t>::min();
      case 2: return static_cast<int32_t>(Random()());
      default: return static_cast<int32_t>(Random()() % static_cast<unsigned>(3 * extent)) - extent;
    }
  };
  for (const auto& [w, h] : {std::pair(4, 4), std::pair(90, 7), std::pair(75, 101)}) {
    for (int round = 0; round < 150; ++round) {
      PaintedFace face(w, h, 60, w / 2, h / 2);
      for (Point* p = face.set.FaceBox(); p < face.set.Eyes(); ++p) *p = {coordinate(w), coordinate(h)};
      if (round % 2 == 0) {
        for (Point* p = face.set.Eyes(); p < face.set.Eyes() + 2; ++p) *p = {coordinate(w), coordinate(h)};
        for (Point* p = face.set.Attributes(); p < face.set.Attributes() + 88; ++p) *p = {coordinate(w), coordinate(h)};
      }
      face.Retouch(round % 3 == 0 ? 5 : 1.5);
    }
  }
}

}  // namespace
}  // namespace qx::test
