// The skin retouch stage as a whole, on painted faces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "beauty/skin/smooth_skin.h"
#include "src/beauty/skin_fixture.h"

namespace qx::test {
namespace {

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
  const ImageView view = {filled.data(), image.width, image.height, 3};
  ASSERT_EQ(SmoothSkin(&tables, view, &set, set.Eyes(), set.Eyes() + 1, &layer), Status::kOk);
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
  RetouchSkin({image.data(), 120, 130, 3}, 3, &face.set, work.data());
  const Point clamped[] = {{0, 0}, {119, 7}, {0, 129}, {119, 129}};
  EXPECT_EQ(std::memcmp(face.set.FaceBox(), clamped, sizeof clamped), 0);
  const Point small[] = {{-20, -3}, {30, -3}, {-20, 40}, {30, 40}};
  std::copy(std::begin(small), std::end(small), face.set.FaceBox());
  RetouchSkin({image.data(), 120, 130, 3}, 3, &face.set, work.data());
  EXPECT_EQ(std::memcmp(face.set.FaceBox(), small, sizeof small), 0);
  const PaintedFace wide(40000, 4, 60, 50000, 2);  // limits are 16-bit numbers
  image = wide.image.bytes, work.resize(image.size()), face.set = wide.set;
  RetouchSkin({image.data(), 40000, 4, 3}, 3, &face.set, work.data());
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
