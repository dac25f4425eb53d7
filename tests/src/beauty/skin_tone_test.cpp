#include "beauty/skin_tone.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "reference/plain_beauty.h"

namespace qx::test {
namespace {

using Colour = std::vector<int>;  // red, green, blue

Colour Entry(int r, int g, int b) {
  const unsigned char* e = SkinToneLut + ((r * 32 + g) * 32 + b) * 3;
  return {e[0], e[1], e[2]};
}

Colour Tone(Colour rgb, int32_t strength) {
  const uint8_t in[] = {static_cast<uint8_t>(rgb[2]), static_cast<uint8_t>(rgb[1]), static_cast<uint8_t>(rgb[0])};
  uint8_t out[3];
  EXPECT_EQ(ApplySkinToneLut({in, 1, 1, 3}, strength, out), Status::kOk);
  return {out[2], out[1], out[0]};
}

TEST(SkinTone, TheTableHasItsTellingEntries) {
  EXPECT_EQ(Entry(8, 8, 8), (Colour{107, 103, 108}));
  EXPECT_EQ(Entry(10, 10, 10), (Colour{137, 131, 137}));
  EXPECT_EQ(Entry(16, 16, 16), (Colour{184, 180, 185}));
  EXPECT_EQ(Entry(20, 14, 10), (Colour{199, 166, 152}));
  EXPECT_EQ(Entry(24, 24, 24), (Colour{224, 222, 225}));
  EXPECT_EQ(Entry(28, 20, 16), (Colour{237, 203, 191}));
  EXPECT_EQ(Entry(31, 31, 31), (Colour{249, 249, 249}));
  EXPECT_EQ(Entry(31, 0, 0), (Colour{249, 28, 29}));
  EXPECT_EQ(Entry(0, 31, 0), (Colour{107, 249, 108}));
  EXPECT_EQ(Entry(0, 0, 31), (Colour{9, 9, 249}));
}

TEST(SkinTone, BlendsByTenthsAndTruncates) {
  for (const int s : {0, 1, 5, 10, 25}) EXPECT_EQ(Tone({0, 0, 0}, s), (Colour{0, 0, 0}));
  EXPECT_EQ(Tone({255, 255, 255}, 10), (Colour{249, 249, 249}));
  EXPECT_EQ(Tone({128, 128, 128}, 10), (Colour{184, 180, 185}));
  EXPECT_EQ(Tone({128, 128, 128}, 5), (Colour{156, 154, 156}));
  EXPECT_EQ(Tone({128, 128, 128}, 0), (Colour{128, 128, 128}));
  // Beyond 10 it extrapolates, and what leaves a byte wraps around: 128 * -1.5 + 184 * 2.5 = 268.
  EXPECT_EQ(Tone({128, 128, 128}, 25)[0], 268 - 256);
}

TEST(SkinTone, EveryColourIsThePlainReading) {
  // Every pair of two channels with three values of the third that lie in the first, a middle and the last cell.
  std::vector<uint8_t> image;
  for (int i = 0; i < 256 * 256; ++i) {
    for (const int third : {3, 128, 250}) {
      for (int channel = 0; channel < 3; ++channel) {
        uint8_t pixel[] = {static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(third)};
        std::swap(pixel[2], pixel[channel]);
        image.insert(image.end(), pixel, pixel + 3);
      }
    }
  }
  std::vector<uint8_t> out(image.size()), plain(image.size());
  for (const int32_t strength : {1, 5, 7, 10, 13, 1000, 2147483647}) {
    ASSERT_EQ(ApplySkinToneLut({image.data(), 9, 256 * 256, 3}, strength, out.data()), Status::kOk);
    PlainTone(image.data(), image.size() / 3, strength, plain.data());
    ASSERT_EQ(out, plain) << strength;
  }
}

TEST(SkinTone, RefusesBadArguments) {
  uint8_t in[3] = {1, 2, 3}, out[3] = {};
  EXPECT_EQ(ApplySkinToneLut({nullptr, 1, 1, 3}, 5, out), Status::kBadArgument);
  EXPECT_EQ(ApplySkinToneLut({in, 1, 1, 3}, 5, nullptr), Status::kBadArgument);
  EXPECT_EQ(ApplySkinToneLut({in, -1, 1, 3}, 5, out), Status::kBadArgument);
  EXPECT_EQ(ApplySkinToneLut({in, 1, -1, 3}, 5, out), Status::kBadArgument);
  EXPECT_EQ(ApplySkinToneLut({in, 1, 1, 3}, -1, out), Status::kBadArgument);
  EXPECT_EQ(ApplySkinToneLut({in, 0, 1, 3}, 5, out), Status::kOk);
  EXPECT_EQ(out[0], 0);
}

}  // namespace
}  // namespace qx::test
