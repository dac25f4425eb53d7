#include "photo/sheet/layout.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <set>
#include <utility>

#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::photo {
namespace {

constexpr double kTickLengthMm = 2;
constexpr double kTickWidthMm = 0.1;

// The paper as it lies; lengths are pixels of the sheet.
struct Area {
  int32_t width, height;
  double margin, gap;
};

// Some photographs of one kind, side by side.
struct Run {
  size_t kind;
  int count;
};

struct Shelf {
  double height;  // of its first photograph, the tallest
  double width;   // of its photographs without the gaps
  int parts;      // its photographs
  std::vector<Run> runs;
};

// Whether lengths that add up to `sum`, with gaps between them, fit. A photograph's side in pixels is off its true
// length by up to half a pixel, which must not cost a row; the paper's own edge is never crossed.
bool Fits(double sum, size_t parts, double gap, double paper, double margin) {
  const double total = sum + static_cast<double>(parts - 1) * gap;
  constexpr double kNothing = 1e-6;  // of a pixel: the sums themselves are rounded
  return total <= paper && total - 0.5 * static_cast<double>(parts) <= paper - 2 * margin + kNothing;
}

// Shelves filled one kind after the other. Widths and heights are whole pixels, so that their sums are exact.
class Shelves {
 public:
  explicit Shelves(const Area& area) : area_(area) {}

  // Each on the first shelf with room for it, or on a new one. False when the paper has no room for all of them. What
  // comes later is nowhere narrower than `narrowest`.
  bool Put(size_t kind, const TileKind& tile, int count, int32_t narrowest) {
    // What refuses one refuses the others of its kind: they fill one shelf after the other.
    size_t kept = 0, next = 0;
    for (; next < open_.size() && count > 0; ++next) {
      Shelf& shelf = shelves_[open_[next]];
      count -= Add(kind, tile.width, count, &shelf);
      if (HasRoom(shelf, narrowest, 1)) open_[kept++] = open_[next];
    }
    open_.erase(std::copy(open_.begin() + static_cast<ptrdiff_t>(next), open_.end(),
                          open_.begin() + static_cast<ptrdiff_t>(kept)),
                open_.end());
    while (count > 0) {
      if (!Fits(tile.width, 1, area_.gap, area_.width, area_.margin)) return false;
      if (!Fits(height_ + tile.height, shelves_.size() + 1, area_.gap, area_.height, area_.margin)) return false;
      Shelf& shelf = shelves_.emplace_back(Shelf{static_cast<double>(tile.height), 0, 0, {}});
      height_ += tile.height;
      count -= Add(kind, tile.width, count, &shelf);
      if (HasRoom(shelf, narrowest, 1)) open_.push_back(shelves_.size() - 1);
    }
    return true;
  }

  const std::vector<Shelf>& All() const { return shelves_; }
  double Height() const { return height_; }  // without the gaps

 private:
  bool HasRoom(const Shelf& shelf, int32_t width, int count) const {
    return Fits(shelf.width + static_cast<double>(width) * count, static_cast<size_t>(shelf.parts + count), area_.gap,
                area_.width, area_.margin);
  }

  // As many as there is room for, at most `count`; says how many.
  int Add(size_t kind, int32_t width, int count, Shelf* shelf) {
    int fit = 0;
    for (int above = count + 1; fit + 1 < above;) {  // `fit` do, `above` are not asked for or do not
      const int middle = fit + (above - fit) / 2;
      (HasRoom(*shelf, width, middle) ? fit : above) = middle;
    }
    if (fit == 0) return 0;
    shelf->width += static_cast<double>(width) * fit;
    shelf->parts += fit;
    shelf->runs.push_back({kind, fit});
    return fit;
  }

  const Area& area_;
  std::vector<Shelf> shelves_;
  std::vector<size_t> open_;  // shelves that something may still go onto, from the first
  double height_ = 0;
};

// Puts the photographs onto paper that lies as given.
class Packer {
 public:
  Packer(const Area& area, const std::vector<TileKind>& kinds)
      : area_(area),
        kinds_(kinds),
        order_(kinds.size()),
        narrowest_(kinds.size(), std::numeric_limits<int32_t>::max()) {
    std::iota(order_.begin(), order_.end(), size_t{0});
    std::stable_sort(order_.begin(), order_.end(), [&](size_t a, size_t b) {
      return std::pair(kinds[a].height, kinds[a].width) > std::pair(kinds[b].height, kinds[b].width);
    });
    for (size_t i = kinds.size(); i-- > 1;) narrowest_[i - 1] = std::min(narrowest_[i], kinds[order_[i]].width);
  }

