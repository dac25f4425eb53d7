#include "photo/person/clean_plate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace qx::photo {
namespace {

// Lengths in face widths, colours in levels.
constexpr float kSureBeyondHair = 0.3f, kSureBeyondBody = 0.15f;  // from the outline: certainly background
constexpr float kJoining = 0.04f;  // nearer pixels count once they have the colour of the first plate
constexpr float kFits = 3;         // times the noise
constexpr float kFloodFrom = 0.2f, kFloodInto = 0.05f;
constexpr float kSameWall = 15;
constexpr float kRing = 0.7f;
constexpr float kSpreadFrom = 0.12f, kSpreadTo = 0.6f;
constexpr size_t kLeastKnown = 64;  // pixels of the crop, without which there is no plate

Pixel Load(const uint8_t* bgr) {
  return Pixel{static_cast<float>(bgr[0]), static_cast<float>(bgr[1]), static_cast<float>(bgr[2]), 1};
}

float MeanSquare(Pixel p) {
  const Pixel q = p * p;
  return (q[0] + q[1] + q[2]) * (1.0f / 3);
}

// A quarter of each of the pixels x and x + 1 of a row that the region has, added to the sums.
void AddPair(const uint8_t* bgr, const uint8_t* bits, int pixels, Pixel* sum, float* square) {
  for (int i = 0; i < pixels; ++i, bgr += 3) {
    if (!bits[i]) continue;
    const Pixel pixel = Load(bgr);
    *sum += pixel * 0.25f;
    *square += 0.25f * MeanSquare(pixel);
  }
}

// The colours of a region's pixels, at half size.
Scattered Gather(const Image& colours, const Region& region) {
  Scattered known((colours.width + 1) / 2, (colours.height + 1) / 2);
  for (int y = 0; y < known.sums.height; ++y) {
    Pixel* to = known.sums.Row(y);
    float* square = known.squares.data() + (to - known.sums.pixels.data());
    const bool twoRows = 2 * y + 1 < colours.height;
    const uint8_t *above = colours.At(0, 2 * y), *inAbove = region.Row(2 * y);
    const uint8_t *below = twoRows ? colours.At(0, 2 * y + 1) : above, *inBelow = twoRows ? region.Row(2 * y + 1) : inAbove;
    for (int x = 0; x < known.sums.width; ++x) {
      const int pixels = std::min(2, colours.width - 2 * x);
      Pixel sum{};
      float squares = 0;
      AddPair(above + 6 * x, inAbove + 2 * x, pixels, &sum, &squares);
      if (twoRows) AddPair(below + 6 * x, inBelow + 2 * x, pixels, &sum, &squares);
      to[x] = sum;
      square[x] = squares;
    }
  }
  return known;
}

size_t Count(const Region& region) {
  size_t count = 0;
  for (const uint8_t bit : region.bits) count += bit;
  return count;
}

// A square of 3 x 3 pixels brought to its middle by `both`; outside the raster are zeros.
template <typename Both>
Region OverSquares(const Region& region, Both both) {
  Region result(region.width, region.height);
  const auto width = static_cast<size_t>(region.width);
  const std::vector<uint8_t> outside(width);
  std::vector<uint8_t> columns(width + 2);  // one more on both sides
  for (int y = 0; y < region.height; ++y) {
    const uint8_t* above = y > 0 ? region.Row(y - 1) : outside.data();
    const uint8_t* own = region.Row(y);
    const uint8_t* below = y + 1 < region.height ? region.Row(y + 1) : outside.data();
    for (size_t x = 0; x < width; ++x) columns[x + 1] = static_cast<uint8_t>(both(above[x], both(own[x], below[x])));
    uint8_t* to = result.Row(y);
    for (size_t x = 0; x < width; ++x) {
      to[x] = static_cast<uint8_t>(both(columns[x], both(columns[x + 1], columns[x + 2])));
    }
  }
  return result;
}

// Without what is thinner than 3 x 3 pixels.
Region Opened(const Region& region) {
  return OverSquares(OverSquares(region, [](int a, int b) { return a & b; }), [](int a, int b) { return a | b; });
}

float Residual(const uint8_t* bgr, Pixel plate) { return std::sqrt(MeanSquare(Load(bgr) - plate)); }

class PlateMaker {
 public:
  PlateMaker(const HeadCrop& crop, CleanPlate* plate)
      : crop_(crop),
        plate_(*plate),
        width_(crop.mask.width),
        height_(crop.mask.height),
        unit_(1 / static_cast<float>(crop.faceWidth)),
        zones_(width_, height_),
        residual_(crop.depth.size()) {}

  bool Make() {
    DivideCrop();
    if (!FirstPlate()) return false;
    plate_.smooth = Opened(SmoothPixels(crop_.colours, std::min(plate_.noise, 3.0f)));
    for (int round = 0; round < 2; ++round) {
      plate_.background = Flood(plate_.smooth);
      if (Count(plate_.background) < kLeastKnown) return false;
      Refill(plate_.background);
    }
    plate_.flooded = ShareInRing(plate_.background);
    return true;
  }

