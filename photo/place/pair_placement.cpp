#include "photo/place/pair_placement.h"

#include <algorithm>

namespace qx::photo {

PairGeometry MeasurePair(const std::array<const ProbedFace*, 2>& faces, const std::array<PersonGeometry, 2>& persons,
                         const Mask& mask) {
  const int32_t width = mask.width, height = mask.height;
  PairGeometry pair;
  pair.left = width;
  for (const ProbedFace* face : faces) {
    for (const Point& p : face->densePoints) {
      pair.left = std::min<double>(pair.left, p.x);
      pair.right = std::max<double>(pair.right, p.x);
    }
  }
  pair.faceWidth = (persons[0].faceWidth + persons[1].faceWidth) / 2;
  pair.chin = std::max(persons[0].chin, persons[1].chin);
  pair.headTop = std::min(persons[0].headTop, persons[1].headTop);
  pair.foot = std::min(persons[0].foot, persons[1].foot);
  // The columns of the common mask, above the lower end of the persons.
  int32_t first = width, last = -1;
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* row = mask.Row(y);
    const auto isPerson = [](uint8_t byte) { return byte > 64; };
    const uint8_t* found = std::find_if(row, row + first, isPerson);
    first = static_cast<int32_t>(found - row);
    for (int32_t x = width - 1; x > last; --x) {
      if (isPerson(row[x])) last = x;
    }
  }
  pair.leftEdge = first;
  pair.rightEdge = last + 1;
  return pair;
}

namespace {

constexpr double kLeastWidth = 1.4;                    // of both faces together
constexpr double kLeastBelow = 0.5, kMostBelow = 1.2;  // room below the chin, in face widths
constexpr double kLeastAbove = 0.3, kMostAbove = 0.8;  // room above the hair

// Room above and below in the usual proportion, as far as the photograph shows the persons so far down.
Rectangle PlaceAtLeastWidth(const PairGeometry& pair, double proportions) {
  const double width = kLeastWidth * (pair.right - pair.left), height = width / proportions;
  const double room = height - (pair.chin - pair.headTop);
  constexpr double kBelow = (kLeastBelow + kMostBelow) / (kLeastBelow + kMostBelow + kLeastAbove + kMostAbove);
  const double bottom = std::min(pair.chin + kBelow * room, pair.foot);
  return {(pair.left + pair.right) / 2 - width / 2, bottom - height, width, height};
}

}  // namespace

PairPlacement PlacePair(const PairGeometry& pair, const std::array<PersonGeometry, 2>& persons, double proportions,
                        const Obstacles& obstacles, bool relax) {
  const double faces = pair.right - pair.left, centre = (pair.left + pair.right) / 2, unit = pair.faceWidth;
  const auto clear = [&](const Rectangle& rectangle) {
    return IsClear(rectangle, persons[0], obstacles) && IsClear(rectangle, persons[1], obstacles);
  };
  for (double width = kLeastWidth * faces; width <= pair.rightEdge - pair.leftEdge; width += 2) {
    const double height = width / proportions;
    // The lower edge by the room below the chin, and by that above the hair.
    const double lowest =
        std::min({pair.foot, pair.chin + kMostBelow * unit, pair.headTop + height - kLeastAbove * unit});
    const double highest = std::max(pair.chin + kLeastBelow * unit, pair.headTop + height - kMostAbove * unit);
    if (highest > lowest) continue;
    const Rectangle rectangle{centre - width / 2, lowest - height, width, height};
    if (clear(rectangle)) return {rectangle, ""};
  }
  const Rectangle nearest = PlaceAtLeastWidth(pair, proportions);
  const double room = nearest.height - (pair.chin - pair.headTop);
  PairPlacement placement;
  placement.problem = room > (kMostBelow + kMostAbove) * unit ? "the persons stand too far apart for their size"
                      : nearest.width > pair.rightEdge - pair.leftEdge
                          ? "the photograph shows too little of the persons beside their faces"
                      : pair.foot < pair.chin + kLeastBelow * unit ? "the photograph ends too close below the chins"
                                                                   : "the photograph ends too close to the persons";
  const bool whole = nearest.top <= pair.headTop && nearest.Bottom() >= pair.chin;
  if (relax && whole && clear(nearest)) placement.rectangle = nearest;
  return placement;
}

}  // namespace qx::photo
