#include "photo/person/clean_plate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

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

// The colours of a region's pixels, at half size.
Scattered Gather(const Image& colours, const Region& region) {
  Scattered known((colours.width + 1) / 2, (colours.height + 1) / 2);
  for (int y = 0; y < known.sums.height; ++y) {
    Pixel* to = known.sums.Row(y);
    float* square = known.squares.data() + (to - known.sums.pixels.data());
    std::fill_n(to, known.sums.width, Pixel{});
    std::fill_n(square, known.sums.width, 0.0f);
    for (int v = 2 * y; v < std::min(2 * y + 2, colours.height); ++v) {
      const uint8_t* bgr = colours.At(0, v);
      for (int x = 0; x < colours.width; ++x, bgr += 3) {
        if (!region.At(x, v)) continue;
        const Pixel pixel = Load(bgr);
        to[x / 2] += pixel * 0.25f;
        square[x / 2] += 0.25f * MeanSquare(pixel);
      }
    }
  }
  return known;
}

size_t Count(const Region& region) {
  size_t count = 0;
  for (const uint8_t bit : region.bits) count += bit;
  return count;
}

class PlateMaker {
 public:
  PlateMaker(const HeadCrop& crop, CleanPlate* plate)
      : crop_(crop),
        plate_(*plate),
        width_(crop.mask.width),
        height_(crop.mask.height),
        unit_(1 / static_cast<float>(crop.faceWidth)),
        beyond_(crop.depth.size()),
        residual_(crop.depth.size()) {}

