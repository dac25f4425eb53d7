#include "photo/person/rim.h"

#include <algorithm>
#include <cmath>

#include "photo/person/region.h"

namespace qx::photo {
namespace {

// Depths below the outline, in face widths: to where a rim is lit; from and to where there has to be less of it; and
// where the person's own colours are taken.
constexpr double kLit = 0.02, kBehindFrom = 0.025, kBehindTo = 0.045, kInsideFrom = 0.045, kInsideTo = 0.13;
// Depth at which nothing is taken any more, and how far outside, where strands end.
constexpr double kFade = 0.04, kFadeOutside = 0.08;
constexpr double kTile = 0.03;  // side of the tiles in which evidence is gathered; a window has kReach on each side
constexpr int kReach = 2;
constexpr float kInsideNeed = 2;   // cells that have to be known before wider surroundings no longer count
constexpr double kAlong = 0.07;    // least length of a rim in a window
constexpr double kLeastFace = 24;  // in cells; in smaller ones a rim is thinner than a cell
constexpr float kLeastLight = 25, kClearLight = 50;  // levels that the background is brighter than the person
constexpr float kOutside = 1.5f;                     // strands before the outline are lit more than the rim on average

float Rising(float value, float from, float to) {
  return std::clamp((value - from) / (to - from), 0.0f, 1.0f);
}

// Sums over the lit cells but for the last two, which are over the cells behind.
struct Evidence {
  float cells = 0, share = 0, squares = 0, aside = 0, light = 0, spread = 0, unrest = 0;
  float behind = 0, behindShare = 0;

  Evidence& operator+=(const Evidence& other) {
    cells += other.cells, share += other.share, squares += other.squares, aside += other.aside;
    light += other.light, spread += other.spread, unrest += other.unrest;
    behind += other.behind, behindShare += other.behindShare;
    return *this;
  }

  // Mean share of the light that is taken for a rim's, and how sure that is, 0 to 1.
  float Share() const { return cells > 0 ? std::max(0.0f, share / cells) : 0.0f; }
  float Sureness(float leastCells) const {
    if (cells < leastCells || 2 * behind < leastCells || !(share > 0)) return 0;
    const float mean = share / cells, brighter = light / cells;
    return Rising(mean, 0.1f, 0.22f) *                     // there is light
           Rising(share * mean / squares, 0.45f, 0.65f) *  // evenly
           Rising(-aside / share, -0.7f, -0.4f) *          // of the background's colour
           Rising(-behindShare * cells, -0.65f * behind * share, -0.4f * behind * share) *  // thin
           Rising(share, 0.7f * spread, 1.4f * spread) *                                    // more than the hair's own
           Rising(brighter, kLeastLight, kClearLight) * Rising(-unrest, -0.6f * light, -0.3f * light);
  }
};

Region Covered(const Mask& mask, const CellGrid& grid) {
  Region region(grid.width, grid.height);
  for (int y = 0; y < grid.height; ++y) {
    const uint8_t* row = mask.Row(std::min(y * grid.side + grid.side / 2, mask.height - 1));
    for (int x = 0; x < grid.width; ++x) {
      region.At(x, y) = row[std::min(x * grid.side + grid.side / 2, mask.width - 1)] >= 128;
    }
  }
  return region;
}

float Square(const FieldColour& light) {
  return light[0] * light[0] + light[1] * light[1] + light[2] * light[2];
}

// Distances from the outline, in cells' units.
struct Depths {
  explicit Depths(double faceInCells)
      : lit(std::max(Of(kLit, faceInCells), kDistanceUnit)),
        behindFrom(Of(kBehindFrom, faceInCells)),
        behindTo(Of(kBehindTo, faceInCells)),
        insideFrom(Of(kInsideFrom, faceInCells)),
        insideTo(Of(kInsideTo, faceInCells)),
        fade(Of(kFade, faceInCells)),
        fadeOutside(Of(kFadeOutside, faceInCells)) {}
  static int Of(double part, double faceInCells) { return static_cast<int>(part * faceInCells * kDistanceUnit); }
  // Of what is taken at the rim.
  float Fading(int distance) const {
    return distance > 0
               ? Rising(static_cast<float>(-distance), static_cast<float>(-fade), static_cast<float>(-behindFrom))
               : Rising(static_cast<float>(distance), static_cast<float>(-fadeOutside), 0.0f);
  }

