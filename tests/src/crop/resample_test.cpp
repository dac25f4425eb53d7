// Whole images against the crop's formula taken literally, pixel by pixel.
#include "crop/resample.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "src/kernels/guarded_bytes.h"

namespace qx::test {
namespace {

// An upright crop with scale s, quarter turn (c, sn) and origin (ox, oy).
struct Placement {
  int32_t width, height;
  double s, c, sn, ox, oy;
};

bool BuildSampling(const ImageView& source, const Placement& p, CropSampling* sampling) {
  const auto alongX = [&](double turn) { return [&p, turn](int32_t k) { return (k * p.s) * turn + p.ox; }; };
  const auto alongY = [&](double turn) { return [&p, turn](int32_t k) { return p.oy - (k * p.s) * turn; }; };
  sampling->turned = p.c == 0;
  return sampling->turned ? sampling->columns.Build(p.width, source.height, alongY(p.sn)) &&
                                sampling->rows.Build(p.height, source.width, alongX(p.sn))
                          : sampling->columns.Build(p.width, source.width, alongX(p.c)) &&
                                sampling->rows.Build(p.height, source.height, alongY(-p.c));
}

// One sample at output row i, column j; false outside.
bool Reference(const ImageView& source, const Placement& p, int32_t i, int32_t j, size_t channel, uint8_t* value) {
  const double x = (j * p.s) * p.c + (i * p.s) * p.sn + p.ox;
  const double y = p.oy - ((j * p.s) * p.sn - (i * p.s) * p.c);
  if (x < 0 || x > source.width - 1 || y < 0 || y > source.height - 1) return false;
  const auto x0 = static_cast<int32_t>(x), y0 = static_cast<int32_t>(y);
  const int32_t x1 = std::min(x0 + 1, source.width - 1), y1 = std::min(y0 + 1, source.height - 1);
  const double fx = x - x0, fy = y - y0;
  const auto at = [&](int32_t column, int32_t row) {
    return source.pixels[static_cast<size_t>((row * source.width + column) * source.channels) + channel];
  };
  const double sum = at(x0, y0) * (1 - fx) * (1 - fy) + at(x0, y1) * (1 - fx) * fy + at(x1, y0) * fx * (1 - fy) +
                     at(x1, y1) * fx * fy + 0.5;
  *value = static_cast<uint8_t>(sum);
  return true;
}

void CheckPlacement(const ImageView& source, const Placement& p, Guard guard) {
  const auto count = static_cast<size_t>(p.width) * static_cast<size_t>(p.height);
  const auto channels = static_cast<size_t>(source.channels);
  GuardedBytes crop(count * 3, guard), mask(count, guard), plain(count * channels, guard);
  CropSampling sampling;
  ASSERT_TRUE(BuildSampling(source, p, &sampling));
  ResampleCrop(source, sampling, crop.data(), mask.data());
  ResampleUpright(source, sampling, 7, plain.data());
  for (size_t k = 0; k < count * 3; ++k) {
    const auto i = static_cast<int32_t>(k / 3) / p.width, j = static_cast<int32_t>(k / 3) % p.width;
    const size_t channel = channels == 1 ? 0 : k % 3;
    uint8_t value = 0;
    const bool inside = Reference(source, p, i, j, channel, &value);
    ASSERT_EQ(mask.data()[k / 3], inside ? 1 : 0) << i << "," << j;
    ASSERT_EQ(crop.data()[k], inside ? value : 255) << i << "," << j;
    ASSERT_EQ(plain.data()[k / 3 * channels + channel], inside ? value : 7) << i << "," << j;
  }
  ASSERT_TRUE(crop.Intact() && mask.Intact() && plain.Intact());
}

// Turned crops are larger than the tiles in which they are made.
TEST(Resample, FollowsTheFormulaToTheBit) {
  std::mt19937 random(7);
  const auto draw = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  const double scales[] = {1, 1, 1, 1.2, 1.25, 1.3, 1.5, 2, 2.5, 7.0 / 6, 0.3, 0.5, 973.0 / 800, 1e-3, 60};
  const double turns[][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
  for (int round = 0; round < 1200; ++round) {
    const Guard guard = draw(0, 1) == 0 ? Guard::kBefore : Guard::kAfter;
    const int32_t channels = draw(0, 2) == 0 ? 1 : 3;
    const int32_t width = draw(1, 5) == 1 ? 1 : draw(1, 120), height = draw(1, 5) == 1 ? 1 : draw(1, 120);
    GuardedBytes pixels(static_cast<size_t>(width) * static_cast<size_t>(height * channels), guard);
    // Few levels now and then, so that sums fall halfway between two bytes.
    const uint32_t levels = draw(0, 3) == 0 ? 2 : 256;
    for (uint8_t& byte : pixels) byte = static_cast<uint8_t>(random() % levels);
    const double* turn = turns[draw(0, 3)];
    const double scale = draw(0, 5) == 0 ? std::uniform_real_distribution<double>(0.2, 4)(random) : scales[draw(0, 14)];
    // The crop's first pixel lies near the corner of the source where the turn puts it, now and then far away. The
    // common crop of two faces starts between pixels.
    const bool right = turn[0] < 0 || turn[1] < 0, below = turn[0] < 0 || turn[1] > 0;
    const int reach = draw(0, 9) == 0 ? 400 : 30;
    Placement p = {draw(0, 100), draw(0, 100), scale, turn[0], turn[1], 0, 0};
    p.ox = (right ? width - 1 : 0) + draw(-reach, reach) + (draw(0, 3) == 0 ? 0.25 * draw(0, 3) + 0.1 : 0);
    p.oy = (below ? height - 1 : 0) + draw(-reach, reach) + (draw(0, 3) == 0 ? 0.25 * draw(0, 3) : 0);
    SCOPED_TRACE(::testing::Message() << "round " << round << ": " << width << " x " << height << " x " << channels
                                      << " to " << p.width << " x " << p.height << ", scale " << scale << ", turn "
                                      << p.c << "," << p.sn << ", origin " << p.ox << "," << p.oy);
    CheckPlacement({pixels.data(), width, height, channels}, p, guard);
    if (::testing::Test::HasFatalFailure()) return;
  }
}

}  // namespace
}  // namespace qx::test
