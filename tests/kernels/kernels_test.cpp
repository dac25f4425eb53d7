// Every variant of the row loops against the definition, byte for byte, with forbidden pages beside all buffers.
#include "kernels/kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "kernels/guarded_bytes.h"

namespace qx::test {
namespace {

class RowLoops : public ::testing::TestWithParam<const Kernels*> {
 protected:
  int Random(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  size_t RandomSize(int low, int high) { return static_cast<size_t>(Random(low, high)); }
  Guard RandomGuard() { return Random(0, 1) == 0 ? Guard::kBefore : Guard::kAfter; }
  void FillRandomly(GuardedBytes* bytes) {
    for (uint8_t& byte : *bytes) byte = static_cast<uint8_t>(random_());
  }
  const Kernels& kernels() const { return *GetParam(); }

  std::mt19937 random_{20};
};

uint8_t Luma(uint32_t blue, uint32_t green, uint32_t red) {
  return static_cast<uint8_t>((299 * red + 587 * green + 114 * blue + 500) / 1000);
}

TEST_P(RowLoops, GreyIsExactForEveryColour) {
  constexpr size_t kPlane = 256 * 256;
  std::vector<uint8_t> bgr(kPlane * 3), grey(kPlane);
  for (uint32_t red = 0; red < 256; ++red) {
    for (size_t k = 0; k < kPlane; ++k) {
      bgr[3 * k] = static_cast<uint8_t>(k);
      bgr[3 * k + 1] = static_cast<uint8_t>(k >> 8);
      bgr[3 * k + 2] = static_cast<uint8_t>(red);
    }
    kernels().greyRow(bgr.data(), kPlane, grey.data());
    for (uint32_t k = 0; k < kPlane; ++k) ASSERT_EQ(grey[k], Luma(k & 255, k >> 8, red)) << red << " " << k;
  }
}

TEST_P(RowLoops, GreyStaysInItsBuffers) {
  for (size_t count = 0; count < 140; ++count) {
    GuardedBytes bgr(count * 3, RandomGuard()), grey(count, RandomGuard());
    FillRandomly(&bgr);
    kernels().greyRow(bgr.data(), count, grey.data());
    for (size_t k = 0; k < count; ++k) {
      const uint8_t* p = bgr.data() + 3 * k;
      ASSERT_EQ(grey.data()[k], Luma(p[0], p[1], p[2])) << k << " of " << count;
    }
    ASSERT_TRUE(grey.Intact()) << count;
  }
}

TEST_P(RowLoops, BlendIsTheWeightedSumInItsOrder) {
  const double fractions[] = {0, 0.5, 0.25, 0.2, 1.0 / 3, 0.1, 1 - 0x1p-53, 0x1p-60};
  std::uniform_real_distribution<double> anyFraction(0, 1);
  const auto draw = [&] { return Random(0, 1) == 0 ? fractions[Random(0, 7)] : anyFraction(random_); };
  for (int round = 0; round < 3000; ++round) {
    const size_t pixelBytes = Random(0, 3) == 0 ? 1 : 3;
    const size_t extent = RandomSize(1, 50), count = RandomSize(0, 60);
    GuardedBytes upper(extent * pixelBytes, RandomGuard()), lower(extent * pixelBytes, RandomGuard());
    GuardedBytes out(count * pixelBytes, RandomGuard());
    FillRandomly(&upper);
    FillRandomly(&lower);
    std::vector<int32_t> first(count);
    std::vector<double> fraction(count);
    for (int32_t& x : first) x = Random(0, static_cast<int>(extent) - 1);
    std::sort(first.begin(), first.end());
    if (Random(0, 1) == 0) std::reverse(first.begin(), first.end());
    for (size_t k = 0; k < count; ++k) fraction[k] = static_cast<size_t>(first[k]) + 1 == extent ? 0 : draw();
    const double fy = draw();
    const BlendRun run = {upper.data(), lower.data(), extent, first.data(), fraction.data(), fy};
    kernels().blendRow(run, count, pixelBytes, out.data());
    for (size_t k = 0; k < count; ++k) {
      const size_t left = static_cast<size_t>(first[k]), right = std::min(left + 1, extent - 1);
      const double fx = fraction[k];
      for (size_t c = 0; c < pixelBytes; ++c) {
        const uint8_t p00 = upper.data()[left * pixelBytes + c], p01 = lower.data()[left * pixelBytes + c];
        const uint8_t p10 = upper.data()[right * pixelBytes + c], p11 = lower.data()[right * pixelBytes + c];
        const double sum = p00 * (1 - fx) * (1 - fy) + p01 * (1 - fx) * fy + p10 * fx * (1 - fy) + p11 * fx * fy;
        ASSERT_EQ(out.data()[k * pixelBytes + c], static_cast<uint8_t>(sum + 0.5)) << round << " " << k;
      }
    }
    ASSERT_TRUE(out.Intact()) << round;
  }
}

TEST_P(RowLoops, CopiesReverseAndTurn) {
  for (int round = 0; round < 1500; ++round) {
    const size_t pixelBytes = Random(0, 2) == 0 ? 1 : 3;
    const size_t width = RandomSize(0, 40), height = RandomSize(1, 20), gap = RandomSize(0, 9);
    const size_t sourceStride = width * pixelBytes + gap, outStride = height * pixelBytes + gap;
    GuardedBytes source(sourceStride * height - gap, RandomGuard());
    GuardedBytes row(width * pixelBytes, RandomGuard());
    GuardedBytes turned(width == 0 ? 0 : outStride * width - gap, RandomGuard());
    FillRandomly(&source);
    // Strides may run backwards on either side.
    const bool up = Random(0, 1) == 0, left = Random(0, 1) == 0 && width > 0;
    const auto pointer = [](uint8_t* data, size_t stride, size_t rows, bool back) {
      return back ? data + stride * (rows - 1) : data;
    };
    const auto sign = [](size_t stride, bool back) {
      return back ? -static_cast<ptrdiff_t>(stride) : static_cast<ptrdiff_t>(stride);
    };
    kernels().turnTile(pointer(source.data(), sourceStride, height, up), sign(sourceStride, up), width, height,
                       pixelBytes, pointer(turned.data(), outStride, width, left), sign(outStride, left));
    kernels().reverseRow(source.data(), width, pixelBytes, row.data());
    for (size_t x = 0; x < width; ++x) {
      for (size_t c = 0; c < pixelBytes; ++c) {
        ASSERT_EQ(row.data()[(width - 1 - x) * pixelBytes + c], source.data()[x * pixelBytes + c]) << width;
        for (size_t y = 0; y < height; ++y) {
          const size_t from = (up ? height - 1 - y : y) * sourceStride + x * pixelBytes + c;
          const size_t to = (left ? width - 1 - x : x) * outStride + y * pixelBytes + c;
          ASSERT_EQ(turned.data()[to], source.data()[from]) << width << " x " << height;
        }
      }
      for (size_t k = 0; k < gap && x + 1 < width; ++k) {
        ASSERT_EQ(turned.data()[x * outStride + height * pixelBytes + k], GuardedBytes::kPoison);
      }
    }
    ASSERT_TRUE(row.Intact() && turned.Intact()) << round;
  }
}

TEST_P(RowLoops, SumsAndDistancesAreThoseOfEveryPixel) {
  for (size_t count = 0; count < 140; ++count) {
    GuardedBytes bgr(count * 3, RandomGuard());
    FillRandomly(&bgr);
    if (count % 4 == 0) std::fill(bgr.begin(), bgr.end(), uint8_t{255});
    const double colour[3] = {Random(0, 1) * 255.0, Random(0, 25500) / 100.0, Random(0, 2550) / 10.0};
    uint64_t sums[3] = {1, 2, 3}, wanted[3] = {1, 2, 3};
    double distance = 0;
    for (size_t k = 0; k < count; ++k) {
      double square = 0;
      for (size_t c = 0; c < 3; ++c) {
        const uint8_t byte = bgr.data()[3 * k + c];
        wanted[c] += byte;
        square += (byte - colour[c]) * (byte - colour[c]);
      }
      distance += std::sqrt(square);
    }
    kernels().addChannels(bgr.data(), count, sums);
    for (size_t c = 0; c < 3; ++c) ASSERT_EQ(sums[c], wanted[c]) << count;
    ASSERT_NEAR(kernels().addDistances(bgr.data(), count, colour), distance,
                static_cast<double>(count) * kDistanceError);
  }
}

std::vector<const Kernels*> Variants() {
  std::vector<const Kernels*> variants = {&GenericKernels()};
  if (&ActiveKernels() != variants[0]) variants.push_back(&ActiveKernels());
  return variants;
}

INSTANTIATE_TEST_SUITE_P(Variants, RowLoops, ::testing::ValuesIn(Variants()),
                         [](const auto& variant) { return std::string(variant.param->name); });

}  // namespace
}  // namespace qx::test
