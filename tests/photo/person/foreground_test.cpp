// The person's own colours.
#include "photo/person/foreground.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(Foreground, LosesTheOldBackground) {
  // A round person of one colour with a soft outline before a wall of two colours; once small, once above the size of
  // the working copy.
  const double person[3] = {40, 70, 110};
  for (const int side : {120, 1500}) {
    Image photograph{side, side, {}};
    Mask mask(side, side);
    uint8_t* to = mask.values.data();
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        const double wall[3] = {x < side / 2 ? 30.0 : 240.0, 220, 30};
        const double distance = std::hypot(x - side / 2.0, y - side / 2.0) / side;
        *to = static_cast<uint8_t>(std::lround(255 * std::clamp((0.36 - distance) / 0.06, 0.0, 1.0)));
        for (int c = 0; c < 3; ++c) {
          const double alpha = *to / 255.0;
          photograph.bgr.push_back(static_cast<uint8_t>(std::lround(alpha * person[c] + (1 - alpha) * wall[c])));
        }
        ++to;
      }
    }
    const Image result = EstimateForeground(photograph, mask, side / 6.0, Rim::kKeep);
    int worst = 0;
    for (size_t i = 0; i < result.bgr.size(); ++i) {
      if (mask.values[i / 3] == 0 || mask.values[i / 3] == 255) {
        ASSERT_EQ(photograph.bgr[i], result.bgr[i]);
      } else if (std::abs(static_cast<int>(i / 3) % side - side / 2) >
                 side / 12) {  // the walls run into each other there
        worst = std::max(worst, std::abs(result.bgr[i] - static_cast<int>(person[i % 3])) * mask.values[i / 3] / 255);
      }
    }
    EXPECT_GE(8, worst) << side;  // of 255, as seen in a composite; up to 46 before
  }
}

TEST(Foreground, TakesPicturesOfAnySize) {
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 300}, {900, 2}, {33, 21}}) {
    for (const double faceWidth : {0.5, 20.0, 1e5}) {
      const Image picture = GradientImage(width, height);
      Mask mask(width, height);
      for (size_t i = 0; i < mask.values.size(); ++i) mask.values[i] = static_cast<uint8_t>(i * 85 % 256);
      const Image result = EstimateForeground(picture, mask, faceWidth, Rim::kKeep);
      for (size_t i = 0; i < mask.values.size(); ++i) {
        if (mask.values[i] % 255 == 0) {
          EXPECT_TRUE(std::equal(&picture.bgr[3 * i], &picture.bgr[3 * i] + 3, &result.bgr[3 * i]));
        }
      }
    }
  }
  // Nothing of one of the two is to be seen: nothing to tell apart.
  const Image flat(8, 8, Bytes(192, 99));
  EXPECT_EQ(flat.bgr, EstimateForeground(flat, Mask(8, 8, uint8_t{1}), 9, Rim::kReduce).bgr);
}

}  // namespace
}  // namespace qx::photo