  bool Make() {
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
  // Depth inside the outline in face widths.
  float Depth(size_t i) const { return crop_.Depth(i) * unit_; }

  void Refill(const Region& known) {
    plate_.colours = FillGaps(Gather(crop_.colours, known));
    FieldRow behind(plate_.colours, width_, 0.5);
    size_t i = 0;
    for (int y = 0; y < height_; ++y) {
      const Pixel* plate = behind.At(y);
      const uint8_t* bgr = crop_.colours.At(0, y);
      for (int x = 0; x < width_; ++x, ++i, bgr += 3) residual_[i] = std::sqrt(MeanSquare(Load(bgr) - plate[x]));
    }
  }

  // The value below which that share of the residuals over a region is, in steps of a quarter of a level.
  template <typename Takes>
  float ResidualQuantile(double share, Takes takes) const {
    std::array<size_t, 1024> counts{};
    size_t all = 0;
    for (size_t i = 0; i < residual_.size(); ++i) {
      if (!takes(i)) continue;
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
    std::vector<float> zone(static_cast<size_t>(width_));
    size_t i = 0;
    for (int y = 0; y < height_; ++y) {
      crop_.HairZone(y, zone.data());
      for (const float hair : zone) {
        beyond_[i] = -Depth(i) - (kSureBeyondBody + hair * (kSureBeyondHair - kSureBeyondBody));
        sure.bits[i] = beyond_[i] > 0;
        ++i;
      }
    }
    if (Count(sure) < kLeastKnown) return false;
    for (int round = 0; round < 3; ++round) {
      Refill(sure);
      plate_.noise = std::max(1.0f, ResidualQuantile(0.5, [&](size_t p) { return beyond_[p] > 0; }));
      if (round == 2) break;
      for (size_t p = 0; p < sure.bits.size(); ++p) {
        sure.bits[p] = beyond_[p] > 0 || (Depth(p) < -kJoining && residual_[p] < kFits * plate_.noise);
      }
    }
    plate_.spread = ResidualQuantile(0.9, [&](size_t p) {
      const float out = -Depth(p);
      return out > kSpreadFrom && out < kSpreadTo;
    });
    return true;
  }

  // Without what is thinner than 3 x 3 pixels.
  static Region Opened(const Region& region) {
    Region core(region.width, region.height), opened(region.width, region.height);
    for (int y = 1; y + 1 < region.height; ++y) {
      for (int x = 1; x + 1 < region.width; ++x) {
        int sum = 0;
        for (int v = y - 1; v <= y + 1; ++v) {
          for (int u = x - 1; u <= x + 1; ++u) sum += region.At(u, v);
        }
        core.At(x, y) = sum == 9;
      }
    }
    for (int y = 0; y < region.height; ++y) {
      for (int x = 0; x < region.width; ++x) {
        if (!core.At(x, y)) continue;
        for (int v = y - 1; v <= y + 1; ++v) std::memset(&opened.At(x - 1, v), 1, 3);
      }
    }
    return opened;
  }

  Region Flood(const Region& smooth) const {
    Region open(width_, height_), seed(width_, height_);
    for (size_t i = 0; i < open.bits.size(); ++i) {
      const float depth = Depth(i);
      open.bits[i] = smooth.bits[i] && (depth < 0 || (depth < kFloodInto && residual_[i] < kSameWall));
      seed.bits[i] = depth < -kFloodFrom || beyond_[i] > 0;
    }
    return Grow(seed, open);
  }

  float ShareInRing(const Region& flooded) const {
    size_t ring = 0, known = 0;
    for (size_t i = 0; i < flooded.bits.size(); ++i) {
      const float depth = Depth(i);
      if (depth >= 0 || depth < -kRing) continue;
      ++ring;
      known += flooded.bits[i];
    }
    return ring > 0 ? static_cast<float>(known) / static_cast<float>(ring) : 0;
  }

  const HeadCrop& crop_;
  CleanPlate& plate_;
  const int width_, height_;
  const float unit_;  // of a pixel, in face widths
  Floats beyond_;     // how far a pixel lies in what is certainly background
  Floats residual_;   // from the plate
};

// Sums over 5 x 5 pixels, row by row: of a blurred channel, of its square, and of it times the column and the row,
// both from -2 to 2.
constexpr int kReach = 2;

}  // namespace

Region SmoothPixels(const Image& colours, float noise) {
  const int width = colours.width, height = colours.height;
  Region smooth(width, height);
  if (width < 2 * kReach + 1 || height < 2 * kReach + 1) return smooth;
  const float most = (1.2f * noise + 0.6f) * (1.2f * noise + 0.6f) * 3;
  const auto size = static_cast<size_t>(width);
  struct Rows {
    Floats plain, square, slope;
  };
  std::array<std::array<Rows, 3>, 5> ring;  // of the last five rows: sums along the row
  for (auto& rows : ring) {
    for (Rows& r : rows) r.plain.resize(size), r.square.resize(size), r.slope.resize(size);
  }
  Floats blurred(size + 4), left(size);
  auto fillRow = [&](int y) {
    const int above = std::max(y - 1, 0), below = std::min(y + 1, height - 1);
    for (int c = 0; c < 3; ++c) {
      const uint8_t *a = colours.At(0, above) + c, *b = colours.At(0, y) + c, *d = colours.At(0, below) + c;
      for (int x = 0; x < width; ++x)
        left[static_cast<size_t>(x)] = static_cast<float>(a[3 * x] + b[3 * x] + d[3 * x] - 384);
      float* v = blurred.data() + 2;
      for (int x = 1; x + 1 < width; ++x) {
        const float* l = left.data() + x;
        v[x] = (l[-1] + l[0] + l[1]) * (1.0f / 9);
      }
      v[0] = v[-1] = v[-2] = v[1];
      v[width - 1] = v[width] = v[width + 1] = v[width - 2];
      Rows& r = ring[static_cast<size_t>(y % 5)][static_cast<size_t>(c)];
      for (int x = 0; x < width; ++x) {
        const float p = v[x - 2], q = v[x - 1], m = v[x], s = v[x + 1], t = v[x + 2];
        r.plain[static_cast<size_t>(x)] = p + q + m + s + t;
        r.square[static_cast<size_t>(x)] = p * p + q * q + m * m + s * s + t * t;
        r.slope[static_cast<size_t>(x)] = 2 * (t - p) + (s - q);
      }
    }
  };
  Floats total(size);
  for (int y = 0; y < 4; ++y) fillRow(y);
  for (int y = kReach; y + kReach < height; ++y) {
    fillRow(y + kReach);
    std::fill(total.begin(), total.end(), 0.0f);
    for (size_t c = 0; c < 3; ++c) {
      const Rows* r[5];
      for (int k = 0; k < 5; ++k) r[k] = &ring[static_cast<size_t>((y - kReach + k) % 5)][c];
      for (size_t x = 0; x < size; ++x) {
        const float plain = r[0]->plain[x] + r[1]->plain[x] + r[2]->plain[x] + r[3]->plain[x] + r[4]->plain[x];
        const float square = r[0]->square[x] + r[1]->square[x] + r[2]->square[x] + r[3]->square[x] + r[4]->square[x];
        const float across = r[0]->slope[x] + r[1]->slope[x] + r[2]->slope[x] + r[3]->slope[x] + r[4]->slope[x];
        const float down = 2 * (r[4]->plain[x] - r[0]->plain[x]) + (r[3]->plain[x] - r[1]->plain[x]);
        total[x] +=
            (square - plain * plain * (1.0f / 25) - (across * across + down * down) * (1.0f / 50)) * (1.0f / 25);
      }
    }
    for (int x = 0; x < width; ++x) smooth.At(x, y) = total[static_cast<size_t>(x)] < most;
  }
  // The border takes what its neighbours inside are.
  for (int y = kReach; y + kReach < height; ++y) {
    for (int x = 0; x < kReach; ++x) {
      smooth.At(x, y) = smooth.At(kReach, y);
      smooth.At(width - 1 - x, y) = smooth.At(width - 1 - kReach, y);
    }
  }
  for (int y = 0; y < kReach; ++y) {
    std::memcpy(&smooth.At(0, y), &smooth.At(0, kReach), size);
    std::memcpy(&smooth.At(0, height - 1 - y), &smooth.At(0, height - 1 - kReach), size);
  }
  return smooth;
}

bool EstimatePlate(const HeadCrop& crop, CleanPlate* plate) {
  return PlateMaker(crop, plate).Make();
}

}  // namespace qx::photo
