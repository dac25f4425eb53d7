// The person mask on a real photograph.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "host/face_probe.h"
#include "host/failure.h"
#include "host/person_mask.h"
#include "test_files.h"

namespace qx::host {
namespace {

// Mean difference of two masks of one size, in levels.
double Difference(const Mask& a, const Mask& b) {
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) sum += std::abs(a[i] - b[i]);
  return sum / static_cast<double>(a.size());
}

Image Resized(const Image& image, double scale) {
  const vips::VImage vips = ToVips(image).resize(scale);
  Image result{vips.width(), vips.height(), {}};
  size_t size = 0;
  auto* rgb = static_cast<uint8_t*>(vips.write_to_memory(&size));
  for (size_t i = 0; i < size; ++i) result.bgr.push_back(rgb[i / 3 * 3 + 2 - i % 3]);
  g_free(rgb);
  return result;
}

FaceBox Scaled(const FaceBox& face, double scale) {
  return {face.left * scale, face.top * scale, face.right * scale, face.bottom * scale};
}

TEST(PersonMask, OfThePhotograph) {
  const Image photograph = ReadImage(QX_SAMPLE_PHOTO);
  const auto faces = FaceProbe().Probe(photograph);
  ASSERT_EQ(1u, faces.size());
  const auto& corners = faces[0].corners;
  const FaceBox face{double{1} * corners[0].x, double{1} * corners[0].y, double{1} * corners[3].x,
                     double{1} * corners[3].y};
  PersonSegmenter segmenter;
  const Mask mask = segmenter.Segment(photograph, {face});
  ASSERT_EQ(photograph.bgr.size() / 3, mask.size());
  auto at = [&](int x, int y) { return int{mask[static_cast<size_t>(y * photograph.width + x)]}; };

  // Opaque throughout the face and the body below it, nothing in the upper corners, sharp between.
  const double centreX = (face.left + face.right) / 2, centreY = (face.top + face.bottom) / 2;
  for (int y = corners[0].y; y <= corners[3].y; ++y) {
    for (int x = corners[0].x; x <= corners[3].x; ++x) {
      const double across = (x - centreX) / (face.right - face.left), down = (y - centreY) / (face.bottom - face.top);
      if (std::hypot(across, down) > 0.38) continue;
      ASSERT_EQ(255, at(x, y)) << x << " " << y;
    }
  }
  EXPECT_EQ(255, at((corners[0].x + corners[3].x) / 2, corners[3].y + 60));
  size_t between = 0;
  for (const uint8_t value : mask) between += value != 0 && value != 255;
  EXPECT_GT(mask.size() / 20, between);
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 60; ++x) {
      ASSERT_EQ(0, at(x, y));
      ASSERT_EQ(0, at(photograph.width - 1 - x, y));
    }
  }

  EXPECT_EQ(mask, PersonSegmenter().Segment(photograph, {face}));  // the same again
  const Image twice = Resized(photograph, 2);
  const Mask larger = segmenter.Segment(twice, {Scaled(face, 2)});
  Mask reduced;
  for (int y = 0; y < photograph.height; ++y) {
    for (int x = 0; x < photograph.width; ++x) {
      reduced.push_back(
          larger[static_cast<size_t>(2 * y) * static_cast<size_t>(twice.width) + static_cast<size_t>(2 * x)]);
    }
  }
  EXPECT_GT(4, Difference(mask, reduced));

  EXPECT_THROW(segmenter.Segment(photograph, {}), Failure);
  EXPECT_THROW(segmenter.Segment(photograph, {{600, 0, 700, 100}}), Failure);
  EXPECT_THROW(segmenter.Segment(photograph, {{5, 5, 5, 5}}), Failure);
  // Boxes and pictures of odd shapes: a mask or a refusal, whatever it shows.
  for (const auto& [width, height] : {std::pair{1, 1}, {3, 200}, {200, 2}, {40, 40}}) {
    const Image picture = GradientImage(width, height);
    for (const FaceBox& odd : {FaceBox{-500, -900, 2, 1}, {0, 0, 1, 1}, {-1e6, -1e6, 1e6, 1e6}}) {
      try {
        EXPECT_EQ(picture.bgr.size() / 3, segmenter.Segment(picture, {odd}, {{0, 0, 9, 1}}).size());
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
  Image two{2 * width, one.height, std::vector<uint8_t>(2 * one.bgr.size())};
  for (int y = 0; y < one.height; ++y) {
    for (int x = 0; x < 2 * width; ++x) {
      const int from = x < width ? x : 2 * width - 1 - x;
      for (int c = 0; c < 3; ++c)
        two.bgr[static_cast<size_t>(3 * (y * 2 * width + x) + c)] =
            one.bgr[static_cast<size_t>(3 * (y * width + from) + c)];
    }
  }
  const auto corners = FaceProbe().Probe(one).at(0).corners;
  const FaceBox left{double{1} * corners[0].x, double{1} * corners[0].y, double{1} * corners[3].x,
                     double{1} * corners[3].y};
  const FaceBox right{2 * width - left.right, left.top, 2 * width - left.left, left.bottom};
  PersonSegmenter segmenter;
  const Mask both = segmenter.Segment(two, {left, right}), first = segmenter.Segment(two, {left}, {right});
  auto faceShown = [&](const Mask& mask, const FaceBox& face) {
    const auto x = static_cast<size_t>((face.left + face.right) / 2),
               y = static_cast<size_t>((face.top + face.bottom) / 2);
    return int{mask[y * static_cast<size_t>(two.width) + x]};
  };
  EXPECT_EQ(255, faceShown(both, left));
  EXPECT_EQ(255, faceShown(both, right));
  EXPECT_EQ(255, faceShown(first, left));
  EXPECT_EQ(0, faceShown(first, right));
}

}  // namespace
}  // namespace qx::host
