#include "photo/foreground/rim.h"

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
// Side of the tiles in which evidence is gathered, in face widths; tiles on each side in the windows that tell whether
// there is a rim, and in those that tell whether it goes on.
constexpr double kTile = 0.03;
constexpr int kReach = 2, kAround = 3;
constexpr float kInsideNeed = 2;  // cells that have to be known before wider surroundings no longer count
constexpr double kAlong = 0.07;   // least length of a rim in a window
// In cells: in smaller ones a rim is thinner than a cell; larger ones do not fit the picture.
constexpr double kLeastFace = 24, kMostFace = 1000;
constexpr float kLeastLight = 25, kClearLight = 50;  // levels that the background is brighter than the person
// Of the shine in the squares of a fit; keeps it at 0 where its hue is the light's.
constexpr float kRidge = 0.1f;
constexpr float kMostTaken = 0.85f;  // of a rim that is clearly one
constexpr float kOutside = 1.5f;     // strands before the outline are lit more than the rim on average

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

// A colour as the person's inside, brighter by `shine` of it, and a share of the light, by least squares; `rest` is
// what neither explains. The ridge gives all to the light where the two hues cannot be told apart.
struct Explained {
  Explained(const FieldColour& colour, const FieldColour& inside, const FieldColour& light) {
    float ownOwn = 1, ownLight = 0, excessOwn = 0, excessLight = 0;
    const float lightLight = Square(light) + 1;
    for (size_t c = 0; c < 3; ++c) {
      rest[c] = colour[c] - inside[c];
      ownOwn += inside[c] * inside[c];
      ownLight += inside[c] * light[c];
      excessOwn += rest[c] * inside[c];
      excessLight += rest[c] * light[c];
    }
    const float determinant = (1 + kRidge) * ownOwn * lightLight - ownLight * ownLight;
    const float shine = std::clamp((excessOwn * lightLight - excessLight * ownLight) / determinant, 0.0f, 1.0f);
    share = (excessLight - shine * ownLight) / lightLight;
    for (size_t c = 0; c < 3; ++c) rest[c] -= shine * inside[c] + share * light[c];
  }

  float share;
  FieldColour rest{};
};

// What one cell on or behind the rim says.
Evidence EvidenceOf(const FieldColour& shown, const FieldColour& inside, const FieldColour& light, float unrest,
                    bool isLit) {
  const Explained explained(shown, inside, light);
  const float square = Square(light), share = std::clamp(explained.share, -1.0f, 1.0f);
  Evidence evidence;
  if (!isLit) {
    evidence.behind = 1;
    evidence.behindShare = share;
    return evidence;
  }
  evidence.cells = 1;
  evidence.share = share;
  evidence.squares = share * share;
  const float aside = Square(explained.rest);
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
  return evidence;
}

// What the evidence around a tile comes to.
struct Verdict {
  float sureness = 0;  // that there is a rim, 0 to 1
  float share = 0;     // of the light in it
};

// Less sure where most of the outline around says otherwise: a bright patch, such as a collar's tip, looks like
// a rim where it gets thin, but not far along.
std::vector<Verdict> Judge(const CellGrid& tiles, const std::vector<Evidence>& evidence, float leastCells) {
  std::vector<Evidence> windows = evidence;
  SumWindows(tiles, &windows);
  std::vector<float> own(tiles.Cells());
  std::vector<Verdict> verdicts(tiles.Cells());
  for (size_t i = 0; i < own.size(); ++i) {
    own[i] = windows[i].Sureness(leastCells);
    verdicts[i].share = windows[i].Share();
  }
  for (int y = 0; y < tiles.height; ++y) {
    for (int x = 0; x < tiles.width; ++x) {
      const size_t at = tiles.Cell(x, y);
      if (own[at] <= 0) continue;
      float sum = 0, cells = 0;
      for (int v = std::max(0, y - kAround); v <= std::min(tiles.height - 1, y + kAround); ++v) {
        for (int u = std::max(0, x - kAround); u <= std::min(tiles.width - 1, x + kAround); ++u) {
          const size_t i = tiles.Cell(u, v);
          sum += evidence[i].cells * own[i];
          cells += evidence[i].cells;
        }
      }
      verdicts[at].sureness = own[at] * Rising(sum, 0.3f * cells, 0.7f * cells);
    }
  }
  return verdicts;
}

