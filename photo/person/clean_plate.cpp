#include "photo/person/clean_plate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "photo/person/colour_fit.h"

namespace qx::photo {
namespace {

// Lengths in face widths, colours in levels.
constexpr float kSureBeyondHair = 0.3f, kSureBeyondBody = 0.15f;  // from the outline: certainly background
constexpr float kJoining = 0.04f;  // nearer pixels count once they have the colour of the first plate
constexpr float kFits = 3;         // times the noise
constexpr float kFloodFrom = 0.2f, kFloodInto = 0.05f;
constexpr float kSameWall = 15;
constexpr float kRingFrom = 0.35f, kRing = 0.7f;
constexpr float kPlainFlood = 0.97f, kTexturedFlood = 0.92f;
constexpr float kPlainSpread = 12, kFullSpread = 32;
constexpr float kSpreadFrom = 0.12f, kSpreadTo = 0.6f;
constexpr size_t kLeastKnown = 64;  // pixels of the crop, without which there is no plate

using Whole = int32_t __attribute__((vector_size(16)));

Pixel Load(const uint8_t* bgr) {
  return __builtin_convertvector((Whole{bgr[0], bgr[1], bgr[2], 1}), Pixel);
}

// The colours of a region's pixels at half size, as the region changes.
class Gathered {
 public:
  explicit Gathered(const Image& colours)
      : colours_(colours),
        region_(colours.width, colours.height),
        known_((colours.width + 1) / 2, (colours.height + 1) / 2) {
    std::fill(known_.sums.pixels.begin(), known_.sums.pixels.end(), Pixel{});
    std::fill(known_.squares.begin(), known_.squares.end(), 0.0f);
  }

  const Scattered& Of(const Region& region) {
    for (int y = 0; y < known_.sums.height; ++y) {
      const int below = std::min(2 * y + 1, colours_.height - 1);
      const uint8_t *isAbove = region.Row(2 * y), *wasAbove = region_.Row(2 * y);
      const uint8_t *isBelow = region.Row(below), *wasBelow = region_.Row(below);
      for (int x = 0; x < known_.sums.width; ++x) {
        const int left = 2 * x, right = std::min(left + 1, colours_.width - 1);
        const int changed = (isAbove[left] ^ wasAbove[left]) | (isAbove[right] ^ wasAbove[right]) |
                            (isBelow[left] ^ wasBelow[left]) | (isBelow[right] ^ wasBelow[right]);
        if (changed) Sum(region, x, y);
      }
    }
    region_ = region;
    return known_;
  }

 private:
  void Sum(const Region& region, int x, int y) {
    Pixel sum{};
    float squares = 0;
    for (int v = 2 * y; v < std::min(2 * y + 2, colours_.height); ++v) {
      for (int u = 2 * x; u < std::min(2 * x + 2, colours_.width); ++u) {
        if (!region.At(u, v)) continue;
        const Pixel pixel = Load(colours_.At(u, v));
        sum += pixel * 0.25f;
        squares += 0.25f * MeanSquare(pixel);
      }
    }
    Pixel* to = known_.sums.Row(y) + x;
    *to = sum;
    known_.squares[static_cast<size_t>(to - known_.sums.pixels.data())] = squares;
  }

  const Image& colours_;
  Region region_;
  Scattered known_;
};

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

float Residual(const uint8_t* bgr, Pixel plate) {
  return std::sqrt(MeanSquare(Load(bgr) - plate));
}

class PlateMaker {
 public:
  PlateMaker(const HeadCrop& crop, CleanPlate* plate)
      : crop_(crop),
        plate_(*plate),
        width_(crop.mask.width),
        height_(crop.mask.height),
        unit_(1 / static_cast<float>(crop.faceWidth)),
        known_(crop.colours),
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

  // `unit`: of a pixel, in face widths.
  static void DivideRow(const int16_t* depths, const float* hair, int width, float unit, uint8_t* to) {
    for (int x = 0; x < width; ++x) {
      const float depth = HeadCrop::Depth(depths[x]) * unit, out = -depth;
      const bool sure = out - (kSureBeyondBody + hair[x] * (kSureBeyondHair - kSureBeyondBody)) > 0;
      const int inside = depth >= 0, spreads = (out > kSpreadFrom) & (out < kSpreadTo);
      const bool around = (out >= kRingFrom) & (out <= kRing), seed = sure | (out > kFloodFrom);
      const bool rim = (inside != 0) & (depth < kFloodInto);
      to[x] = static_cast<uint8_t>((sure ? kSure : 0) | (out > kJoining ? kJoins : 0) | (spreads ? kSpreads : 0) |
                                   (seed ? kSeed : 0) | (inside ? 0 : kOutside) | (rim ? kRim : 0) |
                                   (around ? kAround : 0));
    }
  }

  void DivideCrop() {
    std::vector<float> hair(static_cast<size_t>(width_));
    for (int y = 0; y < height_; ++y) {
      HairZone(crop_.faces, crop_.faceWidth, y, width_, hair.data());
      const int16_t* depths = crop_.depth.data() + static_cast<ptrdiff_t>(y) * width_;
      DivideRow(depths, hair.data(), width_, unit_, zones_.Row(y));
    }
  }

  void Refill(const Region& known) { FillGaps(known_.Of(known), &plate_.colours); }

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

  static void JoinFitting(const uint8_t* zone, const float* residual, float most, Region* sure) {
    uint8_t* to = sure->bits.data();
    for (size_t i = 0; i < sure->bits.size(); ++i)
      to[i] = static_cast<uint8_t>((zone[i] & kSure) | (residual[i] < most));
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
      JoinFitting(zones_.bits.data(), residual_.data(), kFits * plate_.noise, &sure);
    }
    plate_.spread = ResidualQuantile(0.9, kSpreads);
    return true;
  }

  Region Flood(const Region& smooth) const {
    Region open(width_, height_), seed(width_, height_);
    const size_t pixels = zones_.bits.size();
    const uint8_t *zone = zones_.bits.data(), *plain = smooth.bits.data();
    uint8_t *toOpen = open.bits.data(), *toSeed = seed.bits.data();
    for (size_t i = 0; i < pixels; ++i) {
      toOpen[i] = static_cast<uint8_t>(plain[i] & ((zone[i] & kOutside) != 0));
      toSeed[i] = (zone[i] & kSeed) != 0;
    }
    for (const uint8_t* at = zone; (at = std::find(at, zone + pixels, kRim)) != zone + pixels; ++at) {
      const auto i = static_cast<int>(at - zone);
      const int x = i % width_, y = i / width_;
      open.At(x, y) = smooth.At(x, y) && Residual(crop_.colours.At(x, y), Doubled(plate_.colours, x, y)) < kSameWall;
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
  Gathered known_;
  Region zones_;     // bits of Zone
  Floats residual_;  // from the plate
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

float CleanPlate::Texture() const {
  return std::clamp((kPlainFlood - flooded) / (kPlainFlood - kTexturedFlood), 0.0f, 1.0f);
}

float CleanPlate::Clutter() const {
  return std::clamp((spread - kPlainSpread) / (kFullSpread - kPlainSpread), 0.0f, 1.0f);
}

bool EstimatePlate(const HeadCrop& crop, CleanPlate* plate) {
  return PlateMaker(crop, plate).Make();
}

}  // namespace qx::photo
