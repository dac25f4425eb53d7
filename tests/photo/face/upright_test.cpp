// Photographs turned so that a face stands upright.
#include "photo/face/upright.h"

#include <gtest/gtest.h>

#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(Upright, TurnsExactly) {
  const Image image = GradientImage(5, 3);
  for (const int turns : {0, 1, 2, 3}) {
    const vips::VImage turned = ToVips(image).rot(static_cast<VipsAngle>(VIPS_ANGLE_D0 + turns));
    EXPECT_EQ(Reread(turned).bgr, TurnClockwise(image, turns).bgr) << turns;
  }
}

}  // namespace
}  // namespace qx::photo
