// The variants of the row loops, with forbidden pages beside all buffers: both against the definition where a few lines
// say it, else against each other, byte for byte. The tests of whole images hold the fastest against the definitions.
#include "kernels/kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kernels/beauty_kernels.h"
#include "src/kernels/loop_test.h"

namespace qx::test {
namespace {

class RowLoops : public LoopTest {
 protected:
  const Kernels* const variants_[2] = {&GenericKernels(), &ActiveKernels()};
};

// Else the tests of the variants would hold the plain one against itself.
TEST_F(RowLoops, TheProcessorsOwnVariantIsActive) {
#if defined(__aarch64__)
  const char* const wanted = "neon";
#elif defined(__x86_64__)
  const char* const wanted = __builtin_cpu_supports("avx2") ? "avx2" : "generic";
#else
  const char* const wanted = "generic";
#endif
  EXPECT_STREQ(ActiveKernels().name, wanted);
  EXPECT_EQ(&ActiveBeautyKernels() == &GenericBeautyKernels(), &ActiveKernels() == &GenericKernels());
}

uint8_t Luma(uint32_t blue, uint32_t green, uint32_t red) {
  return static_cast<uint8_t>((299 * red + 587 * green + 114 * blue + 500) / 1000);
}

TEST_F(RowLoops, GreyIsExactForEveryColour) {
  constexpr size_t kPlane = 256 * 256;
  std::vector<uint8_t> bgr(kPlane * 3), grey(kPlane);
  for (const Kernels* kernels : variants_) {
    for (uint32_t red = 0; red < 256; ++red) {
      for (size_t k = 0; k < kPlane; ++k) {
        bgr[3 * k] = static_cast<uint8_t>(k);
        bgr[3 * k + 1] = static_cast<uint8_t>(k >> 8);
        bgr[3 * k + 2] = static_cast<uint8_t>(red);
      }
      kernels->greyRow(bgr.data(), kPlane, grey.data());
      for (uint32_t k = 0; k < kPlane; ++k) ASSERT_EQ(grey[k], Luma(k & 255, k >> 8, red)) << red << " " << k;
    }
  }
}

TEST_F(RowLoops, GreyStaysInItsBuffers) {
  for (size_t count = 0; count < 140; ++count) {
    GuardedBytes bgr(count * 3, RandomGuard());
    Images grey(count, RandomGuard());
    FillRandomly(&bgr);
    for (int i : {0, 1}) variants_[i]->greyRow(bgr.data(), count, grey.of[i].data());
    ASSERT_TRUE(grey.Agree()) << count;
  }
}

TEST_F(RowLoops, BlendsAgree) {
  const double fractions[] = {0, 0.5, 0.25, 0.2, 1.0 / 3, 0.1, 1 - 0x1p-53, 0x1p-60};
  const auto draw = [&] { return Random(0, 1) == 0 ? fractions[Random(0, 7)] : Real(0, 1); };
  for (int round = 0; round < 3000; ++round) {
    const size_t pixelBytes = Random(0, 3) == 0 ? 1 : 3;
    const size_t extent = RandomSize(1, 50), count = RandomSize(0, 60);
    GuardedBytes upper(extent * pixelBytes, RandomGuard()), lower(extent * pixelBytes, RandomGuard());
    Images out(count * pixelBytes, RandomGuard());
    FillRandomly(&upper);
    FillRandomly(&lower);
    std::vector<int32_t> first(count);
    std::vector<double> fraction(count);
    for (int32_t& x : first) x = Random(0, static_cast<int>(extent) - 1);
    std::sort(first.begin(), first.end());
    if (Random(0, 1) == 0) std::reverse(first.begin(), first.end());
    for (size_t k = 0; k < count; ++k) fraction[k] = static_cast<size_t>(first[k]) + 1 == extent ? 0 : draw();
    const BlendRun run = {upper.data(), lower.data(), extent, first.data(), fraction.data(), draw()};
    for (int i : {0, 1}) variants_[i]->blendRow(run, count, pixelBytes, out.of[i].data());
    ASSERT_TRUE(out.Agree()) << round;
  }
}

// Gaps between the rows stay as they are: the plain variant writes pixel by pixel.
TEST_F(RowLoops, CopiesReverseAndTurn) {
  for (int round = 0; round < 1500; ++round) {
    const size_t pixelBytes = Random(0, 2) == 0 ? 1 : 3;
    const size_t width = RandomSize(0, 40), height = RandomSize(1, 20), gap = RandomSize(0, 9);
    const size_t sourceStride = width * pixelBytes + gap, outStride = height * pixelBytes + gap;
    GuardedBytes source(sourceStride * height - gap, RandomGuard());
    Images row(width * pixelBytes, RandomGuard()), turned(width == 0 ? 0 : outStride * width - gap, RandomGuard());
    FillRandomly(&source);
    // Strides may run backwards on either side.
    const bool up = Random(0, 1) == 0, left = Random(0, 1) == 0 && width > 0;
    const auto pointer = [](uint8_t* data, size_t stride, size_t rows, bool back) {
      return back ? data + stride * (rows - 1) : data;
    };
    const auto sign = [](size_t stride, bool back) {
      return back ? -static_cast<ptrdiff_t>(stride) : static_cast<ptrdiff_t>(stride);
    };
    for (int i : {0, 1}) {
      variants_[i]->turnTile(pointer(source.data(), sourceStride, height, up), sign(sourceStride, up), width, height,
                             pixelBytes, pointer(turned.of[i].data(), outStride, width, left), sign(outStride, left));
      variants_[i]->reverseRow(source.data(), width, pixelBytes, row.of[i].data());
    }
    ASSERT_TRUE(row.Agree() && turned.Agree()) << round;
  }
}

TEST_F(RowLoops, SumsAndDistancesAreThoseOfEveryPixel) {
  for (size_t count = 0; count < 140; ++count) {
    GuardedBytes bgr(count * 3, RandomGuard());
    FillRandomly(&bgr);
    if (count % 4 == 0) std::fill(bgr.begin(), bgr.end(), uint8_t{255});
    const double colour[3] = {Random(0, 1) * 255.0, Random(0, 25500) / 100.0, Random(0, 2550) / 10.0};
    uint64_t wanted[3] = {1, 2, 3};
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
    for (const Kernels* kernels : variants_) {
      uint64_t sums[3] = {1, 2, 3};
      kernels->addChannels(bgr.data(), count, sums);
      for (size_t c = 0; c < 3; ++c) ASSERT_EQ(sums[c], wanted[c]) << count;
      ASSERT_NEAR(kernels->addDistances(bgr.data(), count, colour), distance,
                  static_cast<double>(count) * kDistanceError);
    }
  }
}

}  // namespace
}  // namespace qx::test
