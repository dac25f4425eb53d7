#include "beauty/skin/skin_region.h"

#include <cstdlib>

#include "base/buffer.h"
#include "base/exact_math.h"

namespace qx {
namespace {

// A rotation in 256ths.
struct Turn {
  int32_t sine, cosine;

  explicit Turn(double angle)
      : sine(TruncToInt32(256 * exact::Sin(angle))), cosine(TruncToInt32(256 * exact::Cos(angle))) {}
};

// a * b >> 8, where the product wraps.
int32_t Scale(int32_t a, int32_t b) {
  return WrapMul(a, b) >> 8;
}

// The point `distance` along the turned x axis or y axis from a centre.
Point AlongX(Point centre, int32_t distance, const Turn& turn) {
  return {WrapAdd(Scale(distance, turn.cosine), centre.x), WrapAdd(Scale(distance, turn.sine), centre.y)};
}
Point AlongY(Point centre, int32_t distance, const Turn& turn) {
  return {WrapAdd(WrapSub(0, WrapMul(distance, turn.sine)) >> 8, centre.x),
          WrapAdd(Scale(distance, turn.cosine), centre.y)};
}

// A coordinate moved by a real distance and truncated, less the coordinate.
int32_t Offset(int32_t from, double by) {
  return WrapSub(TruncToInt32(from + by), from);
}

SkinBox BoxAround(const Point (&extremes)[4], int32_t width, int32_t height) {
  const auto [minX, maxX] = std::minmax({extremes[0].x, extremes[1].x, extremes[2].x, extremes[3].x});
  const auto [minY, maxY] = std::minmax({extremes[0].y, extremes[1].y, extremes[2].y, extremes[3].y});
  const int64_t marginX = TruncToInt32(static_cast<double>(int64_t{maxX} - minX) * 0.25);
  const int64_t marginY = TruncToInt32(static_cast<double>(int64_t{maxY} - minY) * 0.25);
  const auto wrap = [](int64_t v) { return static_cast<int32_t>(static_cast<int16_t>(static_cast<uint16_t>(v))); };
  return {wrap(std::max<int64_t>(minX - marginX, 0)), wrap(std::max<int64_t>(minY - marginY, 0)),
          wrap(std::min<int64_t>(maxX + marginX, width)), wrap(std::min<int64_t>(maxY + marginY, height))};
}

// i * i / axis^2 for whole i, the same quotient wherever it is asked for.
class Quotients {
 public:
  // entries: how many are worth keeping. Where memory is short, all are computed.
  Quotients(double axis, int64_t entries) : divisor_(axis * axis) {
    // From axis + 1 on, every quotient is above 1.
    const bool all = axis + 2 < static_cast<double>(entries);
    const auto count = all ? static_cast<uint64_t>(axis) + 2 : static_cast<uint64_t>(entries);
    if (!table_.Allocate(count)) return;
    for (uint64_t i = 0; i < count; ++i) table_[static_cast<size_t>(i)] = static_cast<double>(i * i) / divisor_;
    count_ = count;
    complete_ = all;
  }

  double At(int64_t i) const {
    const auto magnitude = static_cast<uint64_t>(std::abs(i));
    if (magnitude < count_) return table_[static_cast<size_t>(magnitude)];
    if (complete_) return 2;
    const auto square = static_cast<double>(magnitude) * static_cast<double>(magnitude);
    return square / divisor_;
  }

 private:
  double divisor_;
  Buffer<double> table_;
  uint64_t count_ = 0;
  bool complete_ = false;
};

class Ellipse {
 public:
  Ellipse(Point centre, double axisX, double axisY, const Turn& turn, int64_t entries)
      : centre_(centre), turn_(turn), alongX_(axisX, entries), alongY_(axisY, entries) {}

  // Raises one row of the region to the taper, from column left to right - 1.
  void DrawRow(int32_t y, int32_t left, int32_t right, const SkinTaper& taper, uint8_t* row) const {
    const int64_t oy = int64_t{y} - centre_.y, ox = int64_t{left} - centre_.x;
    int64_t u = turn_.cosine * ox - turn_.sine * oy, v = turn_.sine * ox + turn_.cosine * oy;
    for (int32_t x = left; x < right; ++x, u += turn_.cosine, v += turn_.sine) {
      const double q = alongX_.At(u >> 8) + alongY_.At(v >> 8);
      if (q <= 1) row[x] = std::max(row[x], taper[TruncToInt32(q * 100)]);
    }
  }

 private:
  Point centre_;
  Turn turn_;
  Quotients alongX_, alongY_;
};

}  // namespace

SkinTaper::SkinTaper() {
  for (int i = 0; i <= 100; ++i) {
    const double r = std::sqrt(i / 100.0);
    values_[i] = r <= 0.5 ? 255 : static_cast<uint8_t>(TruncToInt32((1 - exact::Cos(r * 6.28318530718)) * 0.5 * 255));
  }
}

void BuildSkinRegion(Point eye0, Point eye1, const SkinTaper& taper, const MutableImage& region, SkinBox* box) {
  const int32_t width = region.width, height = region.height;
  const double dx = WrapSub(eye1.x, eye0.x), dy = WrapSub(eye1.y, eye0.y);
  const double d = std::sqrt(dx * dx + dy * dy);
  const double angle = exact::Atan2(dy, dx);
  const double tall = 2.625 * d, wide = 3.5 * d, narrow = 1.75 * d;
  const Turn turn(angle);
  const Point upper = {WrapAdd(eye0.x, eye1.x) / 2, WrapAdd(eye0.y, eye1.y) / 2};
  const int32_t drop = TruncToInt32(-3.0 * d);
  const Point lower = {WrapAdd(Scale(drop, turn.sine), upper.x),
                       WrapAdd(Scale(WrapSub(0, drop), turn.cosine), upper.y)};
  const Point extremes[4] = {AlongY(upper, Offset(upper.y, -tall), turn), AlongX(lower, Offset(lower.x, -wide), turn),
                             AlongY(lower, Offset(lower.y, tall), turn), AlongX(lower, Offset(lower.x, wide), turn)};
  *box = BoxAround(extremes, width, height);
  const SkinBox area = ClipBox(*box, width, height);
  const Turn back(-angle);
  const int64_t entries = int64_t{width} + height + 2;
  const Ellipse ellipses[2] = {{upper, narrow, tall, back, entries}, {lower, wide, tall, back, entries}};
  for (int32_t y = area.top; y < area.bottom; ++y) {
    uint8_t* row = region.Row(y);
    for (const Ellipse& ellipse : ellipses) ellipse.DrawRow(y, area.left, area.right, taper, row);
  }
}

}  // namespace qx
