#include "photo/person/hair_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "photo/person/head_crop.h"

namespace qx::photo {
namespace {

constexpr float kEpsilon = 4;  // square levels: steadies the lines where colours are alike

uint8_t Mix(float zone, float alpha, uint8_t before) {
  const auto old = static_cast<float>(before);
  return static_cast<uint8_t>(static_cast<int>(old + zone * (alpha - old) + 0.5f));
}

// Alpha from the colours of a pixel: slopes (3) and offset, and its bounds.
struct Line {
  using Four = float __attribute__((vector_size(16)));
  Four slopes;  // of blue, green, red; the offset
  float least, most;
};

Line Between(const Line& a, const Line& b, float part) {
  return {a.slopes + part * (b.slopes - a.slopes), a.least + part * (b.least - a.least),
          a.most + part * (b.most - a.most)};
}

// A pixel of the picture between two of the map, or at the outermost.
struct Place {
  int before, after;
  float part;
};

// Where the pixels of one side of the picture lie in the map.
class Axis {
 public:
  // The picture's first pixel starts at `start`, in pixels of the overview, and all of them are `length` long; the same
  // for the map.
  Axis(double start, double length, int pixels, double mapStart, double mapLength, int mapPixels) {
    const double step = length / pixels * mapPixels / mapLength, offset = (start - mapStart) * mapPixels / mapLength;
    first_ = pixels;
    aligned_ = true;
    for (int i = 0; i < pixels; ++i) {
      // Parts of the photograph see the same pixel at the same place, whatever their windows round it to.
      constexpr double kGrain = 4096;
      const double at = std::round((offset + (i + 0.5) * step) * kGrain) / kGrain;
      if (at < 0 || at >= mapPixels) continue;
      if (places_.empty()) first_ = i;
      const double inside = std::clamp(at - 0.5, 0.0, mapPixels - 1.0);
      const int before = static_cast<int>(inside);
      aligned_ = aligned_ && at - 0.5 == before && (places_.empty() || before == places_.back().before + 1);
      places_.push_back({before, std::min(before + 1, mapPixels - 1), static_cast<float>(inside - before)});
    }
  }

  int First() const { return first_; }
  const std::vector<Place>& Places() const { return places_; }
  // Whether each pixel is one of the map's.
  bool IsAligned() const { return aligned_; }

 private:
  int first_;
  std::vector<Place> places_;
  bool aligned_;
};

class AlphaLayer {
 public:
  AlphaLayer(const HairMap& hair, const Image& picture, const Rectangle& window, Mask* mask)
      : hair_(hair),
        picture_(picture),
        mask_(*mask),
        columns_(window.left, window.width, picture.width, hair.window.left, hair.window.width, hair.alpha.width),
        rows_(window.top, window.height, picture.height, hair.window.top, hair.window.height, hair.alpha.height),
        zone_(static_cast<size_t>(hair.alpha.width)) {
    for (FittedRow& row : fitted_) row.lines.resize(zone_.size());
  }

  void Lay() {
    const bool whole = columns_.IsAligned() && rows_.IsAligned();
    for (size_t y = 0; y < rows_.Places().size(); ++y) {
      const Place& row = rows_.Places()[y];
      HairZone(hair_.faces, hair_.faceWidth, row.before, hair_.alpha.width, zone_.data());
      const int to = rows_.First() + static_cast<int>(y);
      if (whole) {
        CopyRow(row.before, to);
      } else {
        const FittedRow& above = Fitted(row.before);
        LayRow(above, Fitted(row.after), row.part, to);
      }
    }
  }

 private:
  struct FittedRow {
    int row = -1;
    std::vector<Line> lines;
  };

  void CopyRow(int from, int y) {
    const uint8_t* alpha = hair_.alpha.Row(from);
    uint8_t* to = mask_.Row(y) + columns_.First();
    for (const Place& place : columns_.Places()) {
      const float zone = zone_[static_cast<size_t>(place.before)];
      if (zone > 0) *to = Mix(zone, alpha[place.before], *to);
      ++to;
    }
  }

  void LayRow(const FittedRow& above, const FittedRow& below, float part, int y) {
    const uint8_t* bgr = picture_.At(columns_.First(), y);
    uint8_t* to = mask_.Row(y) + columns_.First();
    for (const Place& place : columns_.Places()) {
      const auto before = static_cast<size_t>(place.before), after = static_cast<size_t>(place.after);
      const Line &a = above.lines[before], &b = above.lines[after], &c = below.lines[before], &d = below.lines[after];
      float alpha = a.least;
      const float least = std::min(std::min(a.least, b.least), std::min(c.least, d.least));
      const float most = std::max(std::max(a.most, b.most), std::max(c.most, d.most));
      if (least < most) {
        const Line line = Between(Between(a, b, place.part), Between(c, d, place.part), part);
        alpha = line.slopes[3];
        for (int i = 0; i < 3; ++i) alpha += line.slopes[i] * static_cast<float>(bgr[i]);
        alpha = std::clamp(alpha, line.least, line.most);
      }
      const float zone = zone_[before];
      if (zone > 0) *to = Mix(zone, alpha, *to);
      ++to;
      bgr += 3;
    }
  }

