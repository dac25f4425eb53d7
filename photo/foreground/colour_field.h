// Colours that are known at some pixels only, spread over the whole picture.
#ifndef QX_PHOTO_FOREGROUND_COLOUR_FIELD_H
#define QX_PHOTO_FOREGROUND_COLOUR_FIELD_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "photo/base/image.h"

namespace qx::photo {

// Square cells that cover a picture from its top left; those at the right and the bottom may reach beyond it.
struct CellGrid {
  // Cells of `cellSide` pixels of the picture.
  CellGrid(int pictureWidth, int pictureHeight, int cellSide)
      : side(cellSide), width((pictureWidth + side - 1) / side), height((pictureHeight + side - 1) / side) {}
  size_t Cells() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
  size_t Cell(int x, int y) const {
    return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
  }

  int side = 1, width = 0, height = 0;
};

// Where a pixel's centre lies between those of two cells along one axis.
struct CellTap {
  int first, second;  // of the axis
  float share;        // of the second
};
std::vector<CellTap> CellTaps(int pixels, int side, int cells);

// Blue, green and red from 0 to 255, then how far they vary there: the variance of a channel, the mean of the three.
using FieldColour = std::array<float, 4>;

inline uint8_t ToByte(float level) {
  const float above = std::clamp(level, 0.0f, 255.0f) + 0.5f;
  return static_cast<uint8_t>(static_cast<int>(above));
}

// Between a and b, and c and d below them, by the shares of the right and of the lower two.
inline FieldColour Between(const FieldColour& a, const FieldColour& b, const FieldColour& c, const FieldColour& d,
                           float right, float lower) {
  FieldColour colour;
  for (size_t i = 0; i < colour.size(); ++i) {
    const float above = a[i] + right * (b[i] - a[i]), below = c[i] + right * (d[i] - c[i]);
    colour[i] = above + lower * (below - above);
  }
  return colour;
}

// One value a cell: sums of known colours at first, colours after one of the two ways to spread them. Floats are added
// in a fixed order.
class ColourField {
 public:
  explicit ColourField(const CellGrid& grid);

  void Add(size_t cell, const float* bgr, float weight) {
    float square = 0;
    for (size_t c = 0; c < 3; ++c) {
      const float sample = bgr[c] - kMiddle;
      values_[cell][c] += weight * sample;
      square += sample * sample;
    }
    values_[cell][3] += weight * square;
    weights_[cell] += weight;
  }

  // The same for pixels side by side, each with that weight.
  void AddRow(size_t cell, const uint8_t* bgr, int pixels, float weight) {
    int sums[4] = {};
    for (int i = 0; i < pixels; ++i, bgr += 3) {
      const int b = bgr[0] - static_cast<int>(kMiddle), g = bgr[1] - static_cast<int>(kMiddle),
                r = bgr[2] - static_cast<int>(kMiddle);
      sums[0] += b, sums[1] += g, sums[2] += r, sums[3] += b * b + g * g + r * r;
    }
    for (size_t c = 0; c < 4; ++c) values_[cell][c] += weight * static_cast<float>(sums[c]);
    weights_[cell] += weight * static_cast<float>(pixels);
  }

  // Each cell's mean where its weight reaches `need`; with less, the rest is the mean of its surroundings, ever wider
  // until they are known (pull and push: S. Gortler et al., "The Lumigraph", SIGGRAPH 1996). Says whether any colour
  // was known.
  bool Spread(float need);
  // The mean of the cell and the eight around it, which count less; where its weight does not reach `need`, the rest is
  // another field's colour.
  void SpreadNear(float need, const ColourField& otherwise);

  const FieldColour& operator[](size_t cell) const { return values_[cell]; }
  // Bilinear between the centres of cells.
  FieldColour Sample(const CellTap& x, const CellTap& y) const {
    const size_t upper = grid_.Cell(0, y.first), lower = grid_.Cell(0, y.second);
    const FieldColour &a = values_[upper + static_cast<size_t>(x.first)],
                      &b = values_[upper + static_cast<size_t>(x.second)],
                      &c = values_[lower + static_cast<size_t>(x.first)],
                      &d = values_[lower + static_cast<size_t>(x.second)];
    return Between(a, b, c, d, x.share, y.share);
  }

 private:
  static constexpr float kMiddle = 128;  // samples are summed from here, which keeps their squares small

  CellGrid grid_;
  std::vector<FieldColour> values_;
  Floats weights_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_FOREGROUND_COLOUR_FIELD_H
