#include "photo/render/render.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "base/exact_math.h"
#include "photo/render/extend_colours.h"

namespace qx::photo {
namespace {

constexpr double kLobes = 3;
constexpr double kPi = 3.14159265358979323846;
constexpr int32_t kPhases = 1024;  // places between two samples that have weights of their own

// Blue, green and red, each times the coverage, and the coverage: four numbers that the compiler handles as one.
using Pixel = float __attribute__((vector_size(16)));

double Lanczos(double x) {
  if (x == 0) return 1;
  if (std::abs(x) >= kLobes) return 0;
  return kLobes * exact::QuickSin(kPi * x) * exact::QuickSin(kPi * x / kLobes) / (kPi * kPi * x * x);
}

// The kernel's weights at every phase, stretched when the picture shrinks.
class Kernel {
 public:
  explicit Kernel(double scale) {
    const double stretch = std::max(scale, 1.0);
    reach_ = static_cast<int32_t>(std::ceil(kLobes * stretch));
    taps_ = 2 * reach_;
    weights_.resize(static_cast<size_t>(kPhases) * static_cast<size_t>(taps_));
    std::vector<double> row(static_cast<size_t>(taps_));
    float* to = weights_.data();
    for (int32_t phase = 0; phase < kPhases; ++phase) {
      double sum = 0;
      for (int32_t k = 0; k < taps_; ++k) {
        const double distance = k - (reach_ - 1) - static_cast<double>(phase) / kPhases;
        sum += row[static_cast<size_t>(k)] = Lanczos(distance / stretch);
      }
      for (const double weight : row) *to++ = static_cast<float>(weight / sum);
    }
  }

  int32_t Taps() const { return taps_; }
  // The weights for a place (the middle of the first sample is 0), and the first sample that they stand for.
  const float* At(double place, int32_t* first) const {
    const double lower = std::floor(place);
    auto phase = static_cast<int32_t>((place - lower) * kPhases + 0.5);
    *first = static_cast<int32_t>(lower) - (reach_ - 1);
    if (phase == kPhases) {
      phase = 0;
      ++*first;
    }
    return weights_.data() + static_cast<size_t>(phase) * static_cast<size_t>(taps_);
  }

 private:
  int32_t reach_ = 0, taps_ = 0;
  std::vector<float> weights_;
};

// From the document's pixels to places in the part's picture, middles of pixels at halves: x = a i + b j + c,
// y = d i + e j + f.
struct Mapping {
  double a, b, c, d, e, f;
};

Mapping MapDocument(const PhotographPart& part, const Turn& turn, const Rectangle& rectangle,
                    const Document& document) {
  const PlacePoint origin = turn.Back({rectangle.left, rectangle.top});
  const double stepX = rectangle.width / document.width, stepY = rectangle.height / document.height;
  const double sx = part.ScaleX(), sy = part.ScaleY();
  return {turn.Cos() * stepX * sx,  turn.Sin() * stepY * sx, (origin.x - part.box.left) * sx,
          -turn.Sin() * stepX * sy, turn.Cos() * stepY * sy, (origin.y - part.box.top) * sy};
}

// At which sides of the part's picture the background begins.
struct Ends {
  bool left = false, top = false, right = false;
};

Ends FindEnds(const PhotographPart& part, const Turn& turn, const Rectangle& rectangle) {
  Ends ends;
  for (const PlacePoint corner : {PlacePoint{rectangle.left, rectangle.top},
                                  {rectangle.Right(), rectangle.top},
                                  {rectangle.left, rectangle.Bottom()},
                                  {rectangle.Right(), rectangle.Bottom()}}) {
    const PlacePoint there = turn.Back(corner);
    ends.left |= there.x < 0 && part.box.left == 0;
    ends.top |= there.y < 0 && part.box.top == 0;
    ends.right |= there.x > part.width && part.box.right == part.width;
  }
  return ends;
}

// One rendering: the rows of the part are brought to the document's columns, then the columns to its rows.
class Rendering {
 public:
  Rendering(const PhotographPart& part, const Mask& mask, const Background& background, const Turn& turn,
            const Rectangle& rectangle, const Document& document)
      : picture_(part.picture),
        mask_(mask),
        background_(background),
        map_(MapDocument(part, turn, rectangle, document)),
        ends_(background.IsKeep() ? Ends() : FindEnds(part, turn, rectangle)),
        width_(document.width),
        height_(document.height),
        along_(std::abs(map_.a - map_.b * map_.d / map_.e)),
        across_(std::abs(map_.e)) {}

  // Fills `alpha` when the background is transparent, and both when `own` is wanted.
  Image Render(Mask* alpha, Image* own) {
    FindRows();
    rows_.resize(static_cast<size_t>(last_ - first_ + 1) * static_cast<size_t>(width_));
    padding_ = along_.Taps();
    line_.resize(static_cast<size_t>(picture_.width) + 2 * static_cast<size_t>(padding_));
    for (int32_t y = first_; y <= last_; ++y) ResizeRow(y, rows_.data() + RowOffset(y));
    Image document(width_, height_);
    Image* const persons = background_.IsTransparent() ? &document : own;
    if (own) *own = Image(width_, height_);
    if (persons) *alpha = Mask(width_, height_);
    sums_.resize(static_cast<size_t>(width_));
    for (int32_t j = 0; j < height_; ++j) {
      for (int32_t i = 0; i < width_; ++i) sums_[static_cast<size_t>(i)] = SumColumn(i, j);
      if (persons != &document) MixRow(j, document.At(0, j));
      if (persons) DivideRow(persons->At(0, j), alpha->Row(j));
    }
    if (persons) ExtendColours(*alpha, persons);
    return document;
  }

