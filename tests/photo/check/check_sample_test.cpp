// Which face is checked, on photographs of two.
#include <gtest/gtest.h>

#include <algorithm>

#include "codec/codec.h"
#include "photo/base/resize.h"
#include "photo/studio.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

// The sample, its pixels times `light`, and beside it the sample at 0.7 times its size.
Image Two(double light) {
  Image large = codec::ReadImage(QX_SAMPLE_PHOTO);
  const Rectangle all{0, 0, static_cast<double>(large.width), static_cast<double>(large.height)};
  const Image small = ResizeLanczos(large, all, large.width * 7 / 10, large.height * 7 / 10);
  for (uint8_t& byte : large.bgr) byte = static_cast<uint8_t>(byte * light);
  Image both(large.width + small.width, large.height);
  std::fill(both.bgr.begin(), both.bgr.end(), uint8_t{255});
  for (int32_t y = 0; y < large.height; ++y) std::copy_n(large.At(0, y), 3 * large.width, both.At(0, y));
  for (int32_t y = 0; y < small.height; ++y) std::copy_n(small.At(0, y), 3 * small.width, both.At(large.width, y));
  return both;
}

TEST(CheckSample, ScoresTheFaceThatItMeasures) {
  for (const double light : {0.12, 1.0}) {
    const Image both = Two(light);
    const std::vector<ProbedFace> faces = FaceFinder().Find(both);
    ASSERT_EQ(2u, faces.size());
    // The engine likes a small bright face better than a large dark one.
    EXPECT_EQ(light < 1, faces[0].Width() < faces[1].Width());
    const PhotoCheck check = Studio().Check(both, {}, FindPreset("one-inch"));
    const auto brightness = std::find_if(check.lines.begin(), check.lines.end(),
                                         [](const CheckLine& line) { return line.name == "brightness"; });
    ASSERT_NE(check.lines.end(), brightness);
    EXPECT_EQ(light < 1, brightness->value < 60) << brightness->value;
  }
}

}  // namespace
}  // namespace qx::photo