 private:
  // Where a pixel lies, as bits.
  enum Zone : uint8_t { kSure = 1, kJoins = 2, kSpreads = 4, kSeed = 8, kOutside = 16, kRim = 32, kAround = 64 };

  void DivideCrop() {
    std::vector<float> hair(static_cast<size_t>(width_));
    size_t i = 0;
    for (int y = 0; y < height_; ++y) {
      crop_.HairZone(y, hair.data());
      for (int x = 0; x < width_; ++x, ++i) {
        const float depth = crop_.Depth(i) * unit_, out = -depth;  // in face widths
        const bool sure = out - (kSureBeyondBody + hair[static_cast<size_t>(x)] * (kSureBeyondHair - kSureBeyondBody)) > 0;
        const bool seed = sure | (depth < -kFloodFrom), outside = depth < 0;
        const bool spreads = (out > kSpreadFrom) & (out < kSpreadTo), rim = !outside & (depth < kFloodInto);
        zones_.bits[i] = static_cast<uint8_t>(kSure * sure | kJoins * (depth < -kJoining) | kSpreads * spreads |
                                              kSeed * seed | kOutside * outside | kRim * rim |
                                              kAround * (outside & !(depth < -kRing)));
      }
    }
  }

  void Refill(const Region& known) { plate_.colours = FillGaps(Gather(crop_.colours, known)); }

  // How far the background's pixels are from the plate; the others fit nowhere.
  void Compare() {
    FieldRow behind(plate_.colours, width_);
    float* to = residual_.data();
    for (int y = 0; y < height_; ++y, to += width_) {
      const Pixel* plate = behind.At(y);
      const uint8_t *bgr = crop_.colours.At(0, y), *zone = zones_.Row(y);
      for (int x = 0; x < width_; ++x) to[x] = zone[x] & kJoins ? Residual(bgr + 3 * x, plate[x]) : 1e9f;
    }
  }

  // The value below which that share of the residuals over a zone is, in steps of a quarter of a level.
  float ResidualQuantile(double share, Zone zone) const {
    std::array<size_t, 1024> counts{};
    size_t all = 0;
    for (size_t i = 0; i < residual_.size(); ++i) {
      if (!(zones_.bits[i] & zone)) continue;
      ++counts[static_cast<size_t>(std::min(residual_[i] * 4, 1023.0f))];
      ++all;
    }
    size_t below = 0, at = 0;
    while (at + 1 < counts.size() && static_cast<double>(below + counts[at]) < share * static_cast<double>(all)) {
      below += counts[at++];
    }
    return (static_cast<float>(at) + 0.5f) / 4;
  }

  bool FirstPlate() {
    Region sure(width_, height_);
    for (size_t i = 0; i < sure.bits.size(); ++i) sure.bits[i] = zones_.bits[i] & kSure;
    if (Count(sure) < kLeastKnown) return false;
    for (int round = 0; round < 3; ++round) {
      Refill(sure);
      Compare();
      plate_.noise = std::max(1.0f, ResidualQuantile(0.5, kSure));
      if (round == 2) break;
      const float most = kFits * plate_.noise;
      for (size_t i = 0; i < sure.bits.size(); ++i) sure.bits[i] = (zones_.bits[i] & kSure) | (residual_[i] < most);
    }
    plate_.spread = ResidualQuantile(0.9, kSpreads);
    return true;
  }

  Region Flood(const Region& smooth) const {
    Region open(width_, height_), seed(width_, height_);
    for (size_t i = 0; i < open.bits.size(); ++i) {
      open.bits[i] = smooth.bits[i] & ((zones_.bits[i] & kOutside) > 0);
      seed.bits[i] = (zones_.bits[i] & kSeed) > 0;
    }
    for (int y = 0; y < height_; ++y) {
      for (int x = 0; x < width_; ++x) {
        if (!smooth.At(x, y) || !(zones_.At(x, y) & kRim)) continue;
        open.At(x, y) = Residual(crop_.colours.At(x, y), Doubled(plate_.colours, x, y)) < kSameWall;
      }
    }
    return Grow(seed, open);
  }

  float ShareInRing(const Region& flooded) const {
    size_t ring = 0, known = 0;
    for (size_t i = 0; i < flooded.bits.size(); ++i) {
      const size_t in = (zones_.bits[i] & kAround) > 0;
      ring += in;
      known += in & flooded.bits[i];
    }
    return ring > 0 ? static_cast<float>(known) / static_cast<float>(ring) : 0;
  }

