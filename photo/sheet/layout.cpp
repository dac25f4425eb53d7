#include "photo/sheet/layout.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <numeric>
#include <utility>

#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::photo {
namespace {

constexpr double kTickLengthMm = 2;
constexpr double kTickWidthMm = 0.1;

struct NamedPaper {
  const char* name;
  double widthMm, heightMm;
};
constexpr double kInch = kMillimetresPerInch;
constexpr NamedPaper kPapers[] = {
    {"a3", 297, 420},
    {"a4", 210, 297},
    {"a5", 148, 210},
    {"a6", 105, 148},
    {"a7", 74, 105},
    {"letter", 8.5 * kInch, 11 * kInch},
    {"3.5x5", 3.5 * kInch, 5 * kInch},
    {"4x6", 4 * kInch, 6 * kInch},
    {"5x7", 5 * kInch, 7 * kInch},
    {"6x8", 6 * kInch, 8 * kInch},
    {"8x10", 8 * kInch, 10 * kInch},
    {"5x3.5", 5 * kInch, 3.5 * kInch},
    {"6x4", 6 * kInch, 4 * kInch},
    {"7x5", 7 * kInch, 5 * kInch},
    {"8x6", 8 * kInch, 6 * kInch},
    {"10x8", 10 * kInch, 8 * kInch},
};

// The paper as it lies; lengths are pixels of the sheet.
struct Area {
  int32_t width, height;
  double margin, gap;
};

struct Shelf {
  double height;  // of its first photograph, the tallest
  double width;   // of its photographs without the gaps
  std::vector<size_t> kinds;
};

// Whether lengths that add up to `sum`, with gaps between them, fit. A photograph's side in pixels is off its true
// length by up to half a pixel, which must not cost a row; the paper's own edge is never crossed.
bool Fits(double sum, size_t parts, double gap, double paper, double margin) {
  const double total = sum + static_cast<double>(parts - 1) * gap;
  constexpr double kNothing = 1e-6;  // of a pixel: the sums themselves are rounded
  return total <= paper && total - 0.5 * static_cast<double>(parts) <= paper - 2 * margin + kNothing;
}

double ShelvesHeight(const std::vector<Shelf>& shelves) {
  return std::accumulate(shelves.begin(), shelves.end(), 0.0,
                         [](double sum, const Shelf& shelf) { return sum + shelf.height; });
}

bool PutOnShelf(const Area& area, const std::vector<TileKind>& kinds, size_t kind, std::vector<Shelf>* shelves) {
  const double width = kinds[kind].width, height = kinds[kind].height;
  for (Shelf& shelf : *shelves) {
    if (!Fits(shelf.width + width, shelf.kinds.size() + 1, area.gap, area.width, area.margin)) continue;
    shelf.width += width;
    shelf.kinds.push_back(kind);
    return true;
  }
  const bool room = Fits(width, 1, area.gap, area.width, area.margin) &&
                    Fits(ShelvesHeight(*shelves) + height, shelves->size() + 1, area.gap, area.height, area.margin);
  if (room) shelves->push_back({height, width, {kind}});
  return room;
}

// Nothing when the photographs do not all fit.
std::optional<std::vector<Shelf>> Pack(const Area& area, const std::vector<TileKind>& kinds,
                                       const std::vector<int>& counts) {
  std::vector<size_t> order(kinds.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return std::pair(kinds[a].height, kinds[a].width) > std::pair(kinds[b].height, kinds[b].width);
  });
  std::vector<Shelf> shelves;
  for (const size_t kind : order) {
    for (int i = 0; i < counts[kind]; ++i) {
      if (!PutOnShelf(area, kinds, kind, &shelves)) return std::nullopt;
    }
  }
  return shelves;
}

int Total(const std::vector<int>& counts) {
  return std::accumulate(counts.begin(), counts.end(), 0);
}

// Adds one photograph after the other, the kinds in turns, until each kind has reached its target or the paper is
// full.
void Fill(const Area& area, const std::vector<TileKind>& kinds, const std::vector<int>& targets,
          std::vector<int>* counts) {
  for (bool added = true; added;) {
    added = false;
    for (size_t kind = 0; kind < kinds.size(); ++kind) {
      if ((*counts)[kind] >= targets[kind] || Total(*counts) >= kMaxTiles) continue;
      ++(*counts)[kind];
      if (Pack(area, kinds, *counts)) {
        added = true;
      } else {
        --(*counts)[kind];
      }
    }
  }
}

