#include "photo/render/sharpen.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <vector>

namespace qx::photo {
namespace {

using Luma = int16_t;  // in 1/8 of a level: sixteen of them fit into 16 bits
constexpr int kLevel = 8;

Luma Binomial(Luma a, Luma b, Luma c, Luma d, Luma e) {
  const auto outer = static_cast<Luma>(a + e), inner = static_cast<Luma>(b + d + c);
  return static_cast<Luma>(static_cast<Luma>(outer + 4 * inner + 2 * c + 8) >> 4);
}

// Rows of one kind, of which the last eight are kept.
class Rows {
 public:
  explicit Rows(int32_t width) : width_(static_cast<size_t>(width)), values_(8 * width_) {}
  Luma* At(int32_t y) { return values_.data() + (static_cast<size_t>(y) & 7) * width_; }

 private:
  size_t width_;
  std::vector<Luma> values_;
};

class Sharpening {
 public:
  Sharpening(double amount, Image* picture)
      : gain_(static_cast<Luma>(amount * kUnit)),
        idle_(amount < 0 ? 0 : 3 * kLevel / 2),
        picture_(*picture),
        width_(picture->width),
        luma_(width_),
        smooth_(width_),
        low_(width_),
        high_(width_),
        changes_(static_cast<size_t>(width_)) {}

  void Run() {
    int32_t read = 0;
    for (int32_t y = 0; y < picture_.height; ++y) {
      for (; read < std::min(y + 3, picture_.height); ++read) ReadRow(read);
      FindChanges(y);
      WriteRow(y);
    }
  }

 private:
  int32_t Clip(int32_t y) const { return std::clamp(y, 0, picture_.height - 1); }

  // The row's luma, and what the rows above and below will want of it.
  void ReadRow(int32_t y) {
    const uint8_t* bgr = picture_.At(0, y);
    Luma* const luma = luma_.At(y);
    for (int32_t x = 0; x < width_; ++x, bgr += 3) {
      luma[x] = static_cast<Luma>((29 * bgr[0] + 150 * bgr[1] + 77 * bgr[2]) >> 5);
    }
    Luma* const smooth = smooth_.At(y);
    Luma* const low = low_.At(y);
    Luma* const high = high_.At(y);
    const auto at = [&](int32_t x) { return luma[std::clamp(x, 0, width_ - 1)]; };
    const auto fill = [&](int32_t x) {
      smooth[x] = Binomial(at(x - 2), at(x - 1), at(x), at(x + 1), at(x + 2));
      low[x] = std::min({at(x - 1), at(x), at(x + 1)});
      high[x] = std::max({at(x - 1), at(x), at(x + 1)});
    };
    const int32_t inner = std::min(2, width_), last = std::max(width_ - 2, inner);
    for (int32_t x = 0; x < inner; ++x) fill(x);
    for (int32_t x = inner; x < last; ++x) {
      smooth[x] = Binomial(luma[x - 2], luma[x - 1], luma[x], luma[x + 1], luma[x + 2]);
      low[x] = std::min(std::min(luma[x - 1], luma[x]), luma[x + 1]);
      high[x] = std::max(std::max(luma[x - 1], luma[x]), luma[x + 1]);
    }
    for (int32_t x = last; x < width_; ++x) fill(x);
  }

  // Of each pixel of the row, in levels.
  void FindChanges(int32_t y) {
    const auto row = [&](Rows& rows, int32_t off) { return rows.At(Clip(y + off)); };
    const Luma *a = row(smooth_, -2), *b = row(smooth_, -1), *c = row(smooth_, 0), *d = row(smooth_, 1),
               *e = row(smooth_, 2);
    const Luma *low0 = row(low_, -1), *low1 = row(low_, 0), *low2 = row(low_, 1);
    const Luma *high0 = row(high_, -1), *high1 = row(high_, 0), *high2 = row(high_, 1);
    const Luma* const luma = luma_.At(y);
    Luma* const changes = changes_.data();
    constexpr Luma kBeyond = 3 * kLevel;
    const Luma idle = idle_, gain = gain_;
    for (int32_t x = 0; x < width_; ++x) {
      const Luma own = luma[x];
      const auto detail = static_cast<Luma>(own - Binomial(a[x], b[x], c[x], d[x], e[x]));
      const auto above = std::max<Luma>(static_cast<Luma>(detail - idle), 0);
      const auto below = std::min<Luma>(static_cast<Luma>(detail + idle), 0);
      const auto wanted = static_cast<Luma>((static_cast<Luma>(4 * (above + below)) * gain) >> 16);
      const auto least = static_cast<Luma>(std::min(std::min(low0[x], low1[x]), low2[x]) - kBeyond - own);
      const auto most = static_cast<Luma>(std::max(std::max(high0[x], high1[x]), high2[x]) + kBeyond - own);
      const Luma change = std::min(std::max(wanted, least), most);
      changes[x] = static_cast<Luma>(static_cast<Luma>(change + kLevel / 2) >> 3);
    }
  }

  // In blocks: each pixel's change three times over, added to the bytes as if none could leave its range.
  void WriteRow(int32_t y) {
    constexpr int32_t kBlock = 128;
    constexpr uint64_t kThrice = 1 | uint64_t{1} << 16 | uint64_t{1} << 32;
    std::array<Luma, 3 * kBlock + 1> changes;  // one more: eight bytes are written for six
    std::array<uint8_t, 3 * kBlock> moved;
    for (int32_t first = 0; first < width_; first += kBlock) {
      uint8_t* const bgr = picture_.At(first, y);
      const Luma* const wanted = changes_.data() + first;
      const int32_t count = std::min(kBlock, width_ - first);
      Luma any = 0;
      for (int32_t x = 0; x < count; ++x) any = static_cast<Luma>(any | wanted[x]);
      if (any == 0) continue;
      for (int32_t x = 0; x < count; ++x) {
        const uint64_t thrice = static_cast<uint16_t>(wanted[x]) * kThrice;
        std::memcpy(&changes[static_cast<size_t>(3 * x)], &thrice, sizeof thrice);
      }
      unsigned outside = 0;
      for (int32_t i = 0; i < 3 * count; ++i) {
        const auto value = static_cast<uint16_t>(bgr[i] + changes[static_cast<size_t>(i)]);
        outside |= value;
        moved[static_cast<size_t>(i)] = static_cast<uint8_t>(value);
      }
      if (outside > 255) {
        for (int32_t x = 0; x < count; ++x) MovePixel(wanted[x], bgr + 3 * x);
      } else {
        std::copy_n(moved.data(), 3 * count, bgr);
      }
    }
  }

  static void MovePixel(int32_t change, uint8_t* bgr) {
    const auto [low, high] = std::minmax({bgr[0], bgr[1], bgr[2]});
    const int32_t possible = std::clamp(change, -static_cast<int32_t>(low), 255 - high);
    for (int c = 0; c < 3; ++c) bgr[c] = static_cast<uint8_t>(bgr[c] + possible);
  }

  static constexpr int kUnit = 1 << 14;
  const Luma gain_;  // of kUnit
  const Luma idle_;  // of a difference, in 1/8 of a level
  Image& picture_;
  const int32_t width_;
  Rows luma_, smooth_, low_, high_;
  std::vector<Luma> changes_;
};

}  // namespace

void Sharpen(double amount, Image* picture) {
  Sharpening(amount, picture).Run();
}

}  // namespace qx::photo