  const HeadCrop& crop_;
  CleanPlate& plate_;
  const int width_, height_;
  const float unit_;  // of a pixel, in face widths
  Region zones_;      // bits of Zone
  Floats residual_;   // from the plate
};

constexpr int kReach = 2;  // of the squares whose pixels a plane is fitted to

// Sums of five neighbours along a row, of three interleaved channels: of a blurred channel, of its square, and of it
// times the column from -2 to 2.
struct RowSums {
  Floats plain, square, slope;
};

// `blurred` has two pixels more on both sides.
void SumAlong(const float* blurred, size_t samples, RowSums* sums) {
  float *plain = sums->plain.data(), *square = sums->square.data(), *slope = sums->slope.data();
  for (size_t i = 0; i < samples; ++i) {
    const float p = blurred[i], q = blurred[i + 3], m = blurred[i + 6], s = blurred[i + 9], t = blurred[i + 12];
    plain[i] = p + q + m + s + t;
    square[i] = p * p + q * q + m * m + s * s + t * t;
    slope[i] = 2 * (t - p) + (s - q);
  }
}

// A row blurred over 3 x 3 pixels, from -128 on; the outermost take what their neighbours inside are.
void BlurRow(const Image& colours, int y, float* columns, float* blurred) {
  const uint8_t *above = colours.At(0, std::max(y - 1, 0)), *own = colours.At(0, y);
  const uint8_t* below = colours.At(0, std::min(y + 1, colours.height - 1));
  const auto samples = static_cast<size_t>(colours.width) * 3;
  for (size_t i = 0; i < samples; ++i) columns[i] = static_cast<float>(above[i] + own[i] + below[i] - 384);
  float* to = blurred + 6;
  for (size_t i = 3; i + 3 < samples; ++i) to[i] = (columns[i - 3] + columns[i] + columns[i + 3]) * (1.0f / 9);
  for (ptrdiff_t i = 2; i >= -6; --i) to[i] = to[i + 3];
  for (size_t i = samples - 3; i < samples + 6; ++i) to[i] = to[i - 3];
}

// What a plane leaves of the variance over 5 x 5 pixels, from the sums along their rows.
void Unexplained(const std::array<const RowSums*, 5>& r, size_t samples, float* to) {
  const float *p0 = r[0]->plain.data(), *p1 = r[1]->plain.data(), *p2 = r[2]->plain.data(), *p3 = r[3]->plain.data(),
              *p4 = r[4]->plain.data();
  const float *q0 = r[0]->square.data(), *q1 = r[1]->square.data(), *q2 = r[2]->square.data(),
              *q3 = r[3]->square.data(), *q4 = r[4]->square.data();
  const float *s0 = r[0]->slope.data(), *s1 = r[1]->slope.data(), *s2 = r[2]->slope.data(), *s3 = r[3]->slope.data(),
              *s4 = r[4]->slope.data();
  for (size_t i = 0; i < samples; ++i) {
    const float plain = p0[i] + p1[i] + p2[i] + p3[i] + p4[i];
    const float square = q0[i] + q1[i] + q2[i] + q3[i] + q4[i];
    const float across = s0[i] + s1[i] + s2[i] + s3[i] + s4[i];
    const float down = 2 * (p4[i] - p0[i]) + (p3[i] - p1[i]);
    to[i] = (square - plain * plain * (1.0f / 25) - (across * across + down * down) * (1.0f / 50)) * (1.0f / 25);
  }
}

// The border takes what its neighbours inside are.
void FillBorder(Region* region) {
  const int width = region->width, height = region->height;
  for (int y = kReach; y + kReach < height; ++y) {
    uint8_t* row = region->Row(y);
    std::fill_n(row, kReach, row[kReach]);
    std::fill_n(row + width - kReach, kReach, row[width - 1 - kReach]);
  }
  for (int y = 0; y < kReach; ++y) {
    std::copy_n(region->Row(kReach), width, region->Row(y));
    std::copy_n(region->Row(height - 1 - kReach), width, region->Row(height - 1 - y));
  }
}

}  // namespace

Region SmoothPixels(const Image& colours, float noise) {
  const int width = colours.width, height = colours.height;
  Region smooth(width, height);
  if (width < 2 * kReach + 1 || height < 2 * kReach + 1) return smooth;
  const float most = (1.2f * noise + 0.6f) * (1.2f * noise + 0.6f) * 3;
  const auto samples = static_cast<size_t>(width) * 3;
  std::array<RowSums, 5> ring;  // of the last five rows
  for (RowSums& row : ring) row.plain.resize(samples), row.square.resize(samples), row.slope.resize(samples);
  Floats columns(samples), blurred(samples + 12), left(samples);
  for (int below = 0; below < height; ++below) {
    BlurRow(colours, below, columns.data(), blurred.data());
    SumAlong(blurred.data(), samples, &ring[static_cast<size_t>(below % 5)]);
    const int y = below - kReach;
    if (y < kReach) continue;
    std::array<const RowSums*, 5> rows;
    for (size_t k = 0; k < 5; ++k) rows[k] = &ring[(static_cast<size_t>(y - kReach) + k) % 5];
    Unexplained(rows, samples, left.data());
    uint8_t* to = smooth.Row(y);
    const float* of = left.data();
    for (int x = 0; x < width; ++x, of += 3) to[x] = of[0] + of[1] + of[2] < most;
  }
  FillBorder(&smooth);
  return smooth;
}

bool EstimatePlate(const HeadCrop& crop, CleanPlate* plate) {
  return PlateMaker(crop, plate).Make();
}

}  // namespace qx::photo
