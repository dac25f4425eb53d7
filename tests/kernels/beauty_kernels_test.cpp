// Every variant of the retouching loops against their definitions, byte for byte and double for double, with forbidden
// pages beside the images.
#include "kernels/beauty_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "beauty/skin_tone.h"
#include "kernels/guarded_bytes.h"
#include "kernels/kernels.h"
#include "library/plain_beauty.h"

namespace qx::test {
namespace {

class BeautyLoops : public ::testing::TestWithParam<const BeautyKernels*> {
 protected:
  int Random(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  double Real(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random_); }
  size_t RandomSize(int low, int high) { return static_cast<size_t>(Random(low, high)); }
  // A whole position half the time.
  double Position(double low, double high) {
    const double position = Real(low, high);
    return Random(0, 1) == 0 ? position : std::floor(position);
  }
  void FillRandomly(GuardedBytes* bytes) {
    for (uint8_t& byte : *bytes) byte = static_cast<uint8_t>(random_());
  }
  Guard RandomGuard() { return Random(0, 1) == 0 ? Guard::kBefore : Guard::kAfter; }
  std::vector<double> Doubles(size_t count) {
    std::vector<double> values(count);
    for (double& v : values) v = Real(-1, 2);
    return values;
  }
  const BeautyKernels& kernels() const { return *GetParam(); }

