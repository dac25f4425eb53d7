#include "photo/person/hair_lines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace qx::photo {
namespace {

constexpr float kEpsilon = 4;        // square levels: steadies the lines where colours are alike
constexpr float kFlat = 1.0f / 512;  // less alpha does not vary

uint8_t Mix(float zone, float alpha, uint8_t before) {
  const auto old = static_cast<float>(before);
  return static_cast<uint8_t>(static_cast<int>(old + zone * (255 * alpha - old) + 0.5f));
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

// Where the picture's columns or rows lie in the crop: between two of its pixels, or at the outermost.
struct Place {
  int before, after;
  float part;
};

std::vector<Place> PlacesOf(int pixels, int cropPixels) {
  std::vector<Place> places;
  for (int i = 0; i < pixels; ++i) {
    const double at = std::clamp((i + 0.5) * cropPixels / pixels - 0.5, 0.0, cropPixels - 1.0);
    const int before = static_cast<int>(at);
    places.push_back({before, std::min(before + 1, cropPixels - 1), static_cast<float>(at - before)});
  }
  return places;
}

class AlphaLayer {
 public:
  AlphaLayer(const Image& picture, const HeadCrop& crop, const Floats& alpha, Mask* mask)
      : picture_(picture), crop_(crop), alpha_(alpha), mask_(*mask), zone_(static_cast<size_t>(crop.mask.width)) {
    for (FittedRow& row : rows_) row.lines.resize(zone_.size());
  }

  void Lay() {
    if (crop_.mask.width == crop_.box.Width() && crop_.mask.height == crop_.box.Height()) return LayAsItIs();
    columns_ = PlacesOf(crop_.box.Width(), crop_.mask.width);
    const std::vector<Place> rows = PlacesOf(crop_.box.Height(), crop_.mask.height);
    for (size_t y = 0; y < rows.size(); ++y) {
      const FittedRow &above = Fitted(rows[y].before), &below = Fitted(rows[y].after);
      crop_.HairZone(rows[y].before, zone_.data());
      LayRow(above, below, rows[y].part, crop_.box.top + static_cast<int>(y));
    }
  }

 private:
  struct FittedRow {
    int row = -1;
    std::vector<Line> lines;
  };

  const float* AlphaRow(int y) const { return alpha_.data() + static_cast<size_t>(y) * zone_.size(); }

  void LayAsItIs() {
    for (int y = 0; y < crop_.mask.height; ++y) {
      crop_.HairZone(y, zone_.data());
      const float* alpha = AlphaRow(y);
      uint8_t* to = mask_.Row(crop_.box.top + y) + crop_.box.left;
      for (size_t x = 0; x < zone_.size(); ++x) {
        if (zone_[x] > 0) to[x] = Mix(zone_[x], alpha[x], to[x]);
      }
    }
  }

  void LayRow(const FittedRow& above, const FittedRow& below, float part, int y) {
    const uint8_t* bgr = picture_.At(crop_.box.left, y);
    uint8_t* to = mask_.Row(y) + crop_.box.left;
    for (const Place& place : columns_) {
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
    FittedRow& row = rows_[static_cast<size_t>(y % 2)];
    if (row.row == y) return row;
    row.row = y;
    const int last = crop_.mask.height - 1;
    const float *above = AlphaRow(std::max(y - 1, 0)), *own = AlphaRow(y), *below = AlphaRow(std::min(y + 1, last));
    for (size_t x = 0; x < zone_.size(); ++x) {
      float least = own[x], most = own[x];
      for (size_t u = x > 0 ? x - 1 : 0; u <= std::min(x + 1, zone_.size() - 1); ++u) {
        least = std::min(std::min(least, above[u]), std::min(own[u], below[u]));
        most = std::max(std::max(most, above[u]), std::max(own[u], below[u]));
      }
      row.lines[x] = Line{Line::Four{0, 0, 0, own[x]}, least, most};
      if (most - least >= kFlat) row.lines[x].slopes = FitLine(static_cast<int>(x), y);
    }
    return row;
  }

  // Sums over 3 x 3 pixels: of the colours, their products (00 01 02 11 12 22), and with alpha.
  struct Moments {
    float count = 0, alpha = 0, colours[3] = {}, products[6] = {}, withAlpha[3] = {};
  };

  Moments Sum(int x, int y) const {
    Moments m;
    for (int v = std::max(y - 1, 0); v <= std::min(y + 1, crop_.mask.height - 1); ++v) {
      for (int u = std::max(x - 1, 0); u <= std::min(x + 1, crop_.mask.width - 1); ++u) {
        const float a = AlphaRow(v)[u];
        const uint8_t* bgr = crop_.colours.At(u, v);
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

  const Image& picture_;
  const HeadCrop& crop_;
  const Floats& alpha_;
  Mask& mask_;
  std::vector<Place> columns_;
  std::vector<float> zone_;
  std::array<FittedRow, 2> rows_;
};

}  // namespace

void LayAlpha(const Image& picture, const HeadCrop& crop, const Floats& alpha, Mask* mask) {
  AlphaLayer(picture, crop, alpha, mask).Lay();
}

}  // namespace qx::photo