// How many of each kind the paper takes, lying as given. When they do not fit, as many as possible of those that must.
struct Filling {
  bool complete = false;
  std::vector<int> counts;
};

Filling FillPaper(const Area& area, const std::vector<TileKind>& kinds) {
  std::vector<int> needed, wanted;
  for (const TileKind& kind : kinds) {
    needed.push_back(kind.count.value_or(1));
    wanted.push_back(kind.count.value_or(kMaxTiles));
  }
  Filling filling{true, needed};
  if (Pack(area, kinds, needed)) {
    Fill(area, kinds, wanted, &filling.counts);
  } else {
    filling = {false, std::vector<int>(kinds.size(), 0)};
    Fill(area, kinds, needed, &filling.counts);
  }
  return filling;
}

void PlaceTiles(const Area& area, const std::vector<TileKind>& kinds, const std::vector<Shelf>& shelves,
                SheetLayout* layout) {
  auto gaps = [&](size_t parts) { return static_cast<double>(parts - 1) * area.gap; };
  double width = 0;
  for (const Shelf& shelf : shelves) width = std::max(width, shelf.width + gaps(shelf.kinds.size()));
  const double left = (area.width - width) / 2;
  const double top = (area.height - ShelvesHeight(shelves) - gaps(shelves.size())) / 2;
  double above = 0;  // whole pixels, so that the sum is exact
  for (size_t row = 0; row < shelves.size(); ++row) {
    double before = 0;
    for (size_t column = 0; column < shelves[row].kinds.size(); ++column) {
      const TileKind& kind = kinds[shelves[row].kinds[column]];
      const double x = left + before + static_cast<double>(column) * area.gap;
      const double y = top + above + static_cast<double>(row) * area.gap;
      layout->tiles.push_back({shelves[row].kinds[column],
                               {static_cast<int32_t>(std::floor(x + 0.5)), static_cast<int32_t>(std::floor(y + 0.5)),
                                kind.width, kind.height}});
      before += kind.width;
    }
    above += shelves[row].height;
  }
}

bool Meet(const PixelRect& a, const PixelRect& b) {
  return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height && b.top < a.top + a.height;
}

// The rectangle of a tick that starts at (x, y) and goes `length` pixels in the direction (stepX, stepY), `width`
// pixels wide towards growing coordinates.
PixelRect TickRect(int32_t x, int32_t y, int stepX, int stepY, int32_t length, int32_t width) {
  PixelRect tick{x, y, width, width};
  if (stepX != 0) tick.width = length;
  if (stepY != 0) tick.height = length;
  if (stepX < 0) tick.left -= length;
  if (stepY < 0) tick.top -= length;
  return tick;
}

// Draws it as long as it stays on the paper; before another photograph it stops halfway.
void AddTick(int32_t x, int32_t y, int stepX, int stepY, int32_t length, int32_t width, SheetLayout* layout) {
  auto free = [&](int32_t tried) {
    const PixelRect tick = TickRect(x, y, stepX, stepY, tried, width);
    return std::none_of(layout->tiles.begin(), layout->tiles.end(),
                        [&](const Tile& tile) { return Meet(tick, tile.place); });
  };
  auto onPaper = [&](int32_t tried) {
    const PixelRect tick = TickRect(x, y, stepX, stepY, tried, width);
    return tick.left >= 0 && tick.top >= 0 && tick.left + tick.width <= layout->width &&
           tick.top + tick.height <= layout->height;
  };
  while (length > 0 && !onPaper(length)) --length;
  if (length > 0 && !free(length)) {
    while (length > 0 && !free(length)) --length;
    length /= 2;
  }
  if (length > 0) layout->ticks.push_back(TickRect(x, y, stepX, stepY, length, width));
}