  std::mt19937 random_{31};
};

TEST_P(BeautyLoops, ToneIsThePlainLookUp) {
  GuardedBytes table(kSkinToneLutBytes, Guard::kAfter);
  std::copy_n(SkinToneLut, kSkinToneLutBytes, table.data());
  for (int round = 0; round < 3000; ++round) {
    const size_t count = RandomSize(0, 40);
    GuardedBytes in(count * 3, RandomGuard()), out(count * 3, RandomGuard());
    FillRandomly(&in);
    if (round % 3 == 0) std::fill(in.begin(), in.end(), uint8_t{255});
    const int strength = Random(1, round % 2 == 0 ? 10 : 100000);
    kernels().toneRow(table.data(), in.data(), count, 1.0 - strength / 10.0, strength / 10.0, out.data());
    std::vector<uint8_t> plain(count * 3);
    PlainTone(in.data(), count, strength, plain.data());
    ASSERT_TRUE(std::equal(plain.begin(), plain.end(), out.begin())) << strength;
    ASSERT_TRUE(out.Intact());
  }
}

TEST_P(BeautyLoops, LensPositionsAreTheQuotients) {
  std::vector<float> radii(2 * 70 * 70 + 1);
  for (float& s : radii) s = Random(0, 9) == 0 ? std::nanf("") : static_cast<float>(Real(-300, 300));
  for (int round = 0; round < 500; ++round) {
    const auto count = RandomSize(0, 60);
    const int dx = Random(-70, 70 - static_cast<int>(count)), dy = Random(-70, 70);
    const auto cx = static_cast<float>(Random(-9, 5000)), cy = static_cast<float>(Random(-9, 5000));
    std::vector<float> sx(count), sy(count);
    kernels().lensPositions(radii.data(), dx, dy, cx, cy, count, sx.data(), sy.data());
    for (size_t k = 0; k < count; ++k) {
      const int x = dx + static_cast<int>(k);
      const float s = radii[static_cast<size_t>(x * x + dy * dy)], r = std::sqrt(static_cast<float>(x * x + dy * dy));
      const float px = s * static_cast<float>(x) / r + cx, py = s * static_cast<float>(dy) / r + cy;
      ASSERT_TRUE(sx[k] == px || (std::isnan(sx[k]) && std::isnan(px))) << x << "," << dy;
      ASSERT_TRUE(sy[k] == py || (std::isnan(sy[k]) && std::isnan(py))) << x << "," << dy;
    }
  }
}

TEST_P(BeautyLoops, LensSamplesAreTheWeightedSums) {
  for (int round = 0; round < 3000; ++round) {
    const int columns = Random(1, 30), rows = Random(1, 9);
    const size_t stride = static_cast<size_t>(columns) * 3, count = RandomSize(0, 50);
    GuardedBytes image(stride * static_cast<size_t>(rows), RandomGuard()), out(count * 3, RandomGuard());
    FillRandomly(&image);
    const double beyond = Random(0, 2) == 0 ? 4 : 0;
    std::vector<float> sx(count), sy(count);
    for (size_t k = 0; k < count; ++k) {
      sx[k] = static_cast<float>(Position(-beyond, columns - 1 + beyond));
      sy[k] = static_cast<float>(Position(-beyond, rows - 1 + beyond));
      if (Random(0, 60) == 0) (Random(0, 1) == 0 ? sx : sy)[k] = std::nanf("");
    }
    kernels().lensSamples({image.data(), columns, rows}, sx.data(), sy.data(), count, out.data());
    for (size_t k = 0; k < count * 3; ++k) {
      const float x = sx[k / 3], y = sy[k / 3];
      int expected = GuardedBytes::kPoison;
      if (!std::isnan(x) && !std::isnan(y)) {
        expected = 0;
        if (x >= 0 && x < static_cast<float>(columns - 1) && y >= 0 && y < static_cast<float>(rows - 1)) {
          const float fx = x - std::floor(x), fy = y - std::floor(y);
          const auto p = [&](size_t right, size_t down) {
            const size_t row = static_cast<size_t>(y) + down, column = static_cast<size_t>(x) + right;
            return static_cast<float>(image.data()[row * stride + column * 3 + k % 3]);
          };
          expected = static_cast<int>((p(1, 1) * fx + p(0, 1) * (1 - fx)) * fy +
                                      (p(1, 0) * fx + p(0, 0) * (1 - fx)) * (1 - fy));
        }
      }
      ASSERT_EQ(out.data()[k], expected) << x << "," << y;
    }
    ASSERT_TRUE(out.Intact());
  }
}

TEST_P(BeautyLoops, AffineSamplesAreTheWeightedSums) {
  for (int round = 0; round < 3000; ++round) {
    const int columns = Random(1, 30), rows = Random(1, 9);
    const auto pixels = static_cast<size_t>(columns * rows);
    GuardedBytes image(pixels * 3, RandomGuard()), mask(pixels, RandomGuard());
    FillRandomly(&image);
    FillRandomly(&mask);
    const size_t count = RandomSize(0, 40);
    GuardedBytes out(count * 3, RandomGuard()), maskOut(count, RandomGuard());
    const double determinant = Random(1, 90) * (Random(0, 1) == 0 ? 1 : -1);
    const auto whole = [&](int low, int high) { return static_cast<double>(Random(low, high)); };
    const AffineRun run = {std::round(determinant * Real(-1.5, 1.5)),
                           whole(-500, 500),
                           whole(-500, 500),
                           std::round(determinant * Real(-0.3, 0.3)),
                           whole(-200, 200),
                           whole(-200, 200),
                           determinant,
                           Random(-5, 20)};
    const bool masked = round % 3 != 0;
    kernels().affineSamples({image.data(), columns, rows}, masked ? mask.data() : nullptr, run, count, out.data(),
                            masked ? maskOut.data() : nullptr);
    for (size_t k = 0; k < count; ++k) {
      const int x = run.x + static_cast<int>(k);
      const double sx = (run.xAlong * x + run.xRow + run.xConstant) / determinant;
      const double sy = (run.yAlong * x + run.yRow + run.yConstant) / determinant;
      const auto x0 = static_cast<int>(sx), y0 = static_cast<int>(sy);
      const double fx = sx - x0, fy = sy - y0;
      const auto sample = [&](const uint8_t* plane, int bytes) {
        const auto p = [&](int u, int v) {
          const int column = std::clamp(x0 + u, 0, columns - 1), row = std::clamp(y0 + v, 0, rows - 1);
          return plane[(row * columns + column) * bytes];
        };
        return static_cast<uint8_t>(static_cast<int>(p(0, 0) * (1 - fx) * (1 - fy) + p(0, 1) * (1 - fx) * fy +
                                                     p(1, 0) * fx * (1 - fy) + p(1, 1) * fx * fy));
      };
      for (size_t c = 0; c < 3; ++c) ASSERT_EQ(out.data()[k * 3 + c], sample(image.data() + c, 3)) << sx << "," << sy;
      ASSERT_EQ(maskOut.data()[k], masked ? sample(mask.data(), 1) : GuardedBytes::kPoison);
    }
    ASSERT_TRUE(out.Intact() && maskOut.Intact());
  }
}

TEST_P(BeautyLoops, DetailRowsFollowTheirFormulas) {
  for (const size_t count : {1u, 2u, 8u, 9u, 10u, 17u, 18u, 61u}) {
    constexpr size_t n = kDetailLanes;
    GuardedBytes pixels(count * 3, Guard::kAfter), out(count * 3, Guard::kAfter);
    FillRandomly(&pixels);
    double overFull[256], threeOverFull[256];
    for (int x = 0; x < 256; ++x) {
      overFull[x] = x / 255.0;
      threeOverFull[x] = x * 3.0 / 255;
    }
    std::vector<double> guide(count), sums = Doubles(count * n), mean(count * n), scratch(count * n);
    const std::vector<double> earlier = sums;
    kernels().detailGuide(pixels.data(), count, guide.data());
    kernels().detailAccumulate(pixels.data(), guide.data(), overFull, count, sums.data());
    for (size_t k = 0; k < count; ++k) {
      const uint8_t* p = pixels.data() + k * 3;
      const double g = (0.587 * p[1] + 0.299 * p[0] + 0.114 * p[2]) / 255;
      ASSERT_EQ(guide[k], g);
      const double lanes[] = {g, p[0] / 255.0, p[1] / 255.0, p[2] / 255.0};
      for (size_t i = 0; i < n; ++i) {
        ASSERT_EQ(sums[k * n + i], earlier[k * n + i] + (i < 4 ? lanes[i] : lanes[0] * lanes[i - 4]));
      }
    }
    for (const double* before : {static_cast<const double*>(nullptr), earlier.data()}) {
      kernels().detailMeans(sums.data(), before, count, 11, scratch.data(), mean.data());
      for (size_t i = 0; i < n; ++i) {
        std::vector<double> line(count);
        for (size_t k = 0; k < count; ++k)
          line[k] = before == nullptr ? sums[k * n + i] : sums[k * n + i] - before[k * n + i];
        const auto width = static_cast<int32_t>(count);
        const std::vector<double> box = PlainBoxSum(line, width, 1);
        const std::vector<double> covered = PlainBoxSum(std::vector<double>(count, 11.0), width, 1);
        for (size_t k = 0; k < count; ++k) ASSERT_EQ(mean[k * n + i], box[k] / covered[k]) << k << " of " << count;
      }
    }
    std::vector<double> next(count * n);
    kernels().detailCoefficients(mean.data(), 0.04, count, earlier.data(), next.data());
    const std::vector<double> ab = Doubles(count * n);
    kernels().detailBoost(ab.data(), guide.data(), threeOverFull, pixels.data(), count, out.data());
    for (size_t k = 0; k < count; ++k) {
      const double* m = mean.data() + k * n;
      for (size_t c = 1; c < 4; ++c) {
        const double a = (m[4 + c] - m[0] * m[c]) / (m[4] - m[0] * m[0] + 0.04), b = m[c] - a * m[0];
        ASSERT_EQ(next[k * n + c], earlier[k * n + c] + a);
        ASSERT_EQ(next[k * n + 4 + c], earlier[k * n + 4 + c] + b);
        const double q = ab[k * n + c] * guide[k] + ab[k * n + 4 + c], x = pixels.data()[k * 3 + c - 1];
        const double v = (x * 3.0 / 255 - q * 2.0) * 255 * 0.4 + x * 0.6;
        ASSERT_EQ(out.data()[k * 3 + c - 1], v > 255 ? 255 : v > 0 ? static_cast<int>(v) : 0);
      }
    }
    ASSERT_TRUE(out.Intact());
  }
}

TEST_P(BeautyLoops, SkinRowsAreTheWeightedMeans) {
  for (int round = 0; round < 300; ++round) {
    const size_t taps = 1 + 2 * RandomSize(0, 4), count = RandomSize(0, 40), step = RandomSize(1, 3) * 3;
    const size_t line = count + taps - 1;
    GuardedBytes pixels(line * 3, Guard::kAfter), mask(line, Guard::kAfter), out(count * step, RandomGuard());
    GuardedBytes mixed(count, RandomGuard());
    FillRandomly(&pixels);
    for (uint8_t& m : mask) m = static_cast<uint8_t>(std::max(0, Random(-200, 255)));
    std::vector<double> lanes(line * 4, 1), products(taps * 256), row[2];
    for (size_t i = 0; i < line * 3; ++i) lanes[i / 3 * 4 + 1 + i % 3] = pixels.data()[i];
    for (size_t i = 0; i < products.size(); ++i) products[i] = static_cast<double>(i % 256) * Real(0, 1);
    for (auto& values : row) {
      for (size_t k = 0; k < count; ++k) values.push_back(Real(0, 255));
    }
    const double w = Position(0, 1);
    kernels().maskedMeans(lanes.data(), mask.data(), products.data(), taps, count, out.data(), step);
    kernels().mixRow(row[0].data(), row[1].data(), w, count, mixed.data());
    for (size_t k = 0; k < count; ++k) {
      for (size_t c = 0; c < step; ++c) {
        double weights = 0, sum = 0;
        for (size_t t = k; t < k + taps; ++t) {
          const double weight = products[(t - k) * 256 + mask.data()[t]];
          weights += weight;
          sum += weight * pixels.data()[t * 3 + c % 3];
        }
        const bool written = c < 3 && mask.data()[k + taps / 2] != 0;
        ASSERT_EQ(out.data()[k * step + c], written ? static_cast<int>(sum / weights) : GuardedBytes::kPoison);
      }
      ASSERT_EQ(mixed.data()[k], static_cast<int>(row[0][k] * (1 - w) + row[1][k] * w));
    }
    ASSERT_TRUE(out.Intact() && mixed.Intact());
  }
}

std::vector<const BeautyKernels*> Variants() {
  std::vector<const BeautyKernels*> variants = {&GenericBeautyKernels()};
  if (&ActiveBeautyKernels() != variants[0]) variants.push_back(&ActiveBeautyKernels());
  return variants;
}

INSTANTIATE_TEST_SUITE_P(Variants, BeautyLoops, ::testing::ValuesIn(Variants()), [](const auto& variant) {
  return std::string(variant.param == &GenericBeautyKernels() ? "generic" : ActiveKernels().name);
});

}  // namespace
}  // namespace qx::test