  // Nothing when the photographs do not all fit.
  std::optional<Shelves> Pack(const std::vector<int>& counts) const {
    Shelves shelves(area_);
    for (size_t i = 0; i < order_.size(); ++i) {
      const size_t kind = order_[i];
      if (!shelves.Put(kind, kinds_[kind], counts[kind], narrowest_[i])) return std::nullopt;
    }
    return shelves;
  }

  // Adds one photograph after the other, the kinds in turns, until each kind has reached its target or the paper is
  // full.
  void Fill(const std::vector<int>& targets, std::vector<int>* counts) const {
    int total = std::accumulate(counts->begin(), counts->end(), 0);
    std::set<std::pair<int32_t, int32_t>> refused;  // sizes, since the last one that was added
    for (bool added = true; added;) {
      added = false;
      for (size_t kind = 0; kind < kinds_.size(); ++kind) {
        const std::pair size(kinds_[kind].width, kinds_[kind].height);
        if ((*counts)[kind] >= targets[kind] || total >= kMaxTiles || refused.count(size) != 0) continue;
        ++(*counts)[kind];
        if (Pack(*counts)) {
          added = true;
          ++total;
          refused.clear();
        } else {
          --(*counts)[kind];
          refused.insert(size);
        }
      }
    }
  }

 private:
  const Area& area_;
  const std::vector<TileKind>& kinds_;
  std::vector<size_t> order_;       // the tallest first
  std::vector<int32_t> narrowest_;  // by place in the order: of those that come later
};

// How many of each kind the paper takes. When they do not fit, as many as possible of those that must.
struct Filling {
  bool complete = false;
  std::vector<int> counts;
  int Total() const { return std::accumulate(counts.begin(), counts.end(), 0); }
};

Filling FillPaper(const Area& area, const std::vector<TileKind>& kinds) {
  std::vector<int> needed, wanted;
  for (const TileKind& kind : kinds) {
    needed.push_back(kind.count.value_or(1));
    wanted.push_back(kind.count.value_or(kMaxTiles));
  }
  const Packer packer(area, kinds);
  Filling filling{true, needed};
  if (packer.Pack(needed)) {
    packer.Fill(wanted, &filling.counts);
  } else {
    filling = {false, std::vector<int>(kinds.size(), 0)};
    packer.Fill(needed, &filling.counts);
  }
  return filling;
}

// The photographs of one shelf in the layout, from left to right.
struct Row {
  size_t first, last;  // past the last
  PixelBox box;        // around all of them
};

std::vector<Row> PlaceTiles(const Area& area, const std::vector<TileKind>& kinds, const Shelves& shelves,
                            SheetLayout* layout) {
  auto gaps = [&](size_t parts) { return static_cast<double>(parts - 1) * area.gap; };
  auto whole = [](double place) { return static_cast<int32_t>(std::floor(place + 0.5)); };
  double width = 0;
  for (const Shelf& shelf : shelves.All()) {
    width = std::max(width, shelf.width + gaps(static_cast<size_t>(shelf.parts)));
  }
  const double left = (area.width - width) / 2;
  const double top = (area.height - shelves.Height() - gaps(shelves.All().size())) / 2;
  std::vector<Row> rows;
  double above = 0;
  for (const Shelf& shelf : shelves.All()) {
    Row row{layout->tiles.size(), 0, {}};
    const int32_t y = whole(top + above + static_cast<double>(rows.size()) * area.gap);
    double before = 0;
    for (const Run& run : shelf.runs) {
      const TileKind& kind = kinds[run.kind];
      for (int i = 0; i < run.count; ++i) {
        const size_t column = layout->tiles.size() - row.first;
        const int32_t x = whole(left + before + static_cast<double>(column) * area.gap);
        layout->tiles.push_back({run.kind, {x, y, x + kind.width, y + kind.height}});
        before += kind.width;
      }
    }
    row.last = layout->tiles.size();
    row.box = {layout->tiles[row.first].place.left, y, layout->tiles.back().place.right,
               y + static_cast<int32_t>(shelf.height)};
    rows.push_back(row);
    above += shelf.height;
  }
  return rows;
}

enum class Side { kLeft, kTop, kRight, kBottom };

// From (x, y) so many pixels towards that side, `width` pixels wide towards growing coordinates.
PixelBox TickBox(int32_t x, int32_t y, Side side, int32_t length, int32_t width) {
  switch (side) {
    case Side::kLeft: return {x - length, y, x, y + width};
    case Side::kTop: return {x, y - length, x + width, y};
    case Side::kRight: return {x, y, x + length, y + width};
    default: return {x, y, x + width, y + length};
  }
}

// How far a tick from (x, y) comes before it meets the box, which lies in its way.
int32_t Distance(int32_t x, int32_t y, Side side, const PixelBox& box) {
  const int32_t distance = side == Side::kLeft    ? x - box.right
                           : side == Side::kTop   ? y - box.bottom
                           : side == Side::kRight ? box.left - x
                                                  : box.top - y;
  return std::max(distance, 0);
}

class TickDrawer {
 public:
  TickDrawer(int32_t dpi, const std::vector<Row>& rows, SheetLayout* layout)
      : length_(ToPixels(kTickLengthMm, dpi)),
        width_(std::max(1, ToPixels(kTickWidthMm, dpi))),
        rows_(rows),
        layout_(*layout) {}

