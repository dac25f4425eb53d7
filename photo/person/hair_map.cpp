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
        zone_(static_cast<size_t>(hair.alpha.width)),
        least_(zone_.size() + 2),
        most_(zone_.size() + 2) {
    for (FittedRow& row : fitted_) row.lines.resize(zone_.size());
  }

  void Lay() {
    const bool whole = columns_.IsAligned() && rows_.IsAligned();
    int before = -1;
    for (size_t y = 0; y < rows_.Places().size(); ++y) {
      const Place& row = rows_.Places()[y];
      const bool isNew = row.before != before;
      before = row.before;
      if (isNew) HairZone(hair_.faces, hair_.faceWidth, before, hair_.alpha.width, zone_.data());
      const int to = rows_.First() + static_cast<int>(y);
      if (whole) {
        CopyRow(before, to);
        continue;
      }
      const FittedRow &above = Fitted(before), &below = Fitted(row.after);
      if (isNew) FindRuns(above, below);
      for (const Run& run : runs_) LayRun(run, above, below, row.part, to);
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

  // Columns of the picture, `end` not included, that lie alike in the zone and in cells between four pixels of the crop
  // with one alpha, or with several.
  struct Run {
    size_t begin, end;
    bool even;
    float alpha, zone;
  };

  // Picture rows between the same two of the crop share their runs.
  void FindRuns(const FittedRow& above, const FittedRow& below) {
    runs_.clear();
    const std::vector<Place>& places = columns_.Places();
    for (size_t i = 0; i < places.size(); ++i) {
      const auto before = static_cast<size_t>(places[i].before), after = static_cast<size_t>(places[i].after);
      if (i > 0 && places[i].before == places[i - 1].before) {
        ++runs_.back().end;
        continue;
      }
      const Line &a = above.lines[before], &b = above.lines[after], &c = below.lines[before], &d = below.lines[after];
      const float least = std::min(std::min(a.least, b.least), std::min(c.least, d.least));
      const float most = std::max(std::max(a.most, b.most), std::max(c.most, d.most));
      const Run run{i, i + 1, least >= most, a.least, zone_[before]};
      const bool goesOn = i > 0 && run.even == runs_.back().even && run.zone == runs_.back().zone;
      if (goesOn && (!run.even || run.alpha == runs_.back().alpha)) {
        ++runs_.back().end;
      } else {
        runs_.push_back(run);
      }
    }
  }

  void LayRun(const Run& run, const FittedRow& above, const FittedRow& below, float part, int y) {
    uint8_t* to = mask_.Row(y) + columns_.First();
    if (!(run.zone > 0)) return;
    if (!run.even) return LayUneven(run, above, below, part, y);
    if (run.zone == 1 && (run.alpha == 0 || run.alpha == 255)) {
      std::fill(to + run.begin, to + run.end, static_cast<uint8_t>(run.alpha == 255 ? 255 : 0));
      return;
    }
    for (size_t i = run.begin; i < run.end; ++i) to[i] = Mix(run.zone, run.alpha, to[i]);
  }

  void LayUneven(const Run& run, const FittedRow& above, const FittedRow& below, float part, int y) {
    const uint8_t* bgr = picture_.At(columns_.First() + static_cast<int>(run.begin), y);
    uint8_t* to = mask_.Row(y) + columns_.First();
    for (size_t i = run.begin; i < run.end; ++i, bgr += 3) {
      const Place& place = columns_.Places()[i];
      const auto before = static_cast<size_t>(place.before), after = static_cast<size_t>(place.after);
      const Line line = Between(Between(above.lines[before], above.lines[after], place.part),
                                Between(below.lines[before], below.lines[after], place.part), part);
      float alpha = line.slopes[3];
      for (int c = 0; c < 3; ++c) alpha += line.slopes[c] * static_cast<float>(bgr[c]);
      to[i] = Mix(run.zone, std::clamp(alpha, line.least, line.most), to[i]);
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
    const size_t width = zone_.size();
    for (size_t x = 0; x < width; ++x) {
      least_[x + 1] = std::min(std::min(above[x], own[x]), below[x]);
      most_[x + 1] = std::max(std::max(above[x], own[x]), below[x]);
    }
    least_[0] = least_[1], least_[width + 1] = least_[width];
    most_[0] = most_[1], most_[width + 1] = most_[width];
    for (size_t x = 0; x < width; ++x) {
      const uint8_t least = std::min(std::min(least_[x], least_[x + 1]), least_[x + 2]);
      const uint8_t most = std::max(std::max(most_[x], most_[x + 1]), most_[x + 2]);
      row.lines[x] =
          Line{Line::Four{0, 0, 0, static_cast<float>(own[x])}, static_cast<float>(least), static_cast<float>(most)};
      if (most > least) row.lines[x].slopes = FitLine(static_cast<int>(x), y);
    }
    return row;
  }

  // Sums over 3 x 3 pixels: of blue, green, red and 1; these times alpha; their squares; blue times green, green times
  // red, red times blue.
  struct Moments {
    Line::Four colours{}, withAlpha{}, squares{}, mixed{};
  };

  Moments Sum(int x, int y) const {
    using Whole = int32_t __attribute__((vector_size(16)));
    Moments m;
    for (int v = std::max(y - 1, 0); v <= std::min(y + 1, hair_.alpha.height - 1); ++v) {
      for (int u = std::max(x - 1, 0); u <= std::min(x + 1, hair_.alpha.width - 1); ++u) {
        const uint8_t* bgr = hair_.colours.At(u, v);
        const auto pixel = __builtin_convertvector((Whole{bgr[0], bgr[1], bgr[2], 1}), Line::Four);
        const auto turned = __builtin_convertvector((Whole{bgr[1], bgr[2], bgr[0], 1}), Line::Four);
        m.colours += pixel;
        m.withAlpha += pixel * static_cast<float>(hair_.alpha.Row(v)[u]);
        m.squares += pixel * pixel;
        m.mixed += pixel * turned;
      }
    }
    return m;
  }

  // Least squares, by L D L'.
  Line::Four FitLine(int x, int y) const {
    const Moments m = Sum(x, y);
    const float part = 1 / m.colours[3], mean = m.withAlpha[3] * part;
    const float m0 = m.colours[0] * part, m1 = m.colours[1] * part, m2 = m.colours[2] * part;
    const float s00 = m.squares[0] * part - m0 * m0 + kEpsilon, s01 = m.mixed[0] * part - m0 * m1;
    const float s02 = m.mixed[2] * part - m0 * m2, s11 = m.squares[1] * part - m1 * m1 + kEpsilon;
    const float s12 = m.mixed[1] * part - m1 * m2, s22 = m.squares[2] * part - m2 * m2 + kEpsilon;
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
  Bytes least_, most_;  // of three rows, with one column more on both sides
  std::array<FittedRow, 2> fitted_;
  std::vector<Run> runs_;
};

}  // namespace

void LayHair(const HairMap& hair, const Image& picture, const Rectangle& window, Mask* mask) {
  AlphaLayer(hair, picture, window, mask).Lay();
}

}  // namespace qx::photo
