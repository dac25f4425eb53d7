#include "crop/portrait_search.h"

#include <algorithm>
#include <cmath>

namespace qx {
namespace {

constexpr double kBeyond = 2147483648.0;  // the first number above int32

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

}  // namespace

PortraitSearch::PortraitSearch(const FaceRecord& face, const FineCropParams& params, const MaskExtents& extents)
    : head_{params.headMin, params.headMax},
      top_{params.topMin, params.topMax},
      eye_{params.eyeMin, params.eyeMax},
      headTop_(extents.head.top),
      headLength_(extents.head.bottom - extents.head.top),
      eyeY_((int64_t{face.crop.keyPoints[kLeftEyeCentre].y} + face.crop.keyPoints[kRightEyeCentre].y) / 2),
      lowestBottom_(extents.chinRow + 1),
      highestBottom_(extents.foreground.bottom) {}

bool PortraitSearch::Admissible(int64_t h) const {
  if (!head_.InForce()) return true;
  const auto height = static_cast<double>(h);
  return Rnd(height * head_.min) <= headLength_ && headLength_ <= Rnd(height * head_.max);
}

PortraitSearch::Run PortraitSearch::Bottoms(int64_t h) const {
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

std::optional<int64_t> PortraitSearch::FirstFromBelow(int64_t low, int64_t high) const {
  if (low > high || RuledOut(low, high)) return std::nullopt;
  if (low == high) return low;  // a single height is ruled out exactly
  const int64_t middle = low + (high - low) / 2;
  const auto found = FirstFromBelow(low, middle);
  return found ? found : FirstFromBelow(middle + 1, high);
}

std::optional<int64_t> PortraitSearch::FirstFromAbove(int64_t low, int64_t high) const {
  if (low > high || RuledOut(low, high)) return std::nullopt;
  if (low == high) return low;
  const int64_t middle = low + (high - low) / 2;
  const auto found = FirstFromAbove(middle + 1, high);
  return found ? found : FirstFromAbove(low, middle);
}

// Whether no height from low to high can pass. Exact when low == high.
bool PortraitSearch::RuledOut(int64_t low, int64_t high) const {
  if (low == high) {
    const Run run = Bottoms(low);
    return !Admissible(low) || run.first > run.last;
  }
  const auto lowest = static_cast<double>(low), highest = static_cast<double>(high);
  // Beyond int32 an upper bound turns into the lowest integer, which nothing meets.
  for (const Bounds& b : {head_, eye_, top_}) {
    if (b.InForce() && lowest * b.max >= kBeyond) return true;
  }
  if (head_.InForce() && (RndBound(lowest * head_.min) > headLength_ || RndBound(highest * head_.max) < headLength_)) {
    return true;
  }
  return EmptyOver(low, high) || BoundsPartOver(low, high);
}

// Whether no row lies within the widest that each bound allows anywhere from low to high.
bool PortraitSearch::EmptyOver(int64_t low, int64_t high) const {
  int64_t first = lowestBottom_, last = highestBottom_;
  if (eye_.InForce()) {
    first = std::max(first, eyeY_ + RndBound(static_cast<double>(low) * eye_.min));
    last = std::min(last, eyeY_ + RndBound(static_cast<double>(high) * eye_.max));
  }
  if (top_.InForce()) {
    if (const auto rows = BottomsOver(low, high, top_.max)) first = std::max(first, rows->first);
    if (const auto rows = BottomsOver(low, high, top_.min)) last = std::min(last, rows->last);
  }
  return first > last;
}

// The rows at which the space above the hair is a fraction of the height, for all heights from low to high: between
// those of the ends. Nothing where the conversion to int32 leaves its range in between.
std::optional<PortraitSearch::Run> PortraitSearch::BottomsOver(int64_t low, int64_t high, double fraction) const {
  const double a = static_cast<double>(low) * fraction, b = static_cast<double>(high) * fraction;
  if (!(b < kBeyond) || (a <= -kBeyond && b > -kBeyond)) return std::nullopt;
  const int64_t atLow = headTop_ + low - RndBound(a), atHigh = headTop_ + high - RndBound(b);
  const int64_t slack = SameBinade(a, b) ? 0 : 1;
  return Run{std::min(atLow, atHigh) - slack, std::max(atLow, atHigh) + slack};
}

// Whether the bounds above the hair and below the eyes exclude each other for all heights from low to high.
bool PortraitSearch::BoundsPartOver(int64_t low, int64_t high) const {
  constexpr double kRoundings = 1.001;
  if (!top_.InForce() || !eye_.InForce()) return false;
  const auto lowest = static_cast<double>(low), highest = static_cast<double>(high);
  for (const double fraction : {top_.min, top_.max, eye_.min, eye_.max}) {
    if (!(highest * fraction < kBeyond) || (lowest * fraction <= -kBeyond && highest * fraction > -kBeyond)) {
      return false;
    }
  }
  const auto overlap = [this](double h, double top, double eye) {
    return static_cast<double>(headTop_ - eyeY_) + h - std::max(h * top, -kBeyond) - std::max(h * eye, -kBeyond);
  };
  return std::max(overlap(lowest, top_.min, eye_.min), overlap(highest, top_.min, eye_.min)) < -kRoundings ||
         std::min(overlap(lowest, top_.max, eye_.max), overlap(highest, top_.max, eye_.max)) > kRoundings;
}

}  // namespace qx