  // Two at each corner of each photograph, just outside of the edges that they continue.
  void AddAll() {
    for (const Tile& tile : layout_.tiles) {
      const PixelBox& place = tile.place;
      for (const int32_t x : {place.left - width_, place.right}) {
        Add(x, place.top, Side::kTop);
        Add(x, place.bottom, Side::kBottom);
      }
      for (const int32_t y : {place.top - width_, place.bottom}) {
        Add(place.left, y, Side::kLeft);
        Add(place.right, y, Side::kRight);
      }
    }
  }

 private:
  // As long as it stays on the paper; before another photograph it stops halfway.
  void Add(int32_t x, int32_t y, Side side) {
    int32_t length = std::min(length_, RoomOnPaper(x, y, side));
    if (length <= 0) return;
    const int32_t free = FreeLength(x, y, side, length);
    if (free < length) length = free / 2;
    if (length > 0) layout_.ticks.push_back(TickBox(x, y, side, length, width_));
  }

  int32_t RoomOnPaper(int32_t x, int32_t y, Side side) const {
    const PixelBox base = TickBox(x, y, side, 0, width_);
    if (base.left < 0 || base.top < 0 || base.right > layout_.width || base.bottom > layout_.height) return 0;
    return side == Side::kLeft    ? x
           : side == Side::kTop   ? y
           : side == Side::kRight ? layout_.width - x
                                  : layout_.height - y;
  }

  // Up to the first photograph in the way. Rows, and the photographs of one, do not overlap and are in their order.
  int32_t FreeLength(int32_t x, int32_t y, Side side, int32_t length) const {
    const PixelBox tick = TickBox(x, y, side, length, width_);
    int32_t free = length;
    auto row = std::partition_point(rows_.begin(), rows_.end(), [&](const Row& r) { return r.box.bottom <= tick.top; });
    for (; row != rows_.end() && row->box.top < tick.bottom; ++row) {
      const auto end = layout_.tiles.begin() + static_cast<ptrdiff_t>(row->last);
      auto tile = std::partition_point(layout_.tiles.begin() + static_cast<ptrdiff_t>(row->first), end,
                                       [&](const Tile& t) { return t.place.right <= tick.left; });
      for (; tile != end && tile->place.left < tick.right; ++tile) {
        if (tile->place.bottom > tick.top) free = std::min(free, Distance(x, y, side, tile->place));
      }
    }
    return free;
  }

  const int32_t length_, width_;
  const std::vector<Row>& rows_;
  SheetLayout& layout_;
};

std::string Millimetres(double width, double height) {
  return Decimal(width) + " x " + Decimal(height) + " mm";
}

void CheckTotal(const std::vector<TileKind>& kinds) {
  int64_t total = 0;
  for (const TileKind& kind : kinds) total += kind.count.value_or(1);
  if (total <= kMaxTiles) return;
  throw Failure(FailureCode::kSheetFull,
                std::to_string(total) + " photographs on one sheet are more than the " + std::to_string(kMaxTiles) +
                    " that are possible; take fewer copies",
                {{"wanted", static_cast<double>(total)}, {"limit", kMaxTiles}});
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

SheetLayout LayOutSheet(const SheetSpec& spec, const std::vector<TileKind>& kinds) {
  CheckTotal(kinds);
  const double scale = spec.dpi / kMillimetresPerInch;
  const Area asNamed{ToPixels(spec.paper.width, spec.dpi), ToPixels(spec.paper.height, spec.dpi), spec.marginMm * scale,
                     spec.gapMm * scale};
  Area area = asNamed;
  std::swap(area.width, area.height);
  const Filling turned = FillPaper(area, kinds);
  Filling filling = FillPaper(asNamed, kinds);
  if (std::pair(turned.complete, turned.Total()) > std::pair(filling.complete, filling.Total())) {
    filling = turned;
  } else {
    area = asNamed;
  }
  if (!filling.complete) FailToFit(spec, kinds, filling.Total());

  SheetLayout layout;
  layout.width = area.width;
  layout.height = area.height;
  const std::vector<Row> rows = PlaceTiles(area, kinds, *Packer(area, kinds).Pack(filling.counts), &layout);
  TickDrawer(spec.dpi, rows, &layout).AddAll();
  return layout;
}

}  // namespace qx::photo
