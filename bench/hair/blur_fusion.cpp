#include "bench/hair/blur_fusion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "photo/base/raster.h"

namespace qx::bench::hair {
namespace {

using photo::Bytes, photo::Image, photo::Mask, photo::Raster;

// The blurred colours come from a copy in which a face is at most this wide and which has at most this many pixels.
constexpr double kCopyFaceWidth = 144, kCopyPixels = 3e5;
// Reach of the two blurs, in face widths: the first fills, the second follows.
constexpr double kFirstReach = 0.35, kSecondReach = 0.035;

constexpr int kColours = 6;   // of a pixel: foreground (3), background (3)
constexpr int kChannels = 8;  // foreground (3), its weight, background (3), its weight; colours times their weights
// Weights are whole numbers, as are their products with samples, so that what leaves a running sum leaves no trace. In
// the largest window they stay below 2^31.
constexpr int kMostWeight = 511, kMostRadius = 63;

// Cubed, so that pixels of one of the two alone count most: mixed ones carry the other's colour.
std::array<int32_t, 256> Weights() {
  std::array<int32_t, 256> weights{};
  for (size_t i = 0; i < weights.size(); ++i) {
    const double share = static_cast<double>(i) / 255;
    weights[i] = static_cast<int32_t>(std::lround(kMostWeight * share * share * share));
  }
  return weights;
}

// Of an estimate, kColours a pixel: running sums of the rows within the radius, one a column and channel, with zeros on
// both sides for the windows that reach there.
class ColumnSums {
 public:
  ColumnSums(const Bytes& estimate, const Mask& alpha, int radius)
      : estimate_(estimate),
        alpha_(alpha),
        radius_(radius),
        weights_(Weights()),
        sums_((static_cast<size_t>(alpha.width) + 2 * static_cast<size_t>(radius) + 1) * kChannels) {
    for (int y = 0; y < std::min(radius, alpha.height); ++y) Add<1>(y);
  }

  // Rows need to come in their order.
  void MoveTo(int y) {
    if (y + radius_ < alpha_.height) Add<1>(y + radius_);
    if (y - radius_ - 1 >= 0) Add<-1>(y - radius_ - 1);
  }

  // Calls `emit` with the sums over each column's window.
  template <typename Emit>
  void ForColumns(Emit emit) const {
    int32_t window[kChannels] = {};
    const int32_t* in = sums_.data();
    for (int x = 0; x <= 2 * radius_; ++x, in += kChannels) {
      for (int c = 0; c < kChannels; ++c) window[c] += in[c];
    }
    const int32_t* out = sums_.data();
    for (int x = 0; x < alpha_.width; ++x, in += kChannels, out += kChannels) {
      for (int c = 0; c < kChannels; ++c) window[c] += in[c] - out[c];
      emit(window);
    }
  }

 private:
  template <int kSign>
  void Add(int y) {
    const uint8_t* share = alpha_.Row(y);
    const uint8_t* from = estimate_.data() + static_cast<size_t>(y) * static_cast<size_t>(alpha_.width) * kColours;
    int32_t* to = sums_.data() + (static_cast<size_t>(radius_) + 1) * kChannels;
    for (int x = 0; x < alpha_.width; ++x, from += kColours, to += kChannels) {
      const int32_t own = kSign * weights_[share[x]], behind = kSign * weights_[size_t{255} - share[x]];
      for (int c = 0; c < 3; ++c) to[c] += own * from[c];
      to[3] += own;
      for (int c = 0; c < 3; ++c) to[4 + c] += behind * from[3 + c];
      to[7] += behind;
    }
  }

  const Bytes& estimate_;
  const Mask& alpha_;
  const int radius_;
  const std::array<int32_t, 256> weights_;
  std::vector<int32_t> sums_;
};

// Calls `emit` with each pixel's number and its blurred foreground and background.
template <typename Emit>
void BlurColours(const Bytes& estimate, const Mask& alpha, int radius, Emit emit) {
  ColumnSums sums(estimate, alpha, radius);
  size_t i = 0;
  for (int y = 0; y < alpha.height; ++y) {
    sums.MoveTo(y);
    sums.ForColumns([&](const int32_t* window) {
      float colours[kColours];
      for (size_t side = 0; side < 2; ++side) {
        const int32_t* sum = window + 4 * side;
        const uint8_t* before = estimate.data() + kColours * i + 3 * side;
        const float part = sum[3] > 0 ? 1 / static_cast<float>(sum[3]) : 0.0f;
        for (size_t c = 0; c < 3; ++c) {
          colours[3 * side + c] = sum[3] > 0 ? static_cast<float>(sum[c]) * part : static_cast<float>(before[c]);
        }
      }
      emit(i++, colours);
    });
  }
}

uint8_t Round(float sample) {
  return static_cast<uint8_t>(static_cast<int>(sample + 0.5f));
}

// What the pixel shows beyond the two blurred colours, given to the foreground by its share.
uint8_t Foreground(float blurredForeground, float blurredBackground, float alpha, float shown) {
  const float rest = shown - alpha * blurredForeground - (1 - alpha) * blurredBackground;
  return Round(std::clamp(blurredForeground + alpha * rest, 0.0f, 255.0f));
}

// Blurred foreground and background, kColours a pixel.
Raster BlurFusion(const Image& picture, const Mask& alpha, double faceWidth) {
  auto reach = [&](double part) {
    return static_cast<int>(std::lround(std::clamp(part * faceWidth, 1.0, static_cast<double>(kMostRadius))));
  };
  Bytes estimate(picture.Pixels() * kColours), filled(estimate.size());
  for (size_t i = 0; i < picture.Pixels(); ++i) {
    for (size_t c = 0; c < kColours; ++c) estimate[kColours * i + c] = picture.bgr[3 * i + c % 3];
  }
  BlurColours(estimate, alpha, reach(kFirstReach), [&](size_t i, const float* colours) {
    uint8_t* to = filled.data() + kColours * i;
    for (size_t c = 0; c < 3; ++c) {
      to[c] = Foreground(colours[c], colours[3 + c], static_cast<float>(alpha.values[i]) / 255, picture.bgr[3 * i + c]);
      to[3 + c] = Round(colours[3 + c]);
    }
  });
  Raster blurred(picture.width, picture.height, kColours);
  BlurColours(filled, alpha, reach(kSecondReach), [&](size_t i, const float* colours) {
    std::copy_n(colours, kColours, blurred.values.data() + kColours * i);
  });
  return blurred;
}

}  // namespace

Image BlurFusionColours(Image picture, const Mask& mask, double faceWidth) {
  const double pixels = static_cast<double>(picture.width) * picture.height;
  const double scale = std::min({1.0, std::sqrt(kCopyPixels / pixels), kCopyFaceWidth / faceWidth});
  const int width = std::max(1, static_cast<int>(std::lround(picture.width * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(picture.height * scale)));
  const Raster blurred =
      BlurFusion(ResampleWhole(picture, width, height), ResampleWhole(mask, width, height), faceWidth * scale);
  const double toX = static_cast<double>(width) / picture.width, toY = static_cast<double>(height) / picture.height;
  size_t i = 0;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x, ++i) {
      if (mask.values[i] == 0 || mask.values[i] == 255) continue;
      float colours[kColours];
      Sample(blurred, (x + 0.5) * toX, (y + 0.5) * toY, colours);
      for (size_t c = 0; c < 3; ++c) {
        uint8_t& sample = picture.bgr[3 * i + c];
        sample = Foreground(colours[c], colours[3 + c], static_cast<float>(mask.values[i]) / 255, sample);
      }
    }
  }
  return picture;
}

}  // namespace qx::bench::hair
