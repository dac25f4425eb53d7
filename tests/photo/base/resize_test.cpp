// Pictures brought to another size.
#include "photo/base/resize.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(ResizeLanczos, KeepsWhatItShould) {
  const Image gradient = GradientImage(60, 40);
  EXPECT_EQ(gradient.bgr, ResizeLanczos(gradient, {0, 0, 60, 40}, 60, 40).bgr);  // the identity
  const Image flat{30, 20, Bytes(1800, 77)};
  for (const auto& [w, h] : {std::pair(7, 5), std::pair(30, 20), std::pair(91, 64)}) {
    const Image sized = ResizeLanczos(flat, {-3.5, 2.25, 40, 11}, w, h);
    EXPECT_EQ(Bytes(static_cast<size_t>(w * h) * 3, 77), sized.bgr);
  }
  // A ramp stays the same ramp at another scale: the value follows from the place of the pixel's middle.
  Image ramp{200, 8, {}};
  for (int i = 0; i < 200 * 8; ++i) ramp.bgr.insert(ramp.bgr.end(), 3, static_cast<uint8_t>(i % 200));
  for (const int width : {25, 60, 150, 300}) {
    const Image sized = ResizeLanczos(ramp, {40, 0, 100, 8}, width, 8);
    for (int x = 0; x < width; ++x) {
      EXPECT_NEAR(40 + (x + 0.5) * 100 / width - 0.5, sized.bgr[static_cast<size_t>(3 * x)], 0.51) << width << " " << x;
    }
  }
}

// The sum over all pixels, the border pixels repeated, weighted by the kernel in both directions.
double PlainLanczos(const Image& picture, double x, double y, double scaleX, double scaleY, int channel) {
  auto weight = [](double distance, double scale) {
    const double pi = std::acos(-1.0), at = std::abs(distance) / std::max(scale, 1.0);
    if (at >= 3) return 0.0;
    return at == 0 ? 1.0 : std::sin(pi * at) / (pi * at) * std::sin(pi * at / 3) / (pi * at / 3);
  };
  double sum = 0, weights = 0;
  for (int v = -80; v < 80 + picture.height; ++v) {
    const double down = weight(v + 0.5 - y, scaleY);
    if (down == 0) continue;
    for (int u = -80; u < 80 + picture.width; ++u) {
      const double share = down * weight(u + 0.5 - x, scaleX);
      sum += share * picture.At(std::clamp(u, 0, picture.width - 1), std::clamp(v, 0, picture.height - 1))[channel];
      weights += share;
    }
  }
  return std::clamp(sum / weights, 0.0, 255.0);
}

TEST(ResizeLanczos, IsThePlainSum) {
  for (const auto& [width, height] : {std::pair{31, 23}, {1, 1}, {2, 40}}) {
    Image picture(width, height);
    uint32_t random = 1;
    for (uint8_t& sample : picture.bgr) sample = static_cast<uint8_t>((random = random * 1664525u + 1013904223u) >> 24);
    const Rectangle parts[] = {{0, 0, double{1} * width, double{1} * height},
                               {-20.5, 3.25, 60, 9},
                               {1.5, -30, 7, 20},
                               {-60, 3, 20, 9},
                               {55.5, 60, 7, 9}};
    for (const Rectangle& part : parts) {
      for (const auto& [across, down] : {std::pair{11, 9}, {5, 33}, {70, 2}}) {
        const Image sized = ResizeLanczos(picture, part, across, down);
        const double scaleX = part.width / across, scaleY = part.height / down;
        for (int i = 0; i < across * down * 3; ++i) {
          const int x = i / 3 % across, y = i / 3 / across;
          const double plain = PlainLanczos(picture, part.left + (x + 0.5) * scaleX, part.top + (y + 0.5) * scaleY,
                                            scaleX, scaleY, i % 3);
          ASSERT_NEAR(plain, sized.bgr[static_cast<size_t>(i)], 0.501) << part.left << " " << x << " " << y;
        }
      }
    }
  }
}

}  // namespace
}  // namespace qx::photo
