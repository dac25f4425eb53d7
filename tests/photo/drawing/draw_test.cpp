#include "photo/drawing/draw_faces.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

ProbedFace FaceAt(int left, int top, int side) {
  ProbedFace face{};
  face.corners = {{{left, top}, {left + side, top}, {left, top + side}, {left + side, top + side}}};
  auto spread = [&](auto& points) {
    for (size_t i = 0; i < points.size(); ++i) {
      points[i] = {left + side * static_cast<int>(i % 8) / 8 + 2, top + side * static_cast<int>(i / 8) / 11 + 2};
    }
  };
  spread(face.keyPoints);
  spread(face.landmarks);
  spread(face.densePoints);
  return face;
}

TEST(Draw, MarksEveryPointOfTheChosenSetAndLeavesTheRestAlone) {
  const Image photograph = GradientImage(1300, 900);
  const ProbedFace face = FaceAt(200, 100, 640);  // wide enough to be drawn at its own scale
  const std::vector<Point> places(face.densePoints.begin(), face.densePoints.end());
  for (const auto& [set, count] :
       {std::pair(PointSet::kKey, 11), std::pair(PointSet::kLandmarks, 38), std::pair(PointSet::kDense, 88)}) {
    const Image drawn = DrawFaces(photograph, {face}, set);
    ASSERT_EQ(photograph.bgr.size(), drawn.bgr.size());
    auto changed = [&](int x, int y) {
      const size_t at = 3 * (static_cast<size_t>(y) * 1300 + static_cast<size_t>(x));
      return !std::equal(&drawn.bgr[at], &drawn.bgr[at] + 3, &photograph.bgr[at]);
    };
    int marked = 0;
    for (const Point& p : places) marked += changed(p.x, p.y) ? 1 : 0;
    EXPECT_LE(count, marked);
    EXPECT_GT(count + 25, marked);  // of the others only what a number or the box happens to cover
    EXPECT_TRUE(changed(500, 100) && changed(200, 400) && changed(840, 400) && changed(500, 740));
    EXPECT_FALSE(changed(100, 50) || changed(1000, 800));
  }
}

TEST(Draw, EnlargesSmallFacesAndClipsAtTheBorder) {
  const Image photograph = GradientImage(120, 90);
  const Image drawn = DrawFaces(photograph, {FaceAt(-30, -20, 80), FaceAt(100, 70, 60)}, PointSet::kDense);
  EXPECT_EQ(8 * 120, drawn.width);
  EXPECT_EQ(8 * 90, drawn.height);
  const size_t at = 3 * (size_t{8} * 85 * 8 * 120 + 8 * 20);  // (20, 85), away from both
  EXPECT_TRUE(std::equal(&drawn.bgr[at], &drawn.bgr[at] + 3, &photograph.bgr[3 * (85 * 120 + 20)]));
  EXPECT_EQ(photograph.bgr, DrawFaces(photograph, {}, PointSet::kKey).bgr);
}

TEST(Draw, RollFollowsTheEyes) {
  ProbedFace face{};
  struct {
    Point right;
    int32_t fine;
    double roll;
  } const cases[] = {{{10, 0}, 0, 0},       {{0, 10}, 0, 90},        {{-10, 0}, 0, 180},      {{0, -10}, 0, -90},
                     {{10, 10}, 4500, 45},  {{10, 10}, -4500, 45},   {{20, 1}, 312, 3.12},    {{20, 0}, -40, -0.4},
                     {{-1, 20}, 250, 92.5}, {{-20, 1}, 150, -178.5}, {{-20, 0}, -125, 178.75}};
  for (const auto& [right, fine, roll] : cases) {
    face.keyPoints[1] = right;
    face.fineRoll = fine;
    EXPECT_DOUBLE_EQ(roll, face.Roll());
  }
}

}  // namespace
}  // namespace qx::photo
