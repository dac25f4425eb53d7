// Finding and filling blemishes, against the plain reading of their definitions.
#include <gtest/gtest.h>

#include <algorithm>

#include "beauty/spots/median_fill_spots.h"
#include "beauty/spots/spot_mask.h"
#include "src/beauty/skin_fixture.h"

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
    ASSERT_EQ(BuildSpotMask(image.View(), &set, set.Attributes(), &spots), Status::kOk);
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
  EXPECT_EQ(BuildSpotMask({nullptr, 1, 1, 3}, &set, set.Attributes(), &none), Status::kBadArgument);
  EXPECT_EQ(BuildSpotMask({&byte, 1, -1, 3}, &set, set.Attributes(), &none), Status::kBadArgument);
  EXPECT_EQ(BuildSpotMask({&byte, 1, 1, 3}, nullptr, set.Attributes(), &none), Status::kBadArgument);
}

TEST(SpotFill, FollowsItsOwnChanges) {
  for (const double kernel : {20.0, 0.0, 5.9}) {
    const Picture image = Noise(70, 60, 3, kernel == 5.9 ? 2 : 200);  // two levels: medians without colour fill nothing
    SpotMask spots;
    ASSERT_TRUE(spots.mask.Allocate(4200));
    PlainSpots plain = {Noise(70, 60, 1), 3, 58, 2, 67};
    for (uint8_t& m : plain.mask.bytes) m = m < 150 ? 255 : m;
    std::copy(plain.mask.bytes.begin(), plain.mask.bytes.end(), spots.mask.data());
    spots.top = 3, spots.bottom = 58, spots.left = 2, spots.right = 67;
    Bytes out(image.bytes.size());
    ASSERT_EQ(MedianFillSpots(&spots, image.View(), kernel, out.data()), Status::kOk);
    EXPECT_EQ(out, PlainMedianFill(plain, image, kernel).bytes) << kernel;
    EXPECT_TRUE(kernel == 0 || out != image.bytes);
    EXPECT_EQ(MedianFillSpots(&spots, image.View(), 56, out.data()), Status::kOk);
    EXPECT_EQ(out, image.bytes) << "larger than the box";
    EXPECT_EQ(MedianFillSpots(nullptr, image.View(), 20, out.data()), Status::kBadArgument);
    EXPECT_EQ(MedianFillSpots(&spots, {nullptr, 70, 60, 3}, 20, out.data()), Status::kBadArgument);
    EXPECT_EQ(MedianFillSpots(&spots, image.View(), -1, out.data()), Status::kBadArgument);
    EXPECT_EQ(MedianFillSpots(&spots, image.View(), 1e18, out.data()), Status::kOk);
  }
}

}  // namespace
}  // namespace qx::test
