#include "beauty/shape/contour_warp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "beauty/shape/contour_mesh.h"
#include "face/landmark_set.h"
#include "reference/plain_beauty.h"
#include "src/scripted_engine.h"

namespace qx::test {
namespace {

// A face with its axis on column 100 from row 40 to 180, outline 60 and 40 to either side.
std::vector<Point> Points() {
  std::vector<Point> points(88);
  points[kNoseRoot] = {100, 40};
  points[kChin] = {100, 180};
  points[kLeftCheek] = {40, 80};
  points[kLeftJaw] = {60, 140};
  points[kRightCheek] = {160, 80};
  points[kRightOfChin] = {140, 140};
  return points;
}

struct Warped {
  Status result;
  std::vector<uint8_t> image, mask;
};

Warped Warp(const Photo& photo, const Photo& mask, const std::vector<Point>& points, double strength) {
  Warped w = {Status::kOk, std::vector<uint8_t>(photo.pixels.size()), std::vector<uint8_t>(mask.pixels.size())};
  w.result = ContourWarp(photo.View(), mask.pixels.data(), points.data(), strength, w.image.data(), w.mask.data());
  return w;
}

TEST(ContourWarp, PlacesTheMeshByHand) {
  ContourMesh mesh;
  ASSERT_TRUE(BuildContourMesh(220, 200, Points().data(), 2.5, &mesh));  // k = 1
  const auto x = [&mesh](ContourVertex v) { return std::pair(mesh.input[v].x, mesh.output[v].x); };
  // Distances 60 and 40; anchors at 100 - 120 (clamped) and 100 + 120 + 1 (clamped).
  EXPECT_EQ(mesh.input[kAnchorAL].x, 0);
  EXPECT_EQ(mesh.input[kAnchorAR].x, 219);
  EXPECT_EQ(mesh.input[kAnchorBR].y, 180);
  EXPECT_EQ(x(kLeft1), std::pair(40, 42));     // 40 + 60 / 40 + 1
  EXPECT_EQ(x(kLeft2), std::pair(60, 63));     // 60 + 40 / 20 + 1
  EXPECT_EQ(x(kRight1), std::pair(160, 159));  // 160 - 1.5 + 1
  EXPECT_EQ(x(kRight2), std::pair(140, 139));  // 140 - 2 + 1
  ASSERT_TRUE(BuildContourMesh(220, 200, Points().data(), -2.5, &mesh));
  EXPECT_EQ(x(kLeft1), std::pair(40, 41));     // 40 + 60 / 80 + 1
  EXPECT_EQ(x(kLeft2), std::pair(60, 62));     // 60 + 60 / 40 + 1, by the other point's distance
  EXPECT_EQ(x(kRight1), std::pair(160, 160));  // 160 - 40 / 80 + 1
  EXPECT_EQ(x(kRight2), std::pair(140, 140));  // 140 - 40 / 40 + 1
}

TEST(ContourWarp, StrengthsAreCappedAndZeroIsTheIdentity) {
  const Photo photo(220, 200), mask(220, 200, 1);
  EXPECT_EQ(Warp(photo, mask, Points(), 0).image, photo.pixels);
  EXPECT_EQ(Warp(photo, mask, Points(), std::nan("")).image, photo.pixels);
  EXPECT_EQ(Warp(photo, mask, Points(), 7).image, Warp(photo, mask, Points(), 5).image);
  EXPECT_EQ(Warp(photo, mask, Points(), -INFINITY).mask, Warp(photo, mask, Points(), -5).mask);
  EXPECT_NE(Warp(photo, mask, Points(), 5).image, Warp(photo, mask, Points(), -5).image);
}

TEST(ContourWarp, RefusesAnOutlinePointOnTheAxis) {
  const Photo photo(220, 200), mask(220, 200, 1);
  for (const DensePoint point : {kLeftCheek, kLeftJaw, kRightCheek, kRightOfChin}) {
    std::vector<Point> points = Points();
    points[point] = {100, 90};
    EXPECT_EQ(Warp(photo, mask, points, 1).result, Status::kBadArgument);
    points[kNoseRoot] = {60, 40};  // a slanting axis through (80, 110)
    points[point] = {80, 110};
    EXPECT_EQ(Warp(photo, mask, points, 1).result, Status::kBadArgument);
    EXPECT_EQ(Warp(photo, mask, points, 0).result, Status::kOk) << "not looked at";
  }
  uint8_t byte[3];
  EXPECT_EQ(ContourWarp({nullptr, 1, 1, 3}, nullptr, Points().data(), 1, byte, nullptr), Status::kBadArgument);
  EXPECT_EQ(ContourWarp({byte, 0, 1, 3}, nullptr, Points().data(), 1, byte, nullptr), Status::kBadArgument);
}

void ExpectPlain(const Photo& photo, const Photo& mask, const std::vector<Point>& points, double strength) {
  const Warped w = Warp(photo, mask, points, strength);
  std::vector<uint8_t> image = photo.pixels, maskOut = mask.pixels;
  ContourMesh mesh;
  if (strength != 0 && BuildContourMesh(photo.width, photo.height, points.data(), strength, &mesh)) {
    PlainContourWarp(mesh, photo.pixels.data(), photo.width, photo.height, 3, image.data());
    PlainContourWarp(mesh, mask.pixels.data(), photo.width, photo.height, 1, maskOut.data());
  }
  ASSERT_EQ(w.image, image);
  ASSERT_EQ(w.mask, maskOut);
  std::vector<uint8_t> alone(image.size());
  ContourWarp(photo.View(), nullptr, points.data(), strength, alone.data(), nullptr);
  ASSERT_EQ(alone, image) << "without a mask";
}

TEST(ContourWarp, IsThePlainReadingWhereverThePointsLie) {
  ExpectPlain(Photo(220, 200), Photo(220, 200, 1), Points(), 2.5);
  std::mt19937 random(5);
  const auto coordinate = [&random](int extent) {
    switch (random() % 12) {
      case 0: return std::numeric_limits<int32_t>::max();
      case 1: return std::numeric_limits<int32_t>::min();
      case 2: return 0;
      default: return static_cast<int32_t>(random() % static_cast<unsigned>(extent + 20)) - 10;
    }
  };
  for (const auto& [width, height] : {std::pair(1, 1), std::pair(40, 1), std::pair(7, 50), std::pair(160, 145)}) {
    const Photo photo(width, height), mask(width, height, 1);
    for (int round = 0; round < 100; ++round) {
      std::vector<Point> points(88);
      for (Point& p : points) p = {coordinate(width), coordinate(height)};
      ExpectPlain(photo, mask, points, round % 2 == 0 ? 5 : -3.3);
      if (HasFatalFailure()) return;
    }
  }
}

// Triangles whose areas may no longer be exact in single precision take another way.
TEST(ContourWarp, IsThePlainReadingInLargeTriangles) {
  constexpr int32_t kWidth = 3400, kHeight = 2650, kStep = 29;
  const Photo photo(kWidth, kHeight, 1);
  const std::vector<uint8_t> image(size_t{3} * kWidth * kHeight);
  std::vector<Point> points(88);
  points[kNoseRoot] = {10, 10};
  points[kChin] = {12, 2580};
  points[kLeftCheek] = {2, 700};
  points[kLeftJaw] = {4, 2011};
  points[kRightCheek] = {3390, 12};
  points[kRightOfChin] = {3380, 2640};  // more than four million pixels between these and the axis
  std::vector<uint8_t> imageOut(image.size()), out(photo.pixels.size()), plain(out.size());
  ASSERT_EQ(ContourWarp({image.data(), kWidth, kHeight, 3}, photo.pixels.data(), points.data(), 4, imageOut.data(),
                        out.data()),
            Status::kOk);
  ContourMesh mesh;
  ASSERT_TRUE(BuildContourMesh(kWidth, kHeight, points.data(), 4, &mesh));
  PlainContourWarp(mesh, photo.pixels.data(), kWidth, kHeight, 1, plain.data(), kStep);
  for (int32_t y = 0; y < kHeight; y += kStep) {
    const auto row = static_cast<ptrdiff_t>(y) * kWidth;
    ASSERT_TRUE(std::equal(out.begin() + row, out.begin() + row + kWidth, plain.begin() + row)) << y;
  }
}

}  // namespace
}  // namespace qx::test
