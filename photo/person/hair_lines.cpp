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
      : picture_(picture),
        crop_(crop),
        alpha_(alpha),
        mask_(*mask),
        zone_(static_cast<size_t>(crop.mask.width)),
        least_(zone_.size() + 2),
        most_(zone_.size() + 2) {
    for (FittedRow& row : rows_) row.lines.resize(zone_.size());
  }

  void Lay() {
    if (crop_.mask.width == crop_.box.Width() && crop_.mask.height == crop_.box.Height()) return LayAsItIs();
    columns_ = PlacesOf(crop_.box.Width(), crop_.mask.width);
    const std::vector<Place> rows = PlacesOf(crop_.box.Height(), crop_.mask.height);
    for (size_t y = 0; y < rows.size(); ++y) {
      const FittedRow &above = Fitted(rows[y].before), &below = Fitted(rows[y].after);
      if (y == 0 || rows[y].before != rows[y - 1].before) {
        crop_.HairZone(rows[y].before, zone_.data());
        FindRuns(above, below);
      }
      for (const Run& run : runs_) LayRun(run, above, below, rows[y].part, crop_.box.top + static_cast<int>(y));
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
    for (size_t i = 0; i < columns_.size(); ++i) {
      const auto before = static_cast<size_t>(columns_[i].before), after = static_cast<size_t>(columns_[i].after);
      if (i > 0 && columns_[i].before == columns_[i - 1].before) {
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
    uint8_t* to = mask_.Row(y) + crop_.box.left;
    if (!(run.zone > 0)) return;
    if (!run.even) return LayUneven(run, above, below, part, y);
    if (run.zone == 1 && (run.alpha == 0 || run.alpha == 1)) {
      std::fill(to + run.begin, to + run.end, static_cast<uint8_t>(run.alpha == 1 ? 255 : 0));
      return;
    }
    for (size_t i = run.begin; i < run.end; ++i) to[i] = Mix(run.zone, run.alpha, to[i]);
  }

  void LayUneven(const Run& run, const FittedRow& above, const FittedRow& below, float part, int y) {
    const uint8_t* bgr = picture_.At(crop_.box.left + static_cast<int>(run.begin), y);
    uint8_t* to = mask_.Row(y) + crop_.box.left;
    for (size_t i = run.begin; i < run.end; ++i, bgr += 3) {
      const Place& place = columns_[i];
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
    FittedRow& row = rows_[static_cast<size_t>(y % 2)];
    if (row.row == y) return row;
    row.row = y;
    const int last = crop_.mask.height - 1;
    const float *above = AlphaRow(std::max(y - 1, 0)), *own = AlphaRow(y), *below = AlphaRow(std::min(y + 1, last));
    const size_t width = zone_.size();
    for (size_t x = 0; x < width; ++x) {
      least_[x + 1] = std::min(std::min(above[x], own[x]), below[x]);
      most_[x + 1] = std::max(std::max(above[x], own[x]), below[x]);
    }
    least_[0] = least_[1], least_[width + 1] = least_[width];
    most_[0] = most_[1], most_[width + 1] = most_[width];
    for (size_t x = 0; x < width; ++x) {
      const float least = std::min(std::min(least_[x], least_[x + 1]), least_[x + 2]);
      const float most = std::max(std::max(most_[x], most_[x + 1]), most_[x + 2]);
      row.lines[x] = Line{Line::Four{0, 0, 0, own[x]}, least, most};
      if (most - least >= kFlat) row.lines[x].slopes = FitLine(static_cast<int>(x), y);
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
    for (int v = std::max(y - 1, 0); v <= std::min(y + 1, crop_.mask.height - 1); ++v) {
      for (int u = std::max(x - 1, 0); u <= std::min(x + 1, crop_.mask.width - 1); ++u) {
        const uint8_t* bgr = crop_.colours.At(u, v);
        const auto pixel = __builtin_convertvector((Whole{bgr[0], bgr[1], bgr[2], 1}), Line::Four);
        const auto turned = __builtin_convertvector((Whole{bgr[1], bgr[2], bgr[0], 1}), Line::Four);
        m.colours += pixel;
        m.withAlpha += pixel * AlphaRow(v)[u];
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

  const Image& picture_;
  const HeadCrop& crop_;
  const Floats& alpha_;
  Mask& mask_;
  std::vector<Place> columns_;
  std::vector<float> zone_;
  std::vector<float> least_, most_;  // of three rows, with one column more on both sides
  std::array<FittedRow, 2> rows_;
  std::vector<Run> runs_;
};

}  // namespace

void LayAlpha(const Image& picture, const HeadCrop& crop, const Floats& alpha, Mask* mask) {
  AlphaLayer(picture, crop, alpha, mask).Lay();
}

}  // namespace qx::photo
