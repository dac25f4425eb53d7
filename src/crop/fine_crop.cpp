#include "crop/fine_crop.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "crop/mask_extents.h"

namespace qx {
namespace {

int64_t Rnd(double v) {
  return TruncToInt32(v + 0.5);
}

// The same without int32's upper limit: never below what Rnd gives, and monotonic.
int64_t RndBound(double v) {
  constexpr double kLowest = -2147483648.0, kHighest = 4e18;
  if (std::isnan(v)) return TruncToInt32(v);
  return static_cast<int64_t>(std::clamp(v + 0.5, kLowest, kHighest));
}

// Whether two numbers lie between the same powers of two, where the spacing of doubles is the same. Only there is
// h - Rnd(h * fraction) monotonic to the last step.
bool SameBinade(double a, double b) {
  return a > 0 && b > 0 && std::ilogb(a) == std::ilogb(b);
}

constexpr double kBeyond = 2147483648.0;  // the first number above int32

// A pair of bounds as fractions of the photograph's height.
struct Bounds {
  double min, max;
  bool InForce() const { return min > 0 && max > 0; }
};

// Heights and bottoms that a photograph of one face may have. For a given height the bottoms that meet all bounds are
// a run of consecutive rows, and each of its ends is monotonic in the height but for a rounding step; so a whole range
// of heights can be ruled out by its two ends, and no walk over rows or heights is needed.
class PortraitSearch {
 public:
  PortraitSearch(const FaceRecord& face, const FineCropParams& params, const MaskExtents& extents)
      : head_{params.headMin, params.headMax},
        top_{params.topMin, params.topMax},
        eye_{params.eyeMin, params.eyeMax},
        headTop_(extents.head.top),
        headLength_(extents.head.bottom - extents.head.top),
        eyeY_((static_cast<int64_t>(face.crop.keyPoints[0].y) + face.crop.keyPoints[1].y) / 2),
        lowestBottom_(extents.chinRow + 1),
        highestBottom_(extents.foreground.bottom) {}

  // Rows that meet the bounds at a height: first is the lowest number. Empty when first > last.
  struct Run {
    int64_t first, last;
  };

  bool Admissible(int64_t h) const {
    if (!head_.InForce()) return true;
    const auto height = static_cast<double>(h);
    return Rnd(height * head_.min) <= headLength_ && headLength_ <= Rnd(height * head_.max);
  }

  Run Bottoms(int64_t h) const {
    const auto height = static_cast<double>(h);
    Run run = {lowestBottom_, highestBottom_};
    if (eye_.InForce()) {
      run.first = std::max(run.first, eyeY_ + Rnd(height * eye_.min));
      run.last = std::min(run.last, eyeY_ + Rnd(height * eye_.max));
    }
    if (top_.InForce()) {
      run.first = std::max(run.first, headTop_ + h - Rnd(height * top_.max));
      run.last = std::min(run.last, headTop_ + h - Rnd(height * top_.min));
    }
    return run;
  }

  // The first height from lo up to hi, or from hi down to lo, that has a bottom.
  std::optional<int64_t> FirstHeight(int64_t lo, int64_t hi, bool upward) const {
    if (lo > hi || RuledOut(lo, hi)) return std::nullopt;
    if (lo == hi) return lo;  // a single height is ruled out exactly
    const int64_t middle = lo + (hi - lo) / 2;
    const auto found = upward ? FirstHeight(lo, middle, true) : FirstHeight(middle + 1, hi, false);
    if (found) return found;
    return upward ? FirstHeight(middle + 1, hi, true) : FirstHeight(lo, middle, false);
  }

 private:
  // The rows at which the space above the hair is a fraction of the height, for all heights from lo to hi: between
  // those of the ends. Nothing where the conversion to int32 leaves its range in between.
  std::optional<Run> BottomsOver(int64_t lo, int64_t hi, double fraction) const {
    const double a = static_cast<double>(lo) * fraction, b = static_cast<double>(hi) * fraction;
    if (!(b < kBeyond) || (a <= -kBeyond && b > -kBeyond)) return std::nullopt;
    const int64_t atLow = headTop_ + lo - RndBound(a), atHigh = headTop_ + hi - RndBound(b);
    const int64_t slack = SameBinade(a, b) ? 0 : 1;
    return Run{std::min(atLow, atHigh) - slack, std::max(atLow, atHigh) + slack};
  }