// Two at each corner of each photograph, just outside of the edges that they continue.
void AddTicks(int32_t dpi, SheetLayout* layout) {
  const int32_t length = ToPixels(kTickLengthMm, dpi);
  const int32_t width = std::max(1, ToPixels(kTickWidthMm, dpi));
  for (const Tile& tile : layout->tiles) {
    const PixelRect& place = tile.place;
    const int32_t right = place.left + place.width, bottom = place.top + place.height;
    for (const int32_t x : {place.left - width, right}) {
      AddTick(x, place.top, 0, -1, length, width, layout);
      AddTick(x, bottom, 0, 1, length, width, layout);
    }
    for (const int32_t y : {place.top - width, bottom}) {
      AddTick(place.left, y, -1, 0, length, width, layout);
      AddTick(right, y, 1, 0, length, width, layout);
    }
  }
}

std::string Millimetres(double width, double height) {
  return Decimal(width) + " x " + Decimal(height) + " mm";
}

[[noreturn]] void FailToFit(const SheetSpec& spec, const std::vector<TileKind>& kinds, int placed) {
  const std::string paper =
      Millimetres(spec.paper.width, spec.paper.height) + " paper with a margin of " + Decimal(spec.marginMm) + " mm";
  const auto [shorter, longer] = std::minmax(spec.paper.width, spec.paper.height);
  for (const TileKind& kind : kinds) {
    const double width = ToMillimetres(kind.width, spec.dpi), height = ToMillimetres(kind.height, spec.dpi);
    const double half = ToMillimetres(0.5, spec.dpi), free = 2 * spec.marginMm;
    if (std::min(width, height) - half > shorter - free || std::max(width, height) - half > longer - free) {
      throw Failure(FailureCode::kSheetFull, kind.name + " is " + Millimetres(width, height) + " and does not fit on " +
                                                 paper + "; take larger paper or check the dpi in its file");
    }
  }
  int needed = 0;
  for (const TileKind& kind : kinds) needed += kind.count.value_or(1);
  throw Failure(FailureCode::kSheetFull, "only " + std::to_string(placed) + " of " +
                                             Count(static_cast<size_t>(needed), "photograph") + " fit on " + paper +
                                             " and gaps of " + Decimal(spec.gapMm) +
                                             " mm; take larger paper or fewer copies");
}

}  // namespace

Size ParsePaper(const std::string& text) {
  std::string name = text;
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const NamedPaper& paper : kPapers) {
    if (name == paper.name) return {paper.widthMm, paper.heightMm, Unit::kMillimetre};
  }
  const bool centimetres = name.size() > 2 && name.compare(name.size() - 2, 2, "cm") == 0;
  Size size;
  try {
    size = ParseSize(centimetres ? name.substr(0, name.size() - 2) + "mm" : name);
  } catch (const Failure&) {
    throw Failure(FailureCode::kBadOption,
                  "\"" + Printable(text) + "\" is no paper; write A4, letter, 4x6 or a size with its unit (10x15cm)");
  }
  if (size.unit != Unit::kMillimetre)
    throw Failure(FailureCode::kBadOption, "paper is measured in mm, cm or inches, not in pixels");
  if (centimetres) size = {size.width * 10, size.height * 10, size.unit};
  return size;
}

SheetLayout LayOutSheet(const SheetSpec& spec, const std::vector<TileKind>& kinds) {
  const double scale = spec.dpi / kMillimetresPerInch;
  const Area asNamed{ToPixels(spec.paper.width, spec.dpi), ToPixels(spec.paper.height, spec.dpi), spec.marginMm * scale,
                     spec.gapMm * scale};
  Area area = asNamed;
  std::swap(area.width, area.height);
  const Filling turned = FillPaper(area, kinds);
  Filling filling = FillPaper(asNamed, kinds);
  if (std::pair(turned.complete, Total(turned.counts)) > std::pair(filling.complete, Total(filling.counts))) {
    filling = turned;
  } else {
    area = asNamed;
  }
  if (!filling.complete) FailToFit(spec, kinds, Total(filling.counts));

  SheetLayout layout;
  layout.width = area.width;
  layout.height = area.height;
  PlaceTiles(area, kinds, *Pack(area, kinds, filling.counts), &layout);
  AddTicks(spec.dpi, &layout);
  return layout;
}

}  // namespace qx::photo