// How much of the light to take. False where there is none.
bool Weigh(const CellGrid& grid, const CellGrid& tiles, const Distances& distances, const Depths& depths,
           const std::vector<Evidence>& evidence, float leastCells, const ColourField& person, Light* light) {
  const std::vector<Verdict> verdicts = Judge(tiles, evidence, leastCells);
  if (std::none_of(verdicts.begin(), verdicts.end(), [](const Verdict& v) { return v.sureness > 0; })) return false;
  const std::vector<CellTap> columns = CellTaps(grid.width, tiles.side, tiles.width),
                             rows = CellTaps(grid.height, tiles.side, tiles.height);
  size_t i = 0;
  for (const CellTap& y : rows) {
    for (const CellTap& x : columns) {
      const size_t cell = i++;
      const float fading = depths.Fading(distances[cell]);
      if (fading <= 0) continue;
      const Verdict &a = verdicts[tiles.Cell(x.first, y.first)], &b = verdicts[tiles.Cell(x.second, y.first)];
      const Verdict &c = verdicts[tiles.Cell(x.first, y.second)], &d = verdicts[tiles.Cell(x.second, y.second)];
      auto between = [&](float Verdict::*field) {
        const float above = a.*field + x.share * (b.*field - a.*field),
                    below = c.*field + x.share * (d.*field - c.*field);
        return above + y.share * (below - above);
      };
      const float sure = between(&Verdict::sureness);
      if (sure <= 0) continue;
      FieldColour& beyond = light->cells[cell];
      const float mean = between(&Verdict::share);
      const float own =
          distances[cell] > 0 ? Explained(person[cell], light->inside[cell], beyond).share : kOutside * mean;
      beyond[3] = kMostTaken * sure * fading * std::clamp(own, 0.0f, 1.0f);
    }
  }
  return true;
}

// Takes the light out, and by the same part what else sets the colour's hue apart from the inside's: the light's hue is
// known only roughly. Lighter and darker strands stay.
void TakeFrom(uint8_t* samples, const FieldColour& inside, const FieldColour& light) {
  const FieldColour own{static_cast<float>(samples[0]), static_cast<float>(samples[1]), static_cast<float>(samples[2])};
  const Explained explained(own, inside, light);
  const float share = explained.share, take = std::min(light[3], share);
  if (take <= 0) return;
  const FieldColour& rest = explained.rest;
  const float grey = (rest[0] + rest[1] + rest[2]) / 3, part = take / share;
  for (size_t c = 0; c < 3; ++c) {
    const float reduced = own[c] - take * light[c] - part * (rest[c] - grey);
    samples[c] = ToByte(reduced);
  }
}

void Take(const Light& light, const CellGrid& grid, const Mask& mask, Image* picture) {
  const std::vector<CellTap> columns = CellTaps(picture->width, grid.side, grid.width),
                             rows = CellTaps(picture->height, grid.side, grid.height);
  std::vector<int> lit;  // columns between the cells of two rows where there is anything to take
  int rowsOf = -1;
  for (int y = 0; y < picture->height; ++y) {
    const CellTap& row = rows[static_cast<size_t>(y)];
    const FieldColour *upper = light.cells.data() + grid.Cell(0, row.first),
                      *lower = light.cells.data() + grid.Cell(0, row.second);
    if (row.first != rowsOf) {
      rowsOf = row.first;
      lit.clear();
      for (int x = 0; x < picture->width; ++x) {
        const auto first = static_cast<size_t>(columns[static_cast<size_t>(x)].first),
                   second = static_cast<size_t>(columns[static_cast<size_t>(x)].second);
        if (upper[first][3] > 0 || upper[second][3] > 0 || lower[first][3] > 0 || lower[second][3] > 0)
          lit.push_back(x);
      }
    }
    for (const int x : lit) {
      if (mask.Row(y)[x] == 0) continue;
      const CellTap& column = columns[static_cast<size_t>(x)];
      const auto first = static_cast<size_t>(column.first), second = static_cast<size_t>(column.second);
      TakeFrom(picture->At(x, y), light.inside.Sample(column, row),
               Between(upper[first], upper[second], lower[first], lower[second], column.share, row.share));
    }
  }
}

}  // namespace

void ReduceRim(const Mask& mask, double faceWidth, const CellGrid& grid, const ColourField& person,
               const ColourField& background, Image* picture) {
  const double face = faceWidth / grid.side;
  if (face < kLeastFace || face > kMostFace) return;
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
