#include "photo/foreground/foreground.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "photo/foreground/colour_field.h"
#include "photo/foreground/rim.h"

namespace qx::photo {
namespace {

// Colours nearby are kept in cells: this many to a face's width, and in all no more than that.
constexpr double kCellsOfFace = 144, kMostCells = 1.6e5;
// Parts of a cell that have to be known before its wider surroundings no longer count: of the pixels that belong to one
// of the two alone, and of those that have been told apart.
constexpr float kKnown = 0.3f, kToldApart = 0.1f;
// Shares from which a pixel tells of the person's and of the background's colour nearby. The person's may be mixed a
// little, as thin strands have no opaque pixel.
constexpr float kMostlyPerson = 0.75f, kMostlyBackground = 0.9f;
// Variances, for levels of 255: of the picture's noise; of the person's colours beyond what is seen nearby, as each
// strand has its own; and, for a share from 0 to 1, of the mask.
constexpr float kNoise = 9, kOwnColour = 64, kMaskNoise = 0.0004f;
// Levels, and standard deviations of the person's colours nearby, by which a colour gets away from the old background
// and towards it at most: where the mask is wrong there would be a dark or a bright line.
constexpr float kAwayLevels = 10, kAwaySpreads = 2, kTowardsLevels = 20, kTowardsSpreads = 3;

enum class CellKind : uint8_t { kPerson, kBackground, kMixed };
using Kinds = std::vector<CellKind>;
using Weights = std::array<float, 256>;

// By the mask: `share` - `from`, squared or cubed, with the share `from` as 0.
template <int kPower>
Weights WeightsAbove(float from) {
  Weights weights;
  for (size_t i = 0; i < weights.size(); ++i) {
    const float above = std::max(0.0f, (static_cast<float>(i) / 255 - from) / (1 - from));
    weights[i] = above * above * (kPower == 3 ? above : 1.0f);
  }
  return weights;
}

CellGrid GridFor(const Image& picture, double faceWidth) {
  const double pixels = static_cast<double>(picture.width) * picture.height;
  const double side = std::max({1.0, std::floor(faceWidth / kCellsOfFace), std::ceil(std::sqrt(pixels / kMostCells))});
  const int longest = std::max(picture.width, picture.height);
  return {picture.width, picture.height, static_cast<int>(std::min(side, static_cast<double>(longest)))};
}

Kinds KindsOf(const Mask& mask, const CellGrid& grid) {
  Kinds kinds(grid.Cells());
  const auto width = static_cast<size_t>(mask.width), side = static_cast<size_t>(grid.side);
  Bytes least(width), most(width);
  for (int y = 0; y < grid.height; ++y) {
    std::copy_n(mask.Row(y * grid.side), width, least.begin());
    most = least;
    for (int v = y * grid.side + 1; v < std::min((y + 1) * grid.side, mask.height); ++v) {
      const uint8_t* row = mask.Row(v);
      for (size_t x = 0; x < width; ++x) {
        least[x] = std::min(least[x], row[x]);
        most[x] = std::max(most[x], row[x]);
      }
    }
    CellKind* kind = kinds.data() + grid.Cell(0, y);
    for (size_t x = 0; x < width; x += side) {
      const size_t end = std::min(x + side, width);
      uint8_t low = 255, high = 0;
      for (size_t u = x; u < end; ++u) {
        low = std::min(low, least[u]);
        high = std::max(high, most[u]);
      }
      *kind++ = low == 255 ? CellKind::kPerson : high == 0 ? CellKind::kBackground : CellKind::kMixed;
    }
  }
  return kinds;
}

// Calls `visit` with the place, the mask and the cell of the pixels in mixed cells, row by row.
template <typename Visit>
void ForMixed(const Mask& mask, const CellGrid& grid, const Kinds& kinds, Visit visit) {
  for (int y = 0; y < mask.height; ++y) {
    const uint8_t* share = mask.Row(y);
    size_t cell = grid.Cell(0, y / grid.side);
    for (int left = 0; left < mask.width; left += grid.side, ++cell) {
      if (kinds[cell] != CellKind::kMixed) continue;
      for (int x = left; x < std::min(left + grid.side, mask.width); ++x) visit(x, y, share[x], cell);
    }
  }
}

class Unmixer {
 public:
  Unmixer(const Image& picture, const Mask& mask, const CellGrid& grid)
      : mask_(mask),
        grid_(grid),
        kinds_(KindsOf(mask, grid_)),
        columns_(CellTaps(picture.width, grid_.side, grid_.width)),
        rows_(CellTaps(picture.height, grid_.side, grid_.height)),
        person_(grid),
        background_(grid) {}

