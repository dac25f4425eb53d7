#include "engine/attention.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace qx::face {
namespace {

// A subset of four points: a square of 32 pixels around (96, 64), turned clockwise by a quarter; the pair is its top.
constexpr int16_t kSquare[] = {0, 1, 2, 3};
const MeshSubset kSubset = {kSquare, 4, 0, 1};

MeshPoints SquareMesh() {
  MeshPoints mesh{};
  mesh[0] = {112, 48};
  mesh[1] = {112, 80};
  mesh[2] = {80, 48};
  mesh[3] = {80, 80};
  return mesh;
}

TEST(Attention, PatchIsTheEnlargedBoxInMapCells) {
  // 8 map cells a side, half as much again is 12, so a step of 0.75; the patch's right is the map's down.
  const Affine t = PatchTransform(SquareMesh(), kSubset);
  EXPECT_NEAR(t.xx, 0, 1e-12);
  EXPECT_NEAR(t.yx, 0.75, 1e-12);
  EXPECT_NEAR(t.xy, -0.75, 1e-12);
  EXPECT_NEAR(t.yy, 0, 1e-12);
  EXPECT_NEAR(t.x0, 24 + 6, 1e-12);
  EXPECT_NEAR(t.y0, 16 - 6, 1e-12);
}

TEST(Attention, PatchSamplesBilinearlyAndZeroOutside) {
  std::vector<float> map(kMapSide * kMapSide * kMapChannels);
  for (size_t i = 0; i < map.size(); ++i) {
    const size_t cell = i / kMapChannels;
    map[i] = static_cast<float>(2 * (cell % kMapSide) + 3 * (cell / kMapSide) + i % kMapChannels);
  }
  std::vector<float> patch(kPatchSide * kPatchSide * kMapChannels);
  const Affine t{0, -0.75, 30, 0.75, 0, 10};
  SamplePatch(map.data(), t, patch.data());
  for (const int c : {0, 31}) {
    const size_t at = static_cast<size_t>((5 * kPatchSide + 3) * kMapChannels + c);
    EXPECT_NEAR(patch[at], 2 * (30 - 3.75) + 3 * (10 + 2.25) + c, 1e-4);
  }
  SamplePatch(map.data(), {0, 0, 47.5, 0, 0, 0}, patch.data());
  EXPECT_NEAR(patch[0], 47, 1e-4);  // half of the last column
  for (const double outside : {-1.0, 48.0, 1e300}) {
    SamplePatch(map.data(), {0, 0, outside, 0, 0, outside}, patch.data());
    for (const float value : patch) ASSERT_EQ(value, 0);
  }
}

TEST(Attention, PointsReturnToTheImage) {
  MeshPoints mesh = SquareMesh();
  const Affine t = PatchTransform(mesh, kSubset);
  // A part counts 64 units along the patch, whatever its scale: (32, 32) is its centre.
  const float points[8] = {32, 32, 0, 0, 64, 0, 0, 64};
  PlacePoints(points, t, kSubset, &mesh);
  const Point expected[4] = {{96, 64}, {120, 40}, {120, 88}, {72, 40}};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(mesh[i].x, expected[i].x, 1e-9) << i;
    EXPECT_NEAR(mesh[i].y, expected[i].y, 1e-9) << i;
  }
}

TEST(Tables, IndicesAreOfTheMeshAndDistinct) {
  for (const MeshSubset* subset : {&kLips, &kLeftEye, &kRightEye}) {
    const std::set<int> distinct(subset->indices, subset->indices + subset->count);
    EXPECT_EQ(distinct.size(), subset->count);
    EXPECT_TRUE(*distinct.begin() >= 0 && *distinct.rbegin() < kMeshPoints);
    EXPECT_TRUE(distinct.count(subset->left) == 1 && distinct.count(subset->right) == 1);
  }
  std::set<std::pair<int, int>> attributes;
  for (const PointRule& rule : kAttributeRules) {
    EXPECT_TRUE(rule.first >= 0 && rule.first < kMeshPoints && rule.second >= 0 && rule.second < kMeshPoints);
    attributes.insert({rule.first, rule.second});
  }
  EXPECT_EQ(attributes.size(), kAttributeRules.size());
}

}  // namespace
}  // namespace qx::face