  // Two rows are kept, since those of the picture come in their order.
  const FittedRow& Fitted(int y) {
    FittedRow& row = fitted_[static_cast<size_t>(y % 2)];
    if (row.row == y) return row;
    row.row = y;
    const Mask& alpha = hair_.alpha;
    const uint8_t *above = alpha.Row(std::max(y - 1, 0)), *own = alpha.Row(y);
    const uint8_t* below = alpha.Row(std::min(y + 1, alpha.height - 1));
    for (size_t x = 0; x < zone_.size(); ++x) {
      uint8_t least = own[x], most = own[x];
      for (size_t u = x > 0 ? x - 1 : 0; u <= std::min(x + 1, zone_.size() - 1); ++u) {
        least = std::min(std::min(least, above[u]), std::min(own[u], below[u]));
        most = std::max(std::max(most, above[u]), std::max(own[u], below[u]));
      }
      row.lines[x] =
          Line{Line::Four{0, 0, 0, static_cast<float>(own[x])}, static_cast<float>(least), static_cast<float>(most)};
      if (most > least) row.lines[x].slopes = FitLine(static_cast<int>(x), y);
    }
    return row;
  }

  // Sums over 3 x 3 pixels: of the colours, their products (00 01 02 11 12 22), and with alpha.
  struct Moments {
    float count = 0, alpha = 0, colours[3] = {}, products[6] = {}, withAlpha[3] = {};
  };

  Moments Sum(int x, int y) const {
    Moments m;
    for (int v = std::max(y - 1, 0); v <= std::min(y + 1, hair_.alpha.height - 1); ++v) {
      for (int u = std::max(x - 1, 0); u <= std::min(x + 1, hair_.alpha.width - 1); ++u) {
        const auto a = static_cast<float>(hair_.alpha.Row(v)[u]);
        const uint8_t* bgr = hair_.colours.At(u, v);
        const auto b = static_cast<float>(bgr[0]), g = static_cast<float>(bgr[1]), r = static_cast<float>(bgr[2]);
        m.count += 1;
        m.alpha += a;
        m.colours[0] += b, m.colours[1] += g, m.colours[2] += r;
        m.withAlpha[0] += b * a, m.withAlpha[1] += g * a, m.withAlpha[2] += r * a;
        m.products[0] += b * b, m.products[1] += b * g, m.products[2] += b * r;
        m.products[3] += g * g, m.products[4] += g * r, m.products[5] += r * r;
      }
    }
    return m;
  }

  // Least squares, by L D L'.
  Line::Four FitLine(int x, int y) const {
    const Moments m = Sum(x, y);
    const float part = 1 / m.count, mean = m.alpha * part;
    const float m0 = m.colours[0] * part, m1 = m.colours[1] * part, m2 = m.colours[2] * part;
    const float s00 = m.products[0] * part - m0 * m0 + kEpsilon, s01 = m.products[1] * part - m0 * m1;
    const float s02 = m.products[2] * part - m0 * m2, s11 = m.products[3] * part - m1 * m1 + kEpsilon;
    const float s12 = m.products[4] * part - m1 * m2, s22 = m.products[5] * part - m2 * m2 + kEpsilon;
    const float c0 = m.withAlpha[0] * part - m0 * mean, c1 = m.withAlpha[1] * part - m1 * mean;
    const float c2 = m.withAlpha[2] * part - m2 * mean;
    const float d0 = 1 / s00, l1 = s01 * d0, l2 = s02 * d0;
    const float d1 = 1 / (s11 - l1 * s01), t = s12 - l2 * s01, l3 = t * d1;
    const float d2 = 1 / (s22 - l2 * s02 - l3 * t);
    const float z1 = c1 - l1 * c0, z2 = c2 - l2 * c0 - l3 * z1;
    const float a2 = z2 * d2, a1 = z1 * d1 - l3 * a2, a0 = c0 * d0 - l1 * a1 - l2 * a2;
    return Line::Four{a0, a1, a2, mean - a0 * m0 - a1 * m1 - a2 * m2};
  }

  const HairMap& hair_;
  const Image& picture_;
  Mask& mask_;
  const Axis columns_, rows_;
  std::vector<float> zone_;
  std::array<FittedRow, 2> fitted_;
};

}  // namespace

void LayHair(const HairMap& hair, const Image& picture, const Rectangle& window, Mask* mask) {
  AlphaLayer(hair, picture, window, mask).Lay();
}

}  // namespace qx::photo