  // False where nothing is seen of one of the two: nothing can be told apart.
  bool FindColours(const Image& picture) {
    AddUnmixed(picture);
    const Weights person = WeightsAbove<3>(kMostlyPerson), background = WeightsAbove<2>(kMostlyBackground);
    ForMixed(mask_, grid_, kinds_, [&](int x, int y, uint8_t share, size_t cell) {
      const FieldColour shown = Shown(picture, x, y);
      if (person[share] > 0) person_.Add(cell, shown.data(), person[share]);
      if (background[size_t{255} - share] > 0) background_.Add(cell, shown.data(), background[size_t{255} - share]);
    });
    const float need = kKnown * Pixels();
    return person_.Spread(need) && background_.Spread(need);
  }

  void Unmix(Image* picture) const {
    ColourField near(grid_);
    const Weights weights = WeightsAbove<2>(0);
    ForMixed(mask_, grid_, kinds_, [&](int x, int y, uint8_t share, size_t cell) {
      if (share == 0) return;
      const FieldColour colour = share == 255 ? Shown(*picture, x, y) : PersonsColour(*picture, x, y, share, person_);
      near.Add(cell, colour.data(), weights[share]);
    });
    near.SpreadNear(kToldApart * Pixels(), person_);
    ForMixed(mask_, grid_, kinds_, [&](int x, int y, uint8_t share, size_t) {
      if (share == 0 || share == 255) return;
      const FieldColour colour = PersonsColour(*picture, x, y, share, near);
      uint8_t* to = picture->At(x, y);
      for (size_t c = 0; c < 3; ++c) to[c] = ToByte(colour[c]);
    });
  }

  void ReduceRim(double faceWidth, Image* picture) const {
    photo::ReduceRim(mask_, faceWidth, grid_, person_, background_, picture);
  }

 private:
  float Pixels() const { return static_cast<float>(grid_.side) * static_cast<float>(grid_.side); }

  static FieldColour Shown(const Image& picture, int x, int y) {
    const uint8_t* from = picture.At(x, y);
    return {static_cast<float>(from[0]), static_cast<float>(from[1]), static_cast<float>(from[2]), 0.0f};
  }

  // Cells of one of the two alone; a row of pixels stands for them all.
  void AddUnmixed(const Image& picture) {
    for (int y = 0; y < grid_.height; ++y) {
      const int v = std::min(y * grid_.side + grid_.side / 2, picture.height - 1);
      size_t cell = grid_.Cell(0, y);
      for (int left = 0; left < picture.width; left += grid_.side, ++cell) {
        if (kinds_[cell] == CellKind::kMixed) continue;
        ColourField& to = kinds_[cell] == CellKind::kPerson ? person_ : background_;
        const int end = std::min(left + grid_.side, picture.width);
        to.AddRow(cell, picture.At(left, v), end - left, static_cast<float>(grid_.side));
      }
    }
  }

  // The most probable one: shown = share * person + (1 - share) * background + noise, with the colours nearby and their
  // variances as priors. One number for how far the background, the noise and the mask make the sum uncertain.
  FieldColour PersonsColour(const Image& picture, int x, int y, uint8_t share, const ColourField& persons) const {
    const CellTap &column = columns_[static_cast<size_t>(x)], &row = rows_[static_cast<size_t>(y)];
    const FieldColour person = persons.Sample(column, row), background = background_.Sample(column, row);
    const FieldColour shown = Shown(picture, x, y);
    const float alpha = static_cast<float>(share) / 255, rest = 1 - alpha;
    float contrast = 1, along = 0;
    FieldColour apart{}, unexplained{};
    for (size_t c = 0; c < 3; ++c) {
      apart[c] = person[c] - background[c];
      unexplained[c] = shown[c] - alpha * apart[c] - background[c];
      contrast += apart[c] * apart[c];
      along += apart[c] * unexplained[c];
    }
    const float own = person[3] + kOwnColour;
    const float uncertain = rest * rest * background[3] + kNoise + kMaskNoise * contrast;
    const float gain = alpha * own / (alpha * alpha * own + uncertain);
    const float level = std::sqrt(3 / contrast), spread = std::sqrt(person[3]);  // in parts of the contrast; in levels
    const float away = gain * along / contrast;
    const float held = std::clamp(away, -(kTowardsLevels + kTowardsSpreads * spread) * level,
                                  (kAwayLevels + kAwaySpreads * spread) * level) -
                       away;
    FieldColour colour{};
    for (size_t c = 0; c < 3; ++c) {
      colour[c] = std::clamp(person[c] + gain * unexplained[c] + held * apart[c], 0.0f, 255.0f);
    }
    return colour;
  }

  const Mask& mask_;
  const CellGrid grid_;
  const Kinds kinds_;
  const std::vector<CellTap> columns_, rows_;
  ColourField person_, background_;
};

}  // namespace

Image EstimateForeground(Image picture, const Mask& mask, double faceWidth, Rim rim) {
  Unmixer unmixer(picture, mask, GridFor(picture, faceWidth));
  if (!unmixer.FindColours(picture)) return picture;
  unmixer.Unmix(&picture);
  if (rim == Rim::kReduce) unmixer.ReduceRim(faceWidth, &picture);
  return picture;
}

}  // namespace qx::photo
