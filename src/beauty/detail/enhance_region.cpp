#include "beauty/detail/enhance_region.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/buffer.h"
#include "base/number.h"
#include "beauty/detail/boost_detail.h"

namespace qx {
namespace {

constexpr int64_t kFeather = 10;  // the soft edge is the mean of a square of twice this and one

// Half-open ranges of columns and rows.
struct Box {
  int64_t left, top, right, bottom;
  int64_t Width() const { return right - left; }
  int64_t Height() const { return bottom - top; }
  bool Empty() const { return Width() <= 0 || Height() <= 0; }
};

// The ellipse's square and its marks: 1 inside the ellipse, 0 elsewhere.
struct Ellipse {
  Box square;  // clipped to the image
  ByteBuffer marks;
};

double Distance(Point a, Point b) {
  const double dx = static_cast<double>(b.x) - a.x, dy = static_cast<double>(b.y) - a.y;
  return std::sqrt(dx * dx + dy * dy);
}

Box SquareAround(double length, double span, Point centre, int32_t width, int32_t height) {
  const int64_t half = TruncToInt32(std::sqrt(span * span + length * length) * 0.5 + 0.5);
  return {std::max<int64_t>(centre.x - half, 0), std::max<int64_t>(centre.y - half, 0),
          std::min<int64_t>(centre.x + half, int64_t{width} - 1) + 1,
          std::min<int64_t>(centre.y + half, int64_t{height} - 1) + 1};
}

bool MarkEllipse(const Point* region, int32_t width, int32_t height, Ellipse* ellipse) {
  const Point centre = {WrapAdd(region[0].x, region[1].x) / 2, WrapAdd(region[0].y, region[1].y) / 2};
  const double length = Distance(region[0], region[1]);
  const double span = Distance(region[2], region[3]);
  ellipse->square = SquareAround(length, span, centre, width, height);
  const Box& box = ellipse->square;
  if (box.Empty()) return true;
  if (!ellipse->marks.Allocate(static_cast<uint64_t>(box.Width() * box.Height()))) return false;

  // Not finite where the first two points coincide; no pixel passes then.
  const double ux = (static_cast<double>(region[1].x) - region[0].x) / length;
  const double uy = (static_cast<double>(region[1].y) - region[0].y) / length;
  const double alongCentre = TruncToInt32(centre.x * ux + centre.y * uy);
  const double acrossCentre = TruncToInt32(centre.x * -uy + centre.y * ux);
  const double a = (length / 2 + 1) * (length / 2 + 1);
  const double b = (span / 2 + 1) * (span / 2 + 1);
  uint8_t* mark = ellipse->marks.data();
  for (int64_t y = box.top; y < box.bottom; ++y) {
    for (int64_t x = box.left; x < box.right; ++x) {
      const auto px = static_cast<double>(x), py = static_cast<double>(y);
      const double along = (px * ux + py * uy) - alongCentre;
      const double across = (px * -uy + py * ux) - acrossCentre;
      *mark++ = along * along / a + across * across / b <= 1 ? 1 : 0;
    }
  }
  return true;
}

// Sharpens the reference inside the box. False when memory is short.
bool BoostReference(const MutableImage& reference, const Box& box) {
  const auto bytes = static_cast<size_t>(box.Width()) * 3;
  const auto rows = static_cast<size_t>(box.Height());
  ByteBuffer patch, boosted;
  if (!patch.Allocate(bytes * rows) || !boosted.Allocate(bytes * rows)) return false;
  const auto at = [&](size_t row) {
    return reference.Row(static_cast<int32_t>(box.top)) + row * reference.Stride() + static_cast<size_t>(box.left) * 3;
  };
  for (size_t row = 0; row < rows; ++row) std::memcpy(patch.data() + row * bytes, at(row), bytes);
  const ImageView view = {patch.data(), static_cast<int32_t>(box.Width()), static_cast<int32_t>(box.Height()), 3};
  if (BoostDetail(view, boosted.data()) != Status::kOk) return false;
  for (size_t row = 0; row < rows; ++row) std::memcpy(at(row), boosted.data() + row * bytes, bytes);
  return true;
}

// Marked pixels of the ellipse in the square of the feather around positions of one row, from running column sums.
class MarkCounter {
 public:
  explicit MarkCounter(const Ellipse& ellipse) : ellipse_(ellipse) {}