  int lit, behindFrom, behindTo, insideFrom, insideTo, fade, fadeOutside;
};

// The share of the light that a colour has beyond the person's inside.
float ShareOf(const FieldColour& colour, const FieldColour& inside, const FieldColour& light) {
  float along = 0;
  for (size_t c = 0; c < 3; ++c) along += (colour[c] - inside[c]) * light[c];
  return along / (Square(light) + 1);
}

// What one cell on or behind the rim says.
Evidence EvidenceOf(const FieldColour& shown, const FieldColour& inside, const FieldColour& light, float unrest,
                    bool isLit) {
  const float square = Square(light), share = std::clamp(ShareOf(shown, inside, light), -1.0f, 1.0f);
  Evidence evidence;
  if (!isLit) {
    evidence.behind = 1;
    evidence.behindShare = share;
    return evidence;
  }
  evidence.cells = 1;
  evidence.share = share;
  evidence.squares = share * share;
  float aside = 0;
  for (size_t c = 0; c < 3; ++c) {
    const float rest = shown[c] - inside[c] - share * light[c];
    aside += rest * rest;
  }
  evidence.aside = std::sqrt(aside / square);
  evidence.light = std::sqrt(square / 3);
  evidence.spread = (std::sqrt(inside[3]) + 1) / evidence.light;
  evidence.unrest = std::sqrt(unrest);
  return evidence;
}

// Sums over the tiles within reach of each, along rows and then down.
void SumWindows(const CellGrid& tiles, std::vector<Evidence>* evidence) {
  std::vector<Evidence> rows(evidence->size());
  for (int pass = 0; pass < 2; ++pass) {
    for (int y = 0; y < tiles.height; ++y) {
      for (int x = 0; x < tiles.width; ++x) {
        Evidence sum;
        for (int i = -kReach; i <= kReach; ++i) {
          const int u = pass == 0 ? x + i : x, v = pass == 0 ? y : y + i;
          if (u >= 0 && v >= 0 && u < tiles.width && v < tiles.height) sum += (*evidence)[tiles.Cell(u, v)];
        }
        rows[tiles.Cell(x, y)] = sum;
      }
    }
    evidence->swap(rows);
  }
}

// What the background has beyond the person's colour inside, as three channels, and how much of it to take.
struct Light {
  ColourField inside;  // the person's colours behind the rim
  std::vector<FieldColour> cells;
};

void AddInside(const Distances& distances, const Depths& depths, const ColourField& person, ColourField* inside) {
  for (size_t i = 0; i < distances.size(); ++i) {
    if (distances[i] >= depths.insideFrom && distances[i] <= depths.insideTo) inside->Add(i, person[i].data(), 1);
  }
}

// Fills the three channels of the light around the outline.
std::vector<Evidence> Gather(const CellGrid& grid, const CellGrid& tiles, const Distances& distances,
                             const Depths& depths, const ColourField& person, const ColourField& background,
                             Light* light) {
  std::vector<Evidence> evidence(tiles.Cells());
  for (int y = 0; y < grid.height; ++y) {
    for (int x = 0; x < grid.width; ++x) {
      const size_t i = grid.Cell(x, y);
      const int distance = distances[i];
      if (distance < -depths.fadeOutside || distance > depths.behindTo) continue;
      FieldColour& beyond = light->cells[i];
      for (size_t c = 0; c < 3; ++c) beyond[c] = std::max(0.0f, background[i][c] - light->inside[i][c]);
      const bool isLit = distance > 0 && distance <= depths.lit;
      if (!isLit && distance < depths.behindFrom) continue;
      if (Square(beyond) < kLeastLight * kLeastLight) continue;
      evidence[tiles.Cell(x / tiles.side, y / tiles.side)] +=
          EvidenceOf(person[i], light->inside[i], beyond, background[i][3], isLit);
    }
  }
  SumWindows(tiles, &evidence);
  return evidence;
}

// How much of the light to take. False where there is none.
bool Weigh(const CellGrid& grid, const CellGrid& tiles, const Distances& distances, const Depths& depths,
           const std::vector<Evidence>& evidence, float leastCells, const ColourField& person, Light* light) {
  std::vector<float> sureness(tiles.Cells());
  bool any = false;
  for (size_t i = 0; i < sureness.size(); ++i) {
    sureness[i] = evidence[i].Sureness(leastCells);
    any = any || sureness[i] > 0;
  }
  if (!any) return false;
  const std::vector<CellTap> columns = CellTaps(grid.width, tiles.side, tiles.width),
                             rows = CellTaps(grid.height, tiles.side, tiles.height);
  size_t i = 0;
  for (const CellTap& y : rows) {
    for (const CellTap& x : columns) {
      const size_t cell = i++;
      const float fading = depths.Fading(distances[cell]);
      if (fading <= 0) continue;
      const size_t a = tiles.Cell(x.first, y.first), b = tiles.Cell(x.second, y.first);
      const size_t c = tiles.Cell(x.first, y.second), d = tiles.Cell(x.second, y.second);
      auto between = [&](float upperLeft, float upperRight, float lowerLeft, float lowerRight) {
        const float above = upperLeft + x.share * (upperRight - upperLeft);
        return above + y.share * (lowerLeft + x.share * (lowerRight - lowerLeft) - above);
      };
      const float sure = between(sureness[a], sureness[b], sureness[c], sureness[d]);
      if (sure <= 0) continue;
      FieldColour& beyond = light->cells[cell];
      const float mean = between(evidence[a].Share(), evidence[b].Share(), evidence[c].Share(), evidence[d].Share());
      const float own = distances[cell] > 0 ? ShareOf(person[cell], light->inside[cell], beyond) : kOutside * mean;
      beyond[3] = sure * fading * std::clamp(own, 0.0f, 1.0f);
    }
  }
  return true;
}

void Take(const Light& light, const CellGrid& grid, const Mask& mask, Image* picture) {
  const std::vector<CellTap> columns = CellTaps(picture->width, grid.side, grid.width),
                             rows = CellTaps(picture->height, grid.side, grid.height);
  for (int y = 0; y < picture->height; ++y) {
    const CellTap& row = rows[static_cast<size_t>(y)];
    const FieldColour *upper = light.cells.data() + grid.Cell(0, row.first),
                      *lower = light.cells.data() + grid.Cell(0, row.second);
    for (int x = 0; x < picture->width; ++x) {
      const CellTap& column = columns[static_cast<size_t>(x)];
      const FieldColour &a = upper[column.first], &b = upper[column.second], &c = lower[column.first],
                        &d = lower[column.second];
      if (a[3] + b[3] + c[3] + d[3] <= 0 || mask.Row(y)[x] == 0) continue;
      const FieldColour beyond = Between(a, b, c, d, column.share, row.share);
      const FieldColour inside = light.inside.Sample(column, row);
      uint8_t* samples = picture->At(x, y);
      const FieldColour own{static_cast<float>(samples[0]), static_cast<float>(samples[1]),
                            static_cast<float>(samples[2])};
      const float take = std::min(beyond[3], ShareOf(own, inside, beyond));
      if (take <= 0) continue;
      for (size_t i = 0; i < 3; ++i) {
        samples[i] = static_cast<uint8_t>(static_cast<int>(std::max(0.0f, own[i] - take * beyond[i]) + 0.5f));
      }
    }
  }
}

}  // namespace

void ReduceRim(const Mask& mask, double faceWidth, const CellGrid& grid, const ColourField& person,
               const ColourField& background, Image* picture) {
  const double face = faceWidth / grid.side;
  if (face < kLeastFace) return;
  const Depths depths(face);
  const Distances distances = SignedDistance(Covered(mask, grid), std::min(127.0, kInsideTo * face + 2));
  Light light{ColourField(grid), {}};
  AddInside(distances, depths, person, &light.inside);
  if (!light.inside.Spread(kInsideNeed)) return;
  light.cells.resize(grid.Cells());
  const CellGrid tiles(grid.width, grid.height, std::max(1, static_cast<int>(std::lround(kTile * face))));
  const std::vector<Evidence> evidence = Gather(grid, tiles, distances, depths, person, background, &light);
  const auto leastCells = static_cast<float>(kAlong * face);
  if (Weigh(grid, tiles, distances, depths, evidence, leastCells, person, &light)) Take(light, grid, mask, picture);
}

}  // namespace qx::photo
