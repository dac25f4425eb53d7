#include "beauty/shape/lens_warp.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/buffer.h"
#include "base/exact_math.h"
#include "base/number.h"
#include "kernels/beauty_kernels.h"

namespace qx {
namespace {

constexpr int32_t kClosed = 100;  // region values below this leave an eye alone
constexpr int32_t kShrink = 0;
constexpr int32_t kMagnify = 1;
constexpr float kStays = std::numeric_limits<float>::quiet_NaN();  // position of a pixel that does not move

struct LensParams {
  int32_t centreX, centreY;
  float amount;  // A: height of the bump
  float spread;  // K: exp(r * r / K) is its profile
  float radius;  // R: of the affected disc
};

double Distance(Point a, Point b) {
  return std::sqrt(static_cast<double>(SquaredDistance(a, b)));
}

double EyeAmount(double width, double height, double strength) {
  constexpr double kPi = 3.14159265359;
  const double t = (width / height) / 3.0;
  const double u = t < 1 ? t / ((1 - t) * 2 + 1) : ((t - 1) * 2 + 1) * t;
  double amount = std::sqrt(u) * strength * 0.6;
  if (amount >= 5.0) amount = 5.0;
  // Fades in between 15 and 25 pixels of width.
  if (15.0 <= width && width <= 25.0) {
    amount = amount * exact::Sin((180 - (width - 15) * 9) * kPi / 180);
  } else if (width < 15.0) {
    amount = 0;
  }
  return amount;
}

LensParams MakeLens(FaceRegion region, const Point* points, double strength) {
  LensParams lens;
  lens.centreX = WrapAdd(points[0].x, points[1].x) / 2;
  lens.centreY = WrapAdd(points[0].y, points[1].y) / 2;
  const double width = Distance(points[0], points[1]);
  const double half = Distance(points[0], {lens.centreX, lens.centreY});
  double amount;
  if (region == FaceRegion::kMouth) {
    amount = width / 50.0 * strength;
    if (amount >= 5.0) amount = 5.0;
    lens.radius = static_cast<float>(1.5 * half);
  } else {
    amount = EyeAmount(width, Distance(points[2], points[3]), strength);
    lens.radius = static_cast<float>(3.0 * half);
  }
  lens.amount = static_cast<float>(amount);
  lens.spread = -(lens.radius * lens.radius / exact::Log(0.03f));
  return lens;
}

// The radius at which a pixel at radius r, at most the lens', takes its colour, or kStays. Everything but the two named
// steps is computed in single precision.
float SourceRadius(const LensParams& lens, float r, bool magnify) {
  const float profile = exact::Exp(r * r / lens.spread);
  const float slope = profile * (lens.spread / lens.amount * 0.5f / r);
  const auto incidence = static_cast<float>(1.570796326795 - static_cast<double>(exact::Atan(slope)));
  const auto refracted = static_cast<float>(static_cast<double>(exact::Sin(incidence)) / 1.3333333333333333);
  const float deviation = exact::Tan(incidence - exact::Asin(refracted));
  if (!(static_cast<double>(std::fabs(deviation)) >= 1e-6)) return kStays;
  const float height = exact::Exp(-(r * r) / lens.spread);
  const float shift = (height * lens.amount + lens.radius) * deviation;
  return magnify ? r - shift : r + shift;
}

// Whole positions from trunc(centre - radius - 0.5) while below centre + radius + 0.5, inside 0 to extent - 1.
struct Span {
  int64_t begin, end;
  int64_t Count() const { return std::max<int64_t>(end - begin, 0); }
};
Span Reach(int32_t centre, float radius, int32_t extent) {
  const auto c = static_cast<float>(centre);
  const int64_t begin = TruncToInt32(static_cast<double>(c - radius) - 0.5);
  const double end = std::ceil(static_cast<double>(c + radius) + 0.5);
  const double bounded = std::min(end, static_cast<double>(extent));
  return {std::max<int64_t>(begin, 0), std::isnan(end) ? 0 : TruncToInt32(std::max(bounded, 0.0))};
}

// The pixels that a lens may reach, and where each takes its colour.
class LensField {
 public:
  LensField(const LensParams& lens, bool magnify, int32_t width, int32_t height)
      : lens_(lens),
        magnify_(magnify),
        columns_(Reach(lens.centreX, lens.radius, width)),
        rows_(Reach(lens.centreY, lens.radius, height)) {
    if (Tabulates()) FillTable();
  }

  Span Rows() const { return rows_; }

  // Columns of row y that lie in the disc; without a table some more, which stay.
  Span Columns(int64_t y) const {
    if (!table_) return columns_;
    const int64_t dy = y - lens_.centreY;
    if (dy * dy > largestSquare_) return {0, 0};
    auto half = static_cast<int64_t>(std::sqrt(static_cast<double>(largestSquare_ - dy * dy)));
    return {std::max(columns_.begin, lens_.centreX - half), std::min(columns_.end, lens_.centreX + half + 1)};
  }