  bool Prepare() { return ellipse_.square.Empty() || sums_.AllocateZeroed(Columns() + 1); }

  // Moves to the rows from - kFeather to + kFeather around y.
  void MoveTo(int64_t y) {
    for (; nextIn_ <= y + kFeather; ++nextIn_) AddRow(nextIn_, 1);
    for (; nextOut_ < y - kFeather; ++nextOut_) AddRow(nextOut_, -1);
    int64_t total = 0;
    for (size_t i = 0; i < Columns(); ++i) {
      cumulative(i) = total;
      total += sums_[i].column;
    }
    cumulative(Columns()) = total;
  }

  // Around column x of the current rows.
  int64_t Count(int64_t x) const {
    const Box& box = ellipse_.square;
    const int64_t from = std::clamp<int64_t>(x - kFeather - box.left, 0, box.Width());
    const int64_t to = std::clamp<int64_t>(x + kFeather + 1 - box.left, 0, box.Width());
    return sums_[static_cast<size_t>(to)].before - sums_[static_cast<size_t>(from)].before;
  }

 private:
  struct Sums {
    int64_t column;  // marks of the column in the current rows
    int64_t before;  // marks of all columns to the left
  };

  size_t Columns() const { return static_cast<size_t>(ellipse_.square.Width()); }
  int64_t& cumulative(size_t i) { return sums_[i].before; }
  void AddRow(int64_t y, int sign) {
    const Box& box = ellipse_.square;
    if (y < box.top || y >= box.bottom) return;
    const uint8_t* row = ellipse_.marks.data() + static_cast<size_t>(y - box.top) * Columns();
    for (size_t i = 0; i < Columns(); ++i) sums_[i].column += sign * row[i];
  }

  const Ellipse& ellipse_;
  Buffer<Sums> sums_;
  int64_t nextIn_ = 0, nextOut_ = 0;
};

// Pixels of the image in the feather's square along one axis.
int64_t Covered(int64_t i, int64_t extent) {
  return std::min(i + kFeather, extent - 1) - std::max<int64_t>(i - kFeather, 0) + 1;
}

void BlendBox(const uint8_t* reference, const ImageView& input, const Box& box, double factor, MarkCounter* marks,
              uint8_t* output) {
  for (int64_t y = box.top; y < box.bottom; ++y) {
    marks->MoveTo(y);
    for (int64_t x = box.left; x < box.right; ++x) {
      const int64_t marked = marks->Count(x);
      if (marked == 0) continue;  // all of the input
      const int64_t count = Covered(x, input.width) * Covered(y, input.height);
      const double alpha = static_cast<double>(marked) / static_cast<double>(count) * factor;
      const auto at = static_cast<size_t>(y * input.width + x) * 3;
      for (size_t c = at; c < at + 3; ++c) {
        output[c] = static_cast<uint8_t>(TruncToInt32(input.pixels[c] * (1 - alpha) + reference[c] * alpha));
      }
    }
  }
}

}  // namespace

Status EnhanceRegion(uint8_t* reference, const ImageView& input, const Point* region, double factor, uint8_t* output) {
  const int32_t width = input.width, height = input.height;
  if (width < 0 || height < 0 || input.pixels == nullptr || !(factor >= 0 && factor <= 1)) return Status::kBadArgument;
  CopyBytes(output, input.pixels, input.Bytes());
  if (factor == 0) return Status::kOk;
  Ellipse ellipse;
  if (!MarkEllipse(region, width, height, &ellipse)) return Status::kMemoryShort;
  const Box& square = ellipse.square;
  if (square.Empty()) return Status::kOk;
  const Box box = {std::max<int64_t>(square.left - kFeather, 0), std::max<int64_t>(square.top - kFeather, 0),
                   std::min<int64_t>(square.right - 1 + kFeather, int64_t{width} - 1),
                   std::min<int64_t>(square.bottom - 1 + kFeather, int64_t{height} - 1)};
  if (box.Empty()) return Status::kOk;
  MarkCounter marks(ellipse);
  if (!marks.Prepare() || !BoostReference({reference, width, height, 3}, box)) return Status::kMemoryShort;
  BlendBox(reference, input, box, factor, &marks, output);
  return Status::kOk;
}

}  // namespace qx