  // Whether no height from lo to hi can pass. Exact when lo == hi.
  bool RuledOut(int64_t lo, int64_t hi) const {
    if (lo == hi) {
      const Run run = Bottoms(lo);
      return !Admissible(lo) || run.first > run.last;
    }
    const auto low = static_cast<double>(lo), high = static_cast<double>(hi);
    // Beyond int32 an upper bound turns into the lowest integer, which nothing meets.
    for (const Bounds& b : {head_, eye_, top_}) {
      if (b.InForce() && low * b.max >= kBeyond) return true;
    }
    if (head_.InForce() && (RndBound(low * head_.min) > headLength_ || RndBound(high * head_.max) < headLength_)) {
      return true;
    }
    int64_t first = lowestBottom_, last = highestBottom_;
    if (eye_.InForce()) {
      first = std::max(first, eyeY_ + RndBound(low * eye_.min));
      last = std::min(last, eyeY_ + RndBound(high * eye_.max));
    }
    if (top_.InForce()) {
      if (const auto rows = BottomsOver(lo, hi, top_.max)) first = std::max(first, rows->first);
      if (const auto rows = BottomsOver(lo, hi, top_.min)) last = std::min(last, rows->last);
    }
    return first > last || BoundsPartOver(lo, hi);
  }

  // Whether the bounds above the hair and below the eyes exclude each other for all heights from lo to hi: their
  // distance is linear in the height but for two roundings, so the ends tell.
  bool BoundsPartOver(int64_t lo, int64_t hi) const {
    constexpr double kRoundings = 1.001;
    if (!top_.InForce() || !eye_.InForce()) return false;
    const auto low = static_cast<double>(lo), high = static_cast<double>(hi);
    for (const double fraction : {top_.min, top_.max, eye_.min, eye_.max}) {
      if (!(high * fraction < kBeyond) || (low * fraction <= -kBeyond && high * fraction > -kBeyond)) return false;
    }
    const auto overlap = [this](double h, double top, double eye) {
      return static_cast<double>(headTop_ - eyeY_) + h - std::max(h * top, -kBeyond) - std::max(h * eye, -kBeyond);
    };
    return std::max(overlap(low, top_.min, eye_.min), overlap(high, top_.min, eye_.min)) < -kRoundings ||
           std::min(overlap(low, top_.max, eye_.max), overlap(high, top_.max, eye_.max)) > kRoundings;
  }

  Bounds head_, top_, eye_;
  int64_t headTop_, headLength_, eyeY_;
  int64_t lowestBottom_, highestBottom_;
};

struct Placement {
  int64_t height, bottom;
};

// All quotients of integers truncate.
class PortraitPlacement {
 public:
  PortraitPlacement(const FaceRecord& face, const FineCropParams& params, const MaskExtents& extents)
      : search_(face, params, extents), params_(params), faceWidth_(extents.faceWidth) {
    const double free = std::min(face.offsetX - static_cast<double>(extents.foreground.left),
                                 static_cast<double>(extents.foreground.right) - face.offsetX);
    // No photograph fits far below 0 either; the limit keeps the products with a height in 64 bits.
    free_ = std::max(TruncToInt32(free), -(1 << 29));
  }

  std::optional<Placement> Find() const {
    const auto found = FindInMiddle();
    return found ? found : FindAtFoot();
  }

 private:
  // A photograph no wider than the person's free surroundings, its bottom in the middle of what the bounds allow.
  std::optional<Placement> FindInMiddle() const {
    const int64_t w = params_.width, h = params_.height;
    const int64_t maxWidth = 2 * free_ + 1;
    const int64_t maxHeight = (maxWidth * h) / w;
    const int64_t minHeight = TruncToInt32(
        (1.4 * static_cast<double>(faceWidth_) + 1.0) * static_cast<double>(h) / static_cast<double>(w) + 0.5);
    if (minHeight > maxHeight || !FaceWidthFits(maxWidth)) return std::nullopt;
    const int64_t start = (2 * maxHeight) / 3 + minHeight / 3;
    auto height = search_.FirstHeight(start, maxHeight, true);
    if (!height) height = search_.FirstHeight(minHeight, start, false);
    if (!height) return std::nullopt;
    const auto run = search_.Bottoms(*height);
    // The middle between the first row that passes from below and the first one above it that fails.
    return Placement{*height, (run.last + run.first - 1) / 2};
  }

