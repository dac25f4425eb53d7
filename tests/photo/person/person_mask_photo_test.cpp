// The person mask on a real photograph.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "codec/codec.h"
#include "photo/face/face_finder.h"
#include "photo/person/mask.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;
using namespace qx::codec;

FaceBox BoxOf(const Image& photograph) {
  const auto corners = FaceFinder().Find(photograph).at(0).corners;
  return {double{1} * corners[0].x, double{1} * corners[0].y, double{1} * corners[3].x, double{1} * corners[3].y};
}

TEST(PersonMask, OfThePhotograph) {
  const Image photograph = ReadImage(QX_SAMPLE_PHOTO);
  const FaceBox face = BoxOf(photograph);
  PersonSegmenter segmenter;
  const Mask mask = segmenter.Segment(photograph, {face});
  ASSERT_EQ(photograph.bgr.size() / 3, mask.values.size());
  auto at = [&](int x, int y) { return int{mask.Row(y)[x]}; };

  // Opaque throughout the face and the body below it, nothing in the upper corners, sharp between.
  const double centreX = (face.left + face.right) / 2, centreY = (face.top + face.bottom) / 2;
  for (int y = 0; y < photograph.height; ++y) {
    for (int x = 0; x < photograph.width; ++x) {
      const double across = (x - centreX) / (face.right - face.left), down = (y - centreY) / (face.bottom - face.top);
      ASSERT_TRUE(at(x, y) == 255 || std::hypot(across, down) > 0.38) << x << " " << y;
    }
  }
  EXPECT_EQ(255, at(static_cast<int>(centreX), static_cast<int>(face.bottom) + 60));
  size_t between = 0;
  for (const uint8_t value : mask.values) between += value != 0 && value != 255;
  EXPECT_GT(mask.values.size() / 20, between);
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 60; ++x) {
      ASSERT_EQ(0, at(x, y));
      ASSERT_EQ(0, at(photograph.width - 1 - x, y));
    }
  }

  EXPECT_EQ(mask.values, PersonSegmenter().Segment(photograph, {face}).values);  // the same again
  const Mask larger = segmenter.Segment(Reread(ToVips(photograph).resize(2)),
                                        {{2 * face.left, 2 * face.top, 2 * face.right, 2 * face.bottom}});
  double difference = 0;
  for (int y = 0; y < photograph.height; ++y) {
    for (int x = 0; x < photograph.width; ++x) {
      difference += std::abs(at(x, y) - larger.Row(2 * y)[2 * x]);
    }
  }
  EXPECT_GT(4, difference / static_cast<double>(mask.values.size()));

  EXPECT_THROW(segmenter.Segment(photograph, {}), Failure);
  EXPECT_THROW(segmenter.Segment(photograph, {{600, 0, 700, 100}}), Failure);
  EXPECT_THROW(segmenter.Segment(photograph, {{5, 5, 5, 5}}), Failure);
  // Boxes and pictures of odd shapes: a mask or a refusal, whatever it shows.
  for (const auto& [width, height] : {std::pair{1, 1}, {3, 200}, {200, 2}, {40, 40}}) {
    const Image picture = GradientImage(width, height);
    for (const FaceBox& odd : {FaceBox{-500, -900, 2, 1}, {0, 0, 1, 1}, {-1e6, -1e6, 1e6, 1e6}}) {
      try {
        EXPECT_TRUE(segmenter.Segment(picture, {odd}, {{0, 0, 9, 1}}).IsOf(picture));
      } catch (const Failure& failure) {
        EXPECT_NE(std::string::npos, std::string(failure.what()).find("no person")) << failure.what();
      }
    }
  }
}

TEST(PersonMask, OfOneOrBothOfTwoPersons) {
  // The photograph beside its mirror image.
  const Image one = ReadImage(QX_SAMPLE_PHOTO);
  const int width = one.width;
  const vips::VImage vips = ToVips(one);
  const Image two = Reread(vips.join(vips.flip(VIPS_DIRECTION_HORIZONTAL), VIPS_DIRECTION_HORIZONTAL));
  const FaceBox left = BoxOf(one);
  const FaceBox right{2 * width - left.right, left.top, 2 * width - left.left, left.bottom};
  PersonSegmenter segmenter;
  const Mask both = segmenter.Segment(two, {left, right}), first = segmenter.Segment(two, {left}, {right});
  auto faceShown = [&](const Mask& mask, const FaceBox& face) {
    return int{
        mask.Row(static_cast<int>((face.top + face.bottom) / 2))[static_cast<int>((face.left + face.right) / 2)]};
  };
  EXPECT_EQ(255, faceShown(both, left));
  EXPECT_EQ(255, faceShown(both, right));
  EXPECT_EQ(255, faceShown(first, left));
  EXPECT_EQ(0, faceShown(first, right));
}

}  // namespace
}  // namespace qx::photo
