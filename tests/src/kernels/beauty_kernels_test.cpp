// The fastest variant of the retouching loops against the plain one, byte for byte and double for double, with
// forbidden pages beside the images. The tests of the stages hold the fastest against the definitions.
#include "kernels/beauty_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "beauty/skin_tone.h"
#include "src/kernels/loop_test.h"

namespace qx::test {
namespace {

// The same of numbers.
template <typename Real>
struct Rows {
  explicit Rows(size_t count) : of{std::vector<Real>(count), std::vector<Real>(count)} {}
  bool Agree() { return of[0].empty() || std::memcmp(of[0].data(), of[1].data(), of[0].size() * sizeof(Real)) == 0; }
  std::vector<Real> of[2];
};

class BeautyLoops : public LoopTest {
 protected:
  // A whole position half the time.
  double Position(double low, double high) {
    const double position = Real(low, high);
    return Random(0, 1) == 0 ? position : std::floor(position);
  }
  std::vector<double> Doubles(size_t count, double low, double high) {
    std::vector<double> values(count);
    for (double& v : values) v = Real(low, high);
    return values;
  }

  const BeautyKernels* const variants_[2] = {&GenericBeautyKernels(), &ActiveBeautyKernels()};
};

TEST_F(BeautyLoops, Tone) {
  GuardedBytes table(kSkinToneLutBytes, Guard::kAfter);
  std::copy_n(SkinToneLut, kSkinToneLutBytes, table.data());
  for (int round = 0; round < 3000; ++round) {
    const size_t count = RandomSize(0, 40);
    GuardedBytes in(count * 3, RandomGuard());
    Images out(count * 3, RandomGuard());
    FillRandomly(&in);
    if (round % 3 == 0) std::fill(in.begin(), in.end(), uint8_t{255});
    // Up to where the sums leave int32, and beyond.
    const double s = Random(1, round % 2 == 0 ? 10 : 100000) * (round % 5 == 0 ? 1e4 : 0.1);
    for (int i : {0, 1}) variants_[i]->toneRow(table.data(), in.data(), count, 1.0 - s, s, out.of[i].data());
    ASSERT_TRUE(out.Agree()) << s;
  }
}

TEST_F(BeautyLoops, LensPositions) {
  std::vector<float> radii(2 * 70 * 70 + 1);
  for (float& s : radii) s = Random(0, 9) == 0 ? std::nanf("") : static_cast<float>(Real(-300, 300));
  for (int round = 0; round < 500; ++round) {
    const auto count = RandomSize(0, 60);
    const int dx = Random(-70, 70 - static_cast<int>(count)), dy = Random(-70, 70);
    const auto cx = static_cast<float>(Random(-9, 5000)), cy = static_cast<float>(Random(-9, 5000));
    Rows<float> sx(count), sy(count);
    for (int i : {0, 1}) {
      variants_[i]->lensPositions(radii.data(), dx, dy, cx, cy, count, sx.of[i].data(), sy.of[i].data());
    }
    ASSERT_TRUE(sx.Agree() && sy.Agree()) << dx << "," << dy;
  }
}

TEST_F(BeautyLoops, LensSamples) {
  for (int round = 0; round < 3000; ++round) {
    const int columns = Random(1, 30), rows = Random(1, 9);
    const size_t count = RandomSize(0, 50);
    GuardedBytes image(static_cast<size_t>(columns * rows * 3), RandomGuard());
    Images out(count * 3, RandomGuard());
    FillRandomly(&image);
    const double beyond = Random(0, 2) == 0 ? 4 : 0;
    std::vector<float> sx(count), sy(count);
    for (size_t k = 0; k < count; ++k) {
      sx[k] = static_cast<float>(Position(-beyond, columns - 1 + beyond));
      sy[k] = static_cast<float>(Position(-beyond, rows - 1 + beyond));
      if (Random(0, 60) == 0) (Random(0, 1) == 0 ? sx : sy)[k] = std::nanf("");
    }
    for (int i : {0, 1}) {
      variants_[i]->lensSamples({image.data(), columns, rows}, sx.data(), sy.data(), count, out.of[i].data());
    }
    ASSERT_TRUE(out.Agree()) << round;
  }
}

TEST_F(BeautyLoops, AffineSamples) {
  for (int round = 0; round < 3000; ++round) {
    const int columns = Random(1, 30), rows = Random(1, 9);
    const auto pixels = static_cast<size_t>(columns * rows);
    GuardedBytes image(pixels * 3, RandomGuard()), mask(pixels, RandomGuard());
    FillRandomly(&image);
    FillRandomly(&mask);
    const size_t count = RandomSize(0, 40);
    Images out(count * 3, RandomGuard()), maskOut(count, RandomGuard());
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
    for (int i : {0, 1}) {
      variants_[i]->affineSamples({image.data(), columns, rows}, masked ? mask.data() : nullptr, run, count,
                                  out.of[i].data(), masked ? maskOut.of[i].data() : nullptr);
    }
    ASSERT_TRUE(out.Agree() && maskOut.Agree()) << round;
  }
}

TEST_F(BeautyLoops, DetailRows) {
  for (const size_t count : {1u, 2u, 8u, 9u, 10u, 17u, 18u, 61u}) {
    const size_t lanes = count * kDetailLanes;
    GuardedBytes pixels(count * 3, Guard::kAfter);
    Images out(count * 3, Guard::kAfter);
    FillRandomly(&pixels);
    const std::vector<double> earlier = Doubles(lanes, -1, 2), overFull = Doubles(256, 0, 3);
    std::vector<double> scratch(lanes);
    Rows<double> guide(count), sums(lanes), first(lanes), mean(lanes), next(lanes);
    for (int i : {0, 1}) {
      const BeautyKernels& kernels = *variants_[i];
      sums.of[i] = earlier;
      kernels.detailGuide(pixels.data(), count, guide.of[i].data());
      kernels.detailAccumulate(pixels.data(), guide.of[i].data(), overFull.data(), count, sums.of[i].data());
      kernels.detailMeans(sums.of[i].data(), nullptr, count, 11, scratch.data(), first.of[i].data());
      kernels.detailMeans(sums.of[i].data(), earlier.data(), count, 11, scratch.data(), mean.of[i].data());
      kernels.detailCoefficients(mean.of[i].data(), 0.04, count, earlier.data(), next.of[i].data());
      kernels.detailBoost(earlier.data(), guide.of[i].data(), overFull.data(), pixels.data(), count, out.of[i].data());
    }
    ASSERT_TRUE(guide.Agree() && sums.Agree() && first.Agree() && mean.Agree() && next.Agree()) << count;
    ASSERT_TRUE(out.Agree()) << count;
  }
}

TEST_F(BeautyLoops, SkinRows) {
  for (int round = 0; round < 300; ++round) {
    const size_t taps = 1 + 2 * RandomSize(0, 4), count = RandomSize(0, 40), step = RandomSize(1, 3) * 3;
    const size_t line = count + taps - 1;
    GuardedBytes mask(line, Guard::kAfter);
    for (uint8_t& m : mask) m = static_cast<uint8_t>(std::max(0, Random(-200, 255)));
    const std::vector<double> upper = Doubles(count, 0, 255), lower = Doubles(count, 0, 255);
    std::vector<double> lanes(line * 4, 1), products = Doubles(taps * 256, 0, 1);
    for (size_t i = 0; i < lanes.size(); ++i) lanes[i] = i % 4 == 0 ? 1 : Random(0, 255);
    for (size_t i = 0; i < products.size(); ++i) products[i] *= static_cast<double>(i % 256);
    const double w = Position(0, 1);
    Images out(count * step, RandomGuard()), mixed(count, RandomGuard());
    for (int i : {0, 1}) {
      variants_[i]->maskedMeans(lanes.data(), mask.data(), products.data(), taps, count, out.of[i].data(), step);
      variants_[i]->mixRow(upper.data(), lower.data(), w, count, mixed.of[i].data());
    }
    ASSERT_TRUE(out.Agree() && mixed.Agree()) << round;
  }
}

}  // namespace
}  // namespace qx::test
