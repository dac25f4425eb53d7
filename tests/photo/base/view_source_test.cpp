// A photograph in somebody else's memory, in either order of its samples, is the photograph.
#include <gtest/gtest.h>

#include <cstdint>

#include "photo/base/photo_source.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

Bytes Swapped(const Image& image) {
  Bytes swapped(image.bgr.size());
  SwapChannels(image.bgr.data(), swapped.data(), image.Pixels());
  return swapped;
}

TEST(ViewSource, GivesWhatASourceOfItsOwnGives) {
  const Image image = GradientImage(230, 171);
  const Bytes swapped = Swapped(image);
  ASSERT_NE(image.bgr, swapped);
  ImageSource own(image);
  ViewSource bgr(image), rgb({swapped.data(), image.width, image.height, ChannelOrder::kRgb});
  for (ViewSource* view : {&bgr, &rgb}) {
    EXPECT_EQ(230, view->Width());
    EXPECT_EQ(171, view->Height());
    for (const int64_t least : {int64_t{0}, int64_t{1000}, int64_t{5000}, int64_t{1'000'000}}) {
      const Image wanted = own.Overview(least), got = view->Overview(least);
      EXPECT_EQ(wanted.width, got.width) << least;
      EXPECT_EQ(wanted.bgr, got.bgr) << least;
    }
    const PixelBox boxes[] = {{0, 0, 230, 171}, {3, 5, 229, 90}, {229, 170, 230, 171}};
    for (const PixelBox& box : boxes) {
      EXPECT_EQ(own.Part(box, box.Width(), box.Height()).bgr, view->Part(box, box.Width(), box.Height()).bgr);
      EXPECT_EQ(own.Part(box, 1, 1).bgr, view->Part(box, 1, 1).bgr);
    }
    EXPECT_EQ(own.Part({3, 5, 229, 90}, 57, 41).bgr, view->Part({3, 5, 229, 90}, 57, 41).bgr);
  }
}

TEST(ViewSource, CopiesAreInTheUsualOrder) {
  const Image image = GradientImage(17, 9);
  const Bytes swapped = Swapped(image);
  EXPECT_EQ(image.bgr, CopyOf(image).bgr);
  EXPECT_EQ(image.bgr, CopyOf({swapped.data(), 17, 9, ChannelOrder::kRgb}).bgr);
  Image back(17, 9, swapped);
  ToBgr(ChannelOrder::kRgb, &back);  // in its place
  EXPECT_EQ(image.bgr, back.bgr);
}

}  // namespace
}  // namespace qx::photo