  // Positions of `count` pixels from (x, y) on; not a number for those that stay.
  void Positions(int64_t x, int64_t y, size_t count, float* sx, float* sy) const {
    const auto centreX = static_cast<float>(lens_.centreX), centreY = static_cast<float>(lens_.centreY);
    if (table_) {
      ActiveBeautyKernels().lensPositions(table_.data(), static_cast<int32_t>(x - lens_.centreX),
                                          static_cast<int32_t>(y - lens_.centreY), centreX, centreY, count, sx, sy);
      return;
    }
    const float dy = static_cast<float>(y) - centreY;
    for (size_t k = 0; k < count; ++k) {
      const float dx = static_cast<float>(x + static_cast<int64_t>(k)) - centreX;
      const float r = std::sqrt(dx * dx + dy * dy);
      const float s = r > lens_.radius ? kStays : SourceRadius(lens_, r, magnify_);
      sx[k] = s * dx / r + centreX;
      sy[k] = s * dy / r + centreY;
    }
  }

 private:
  // dx * dx + dy * dy is a whole number that is an exact float, and a table of it is no larger than it helps.
  bool Tabulates() {
    constexpr float kLargestRadius = 4090.0f;  // squares below 2^24
    constexpr int32_t kFarthest = 1 << 23;
    if (!(lens_.radius <= kLargestRadius) || std::abs(int64_t{lens_.centreX}) > kFarthest ||
        std::abs(int64_t{lens_.centreY}) > kFarthest) {
      return false;
    }
    largestSquare_ = static_cast<int64_t>(lens_.radius * lens_.radius) + 1;
    while (std::sqrt(static_cast<float>(largestSquare_)) > lens_.radius) --largestSquare_;
    return largestSquare_ <= 4 * columns_.Count() * rows_.Count() &&
           table_.Allocate(static_cast<uint64_t>(largestSquare_) + 1);
  }

  // Every distance that occurs is computed once; the signs of dx and dy do not count.
  void FillTable() {
    constexpr float kUnknown = -std::numeric_limits<float>::infinity();
    std::fill_n(table_.data(), largestSquare_ + 1, kUnknown);
    const Span across = Distances(columns_, lens_.centreX), down = Distances(rows_, lens_.centreY);
    for (int64_t dy = down.begin; dy < down.end; ++dy) {
      for (int64_t dx = across.begin; dx < across.end && dx * dx + dy * dy <= largestSquare_; ++dx) {
        const int64_t square = dx * dx + dy * dy;
        float& entry = table_[static_cast<size_t>(square)];
        if (entry == kUnknown) entry = SourceRadius(lens_, std::sqrt(static_cast<float>(square)), magnify_);
      }
    }
  }

  // The distances from the centre of a span of positions.
  static Span Distances(Span span, int64_t centre) {
    const int64_t before = centre - span.begin, after = span.end - 1 - centre;
    const int64_t nearest = std::max<int64_t>({0, -before, -after});
    return {nearest, std::max(before, after) + 1};
  }

  const LensParams& lens_;
  bool magnify_;
  Span columns_, rows_;
  int64_t largestSquare_ = 0;  // dx * dx + dy * dy of pixels in the disc is at most this
  Buffer<float> table_;        // source radii by that
};

Status Warp(const SampleSource& source, const LensParams& lens, int32_t direction, uint8_t* destination) {
  constexpr size_t kRun = 256;
  float sx[kRun], sy[kRun];
  const LensField field(lens, direction == kMagnify, source.width, source.height);
  for (int64_t y = field.Rows().begin; y < field.Rows().end; ++y) {
    const Span columns = field.Columns(y);
    for (int64_t x = columns.begin; x < columns.end; x += kRun) {
      const size_t count = std::min(static_cast<size_t>(columns.end - x), kRun);
      field.Positions(x, y, count, sx, sy);
      if (direction != kShrink && direction != kMagnify) {
        if (!std::all_of(sx, sx + count, [](float position) { return std::isnan(position); }))
          return Status::kBadDirection;
        continue;
      }
      uint8_t* out = destination + static_cast<size_t>(y * source.width + x) * 3;
      ActiveBeautyKernels().lensSamples(source, sx, sy, count, out);
    }
  }
  return Status::kOk;
}

}  // namespace

Status LensWarp(const ImageView& source, FaceRegion region, const Point* points, int32_t regionValue, int32_t direction,
                double strength, uint8_t* destination) {
  if (source.height < 0 || source.width < 0 || source.pixels == nullptr || destination == nullptr) {
    return Status::kBadArgument;
  }
  CopyBytes(destination, source.pixels, source.Bytes());
  const LensParams lens = MakeLens(region, points, strength);
  if (region != FaceRegion::kMouth && regionValue < kClosed) return Status::kOk;
  if (lens.amount == 0) return Status::kOk;  // a flat lens turns no ray by as much as counts
  return Warp({source.pixels, source.width, source.height}, lens, direction, destination);
}

}  // namespace qx