 private:
  // The rows of the part that the document needs.
  void FindRows() {
    double lowest = map_.f, highest = map_.f;
    for (const double i : {0.0, static_cast<double>(width_)}) {
      for (const double j : {0.0, static_cast<double>(height_)}) {
        const double y = map_.d * i + map_.e * j + map_.f;
        lowest = std::min(lowest, y);
        highest = std::max(highest, y);
      }
    }
    first_ = static_cast<int32_t>(std::floor(lowest)) - across_.Taps() / 2 - 1;
    last_ = static_cast<int32_t>(std::ceil(highest)) + across_.Taps() / 2 + 1;
  }

  size_t RowOffset(int32_t row) const { return static_cast<size_t>(row - first_) * static_cast<size_t>(width_); }

  // The row of the part with its border continued or left empty.
  void FillLine(int32_t row) {
    const uint8_t* bgr = picture_.At(0, row);
    const uint8_t* coverage = background_.IsKeep() ? nullptr : mask_.Row(row);
    Pixel* const own = line_.data() + padding_;
    for (int32_t x = 0; x < picture_.width; ++x, bgr += 3) {
      const float share = coverage ? static_cast<float>(coverage[x]) / 255 : 1.0f;
      own[x] = Pixel{static_cast<float>(bgr[0]), static_cast<float>(bgr[1]), static_cast<float>(bgr[2]), 1} * share;
    }
    Pixel* const end = own + picture_.width;
    std::fill(line_.data(), own, ends_.left ? Pixel{} : *own);
    std::fill(end, end + padding_, ends_.right ? Pixel{} : end[-1]);
  }

  // Brings a row of the part, which may lie outside of it, to the document's columns.
  void ResizeRow(int32_t y, Pixel* out) {
    if (y < 0 && ends_.top) {
      std::fill_n(out, width_, Pixel{});
      return;
    }
    FillLine(std::clamp(y, 0, picture_.height - 1));
    const double step = map_.a - map_.b * map_.d / map_.e;
    const double start = map_.b / map_.e * (y + 0.5 - map_.f) + map_.c - 0.5;
    const int32_t taps = along_.Taps(), size = picture_.width;
    for (int32_t i = 0; i < width_; ++i) {
      int32_t first = 0;
      const float* weight = along_.At(std::clamp(start + step * (i + 0.5), -1e6, 1e6), &first);
      // Further outside all samples are alike.
      const Pixel* sample = line_.data() + std::clamp(first, -padding_, size) + padding_;
      Pixel sum{};
      for (int32_t k = 0; k < taps; ++k) sum += weight[k] * sample[k];
      out[i] = sum;
    }
  }

  // Brings the columns to a row of the document: a pixel.
  Pixel SumColumn(int32_t i, int32_t j) const {
    int32_t first = 0;
    const float* weight = across_.At(map_.d * (i + 0.5) + map_.e * (j + 0.5) + map_.f - 0.5, &first);
    const Pixel* sample = rows_.data() + RowOffset(first) + i;
    const int32_t taps = across_.Taps();
    Pixel sum{};
    for (int32_t k = 0; k < taps; ++k, sample += width_) sum += weight[k] * *sample;
    return sum;
  }

  // Before the background.
  void MixRow(int32_t j, uint8_t* out) const {
    BackgroundRow row(background_, width_, height_);
    row.Start(j);
    for (int32_t i = 0; i < width_; ++i, out += 3) {
      const Colour behind = row.At(i);
      const Pixel colour{static_cast<float>(behind.blue), static_cast<float>(behind.green),
                         static_cast<float>(behind.red), 0};
      Pixel sum = sums_[static_cast<size_t>(i)];
      sum += colour * (1 - sum[3]) + 0.5f;
      for (int c = 0; c < 3; ++c) out[c] = static_cast<uint8_t>(std::clamp(sum[c], 0.0f, 255.0f));
    }
  }

  // Before none: the person's own colours. Where the kernel swings beyond full coverage, they stay as they are: which
  // colours the swing would lead away from is not known.
  void DivideRow(uint8_t* out, uint8_t* alpha) const {
    for (int32_t i = 0; i < width_; ++i, out += 3, ++alpha) {
      const Pixel sum = sums_[static_cast<size_t>(i)];
      *alpha = static_cast<uint8_t>(std::clamp(sum[3], 0.0f, 1.0f) * 255 + 0.5f);
      for (int c = 0; c < 3; ++c) {
        out[c] = *alpha == 0 ? uint8_t{0} : static_cast<uint8_t>(std::clamp(sum[c] / sum[3] + 0.5f, 0.0f, 255.0f));
      }
    }
  }

  const Image& picture_;
  const Mask& mask_;
  const Background& background_;
  const Mapping map_;
  const Ends ends_;
  const int32_t width_, height_;
  const Kernel along_, across_;
  int32_t first_ = 0, last_ = 0;  // rows of the part, both inclusive
  int32_t padding_ = 0;           // samples beside the line's own
  std::vector<Pixel, UnfilledAllocator<Pixel>> line_;
  std::vector<Pixel, UnfilledAllocator<Pixel>> rows_;  // resized ones, from the first to the last
  std::vector<Pixel, UnfilledAllocator<Pixel>> sums_;  // a row of the document
};

}  // namespace

Image RenderPhoto(const PhotographPart& part, const Mask& mask, const Background& background, const Turn& turn,
                  const Rectangle& rectangle, const Document& document, Mask* alpha, Image* own) {
  return Rendering(part, mask, background, turn, rectangle, document).Render(alpha, own);
}

int32_t RenderReach(double scale) {
  return static_cast<int32_t>(std::ceil(kLobes * std::max(scale, 1.0))) + 2;
}

}  // namespace qx::photo