  // By the widest photograph, so alike for every height.
  bool FaceWidthFits(int64_t maxWidth) const {
    if (!(params_.faceWidthMin >= 0 && params_.faceWidthMax >= 0)) return true;
    const auto width = static_cast<double>(maxWidth), face = static_cast<double>(faceWidth_);
    return width * params_.faceWidthMin <= face && face <= width * params_.faceWidthMax;
  }

  // A wider photograph, which may reach past the person and the crop, as far down as the bounds allow.
  std::optional<Placement> FindAtFoot() const {
    const int64_t w = params_.width, h = params_.height;
    const int64_t low = ((2 * free_ + 1) * h) / w;
    const int64_t high = ((3 * free_ + 1) * h) / w;
    const auto height = search_.FirstHeight(low, high, true);
    if (!height) return std::nullopt;
    return Placement{*height, search_.Bottoms(*height).last};
  }

  PortraitSearch search_;
  const FineCropParams& params_;
  int64_t faceWidth_;
  int64_t free_;  // columns between the centre and the nearer side of the person's box
};

int32_t Narrow(int64_t v) {
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v)));
}

}  // namespace

bool FineCropSingle(const FaceRecord& face, const FineCropParams& params, CropRect* rect) {
  // Ratios that are not numbers give crops of a size below 0, which hold no person.
  if (face.cropWidth < 0 || face.cropHeight < 0) return false;
  const MaskExtents extents = MeasureMask(face);
  const auto placed = PortraitPlacement(face, params, extents).Find();
  if (!placed) return false;
  const auto half = static_cast<double>(((params.width * placed->height) / params.height - 1) / 2);
  *rect = {TruncToInt32(face.offsetX - half), Narrow(placed->bottom - placed->height + 1),
           TruncToInt32(face.offsetX + half), Narrow(placed->bottom)};
  return true;
}

bool FineCropPair(const FaceRecord* faces, const PairCrop& pair, CropRect* rect) {
  MaskExtents e[2];
  for (int i = 0; i < 2; ++i) {
    e[i] = MeasureMask(faces[i]);
    const int64_t dx = pair.boxes[i].left, dy = pair.boxes[i].top;
    e[i].chinRow += dy;
    e[i].minX += dx;
    e[i].maxX += dx;
    e[i].head.top += dy;
    e[i].foreground.left += dx;
    e[i].foreground.right += dx;
    e[i].foreground.bottom += dy;
  }
  const auto faceWidth = static_cast<double>((e[0].faceWidth + e[1].faceWidth) / 2);
  const int64_t chin = std::max(e[0].chinRow, e[1].chinRow);
  const int64_t start = std::min(e[0].foreground.bottom, e[1].foreground.bottom);
  const int64_t headTop = std::min(e[0].head.top, e[1].head.top);
  const int64_t minX = std::min(e[0].minX, e[1].minX);
  const int64_t maxX = std::max(e[0].maxX, e[1].maxX);
  const int64_t centre = (minX + maxX) / 2;
  const int64_t firstHalf = TruncToInt32(static_cast<double>(maxX - minX) * 1.4 * 0.5);
  const int64_t limit =
      (std::max(e[0].foreground.right, e[1].foreground.right) - std::min(e[0].foreground.left, e[1].foreground.left)) /
      2;
  // Rows b with 0.5 fw <= b - chin + 1 < 1.2 fw and 0.3 fw <= headTop - b + h <= 0.8 fw, the lowest first.
  const auto ceiling = [](double v) { return static_cast<int64_t>(std::ceil(v)); };
  const int64_t lowest = std::min(start, chin - 1 + ceiling(1.2 * faceWidth) - 1);
  const int64_t highest = std::max(chin + 1, chin - 1 + ceiling(0.5 * faceWidth));
  const int64_t least = ceiling(0.3 * faceWidth), most = static_cast<int64_t>(std::floor(0.8 * faceWidth));
  // Heights too small for any such row are left out, with a step to spare for the divisions.
  const int64_t smallest = (3 * (highest - headTop + least) - 2) / 4 - 2;
  for (int64_t half = std::max(firstHalf, smallest); half <= limit; ++half) {
    const int64_t h = (4 * half + 2) / 3;
    if (headTop + h - most > lowest) break;  // and so for all larger ones
    const int64_t last = std::min(lowest, headTop + h - least);
    const int64_t first = std::max(highest, headTop + h - most);
    if (first > last) continue;
    *rect = {Narrow(centre - half), Narrow(last - h + 1), Narrow(centre + half), Narrow(last)};
    return true;
  }
  return false;
}

}  // namespace qx
