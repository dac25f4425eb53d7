#include "photo/render/colour_table.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "photo/render/oklab.h"

namespace qx::photo {
namespace {

constexpr uint32_t kNodes = 16, kSpacing = 17;  // 15 x 17 = 255
constexpr uint32_t kAlong[3] = {1, kNodes, kNodes* kNodes};
constexpr uint32_t kAcross = kAlong[0] + kAlong[1] + kAlong[2];  // to the far corner of a cell
constexpr int kField = 21, kParts = 12;                          // bits of a channel, and of its fraction
constexpr double kPartsOfNode = 4096.0 / kSpacing;

// A place in the CIE 1960 diagram.
struct Chromaticity {
  double u = 0, v = 0;
};

// Daylight of that reciprocal temperature, from 40 to 250 mired (CIE 15).
Chromaticity Daylight(double mired) {
  const double k = mired / 1000;  // of 1,000 K
  const double x = mired > 1000.0 / 7 ? ((-4.6070 * k + 2.9678) * k + 0.09911) * k + 0.244063
                                      : ((-2.0064 * k + 1.9018) * k + 0.24748) * k + 0.237040;
  const double y = (-3 * x + 2.87) * x - 0.275;
  const double sum = -2 * x + 12 * y + 3;
  return {4 * x / sum, 6 * y / sum};
}

// What becomes of the cones' responses to white.
Cones GreyOf(const Adjustment& adjustment) {
  if (adjustment.temperature == 0 && adjustment.tint == 0) return {1, 1, 1};
  constexpr double kWhite = 1e6 / 6504, kMired = 6, kAcrossLocus = 0.002;
  const Chromaticity white = Daylight(kWhite), other = Daylight(kWhite + kMired * adjustment.temperature);
  // Across the locus, towards magenta, as it runs at white.
  const Chromaticity blue = Daylight(kWhite - 1), yellow = Daylight(kWhite + 1);
  const double du = yellow.u - blue.u, dv = yellow.v - blue.v, length = std::sqrt(du * du + dv * dv);
  const double step = kAcrossLocus * adjustment.tint / length;
  const double u = 0.1978300 + other.u - white.u + step * dv, v = 0.3122138 + other.v - white.v - step * du;
  const double x = 1.5 * u / v, z = (2 - 0.5 * u - 5 * v) / v;  // for a Y of 1
  return ConesOf(LinearColour{0.0556434 * x - 0.2040259 + 1.0572252 * z, -0.9692660 * x + 1.8760108 + 0.0415560 * z,
                              3.2404542 * x - 1.5371385 - 0.4985314 * z});
}

// By what the cones' responses are multiplied. Greys keep their luminance.
Cones GainsOf(const Adjustment& adjustment, const Cast& cast) {
  const Cones to = GreyOf(adjustment), from = ConesOf(Oklab{1, cast.a, cast.b});
  const Cones gains{to.l / from.l, to.m / from.m, to.s / from.s};
  const double luminance = LuminanceOf(ColourOf(gains));
  return {gains.l / luminance, gains.m / luminance, gains.s / luminance};
}

// From 0 to 1, with a slope of 1 / `slope` at 0 and `slope` at 1 (Schlick's bias).
double Bend(double x, double slope) {
  return x / (1 + (slope - 1) * (1 - x));
}

// Slopes of 1 at a strength of 0, reciprocal for opposite ones.
double SlopeOf(double strength, double most) {
  const double more = 1 + (most - 1) * std::abs(strength) / kMostAdjustment;
  return strength < 0 ? 1 / more : more;
}

class Lightness {
 public:
  explicit Lightness(const Adjustment& adjustment)
      : bright_(1 / SlopeOf(adjustment.brightness, kBrightest)), steep_(SlopeOf(adjustment.contrast, kSteepest)) {}

  // By what a colour of that lightness is multiplied.
  double Ratio(double lightness) const {
    if (!(lightness > 1e-9)) return 1;
    const double x = std::min(lightness, 1.0), bent = Bend(x, bright_);
    return (bent < kPivot ? kPivot * Bend(bent / kPivot, steep_)
                          : 1 - (1 - kPivot) * Bend((1 - bent) / (1 - kPivot), steep_)) /
           x;
  }

 private:
  static constexpr double kBrightest = 2.2, kSteepest = 2.2, kPivot = 0.6;
  const double bright_, steep_;
};

// How far a colour of that luminance is from its grey: 1 where sRGB ends. Grey itself where there is no room.
double Reach(const LinearColour& colour, double luminance) {
  double reach = 0;
  for (const double channel : {colour.blue, colour.green, colour.red}) {
    const double off = channel - luminance, room = off > 0 ? 1 - luminance : luminance;
    if (std::abs(off) > 1e-9) reach = std::max(reach, room > 1e-9 ? std::abs(off) / room : 1e9);
  }
  return reach;
}

// Brings a colour into sRGB: those that reach beyond 0.8, or beyond what they did before, less and less far out.
LinearColour BringIn(const LinearColour& colour, double before) {
  constexpr double kFree = 0.8;
  const double luminance = std::clamp(LuminanceOf(colour), 0.0, 1.0);
  const double reach = Reach(colour, luminance), free = std::clamp(before, kFree, 1.0);
  if (reach <= free) return colour;
  const double beyond = (reach - free) / std::max(1 - free, 1e-9);
  const double share = (free + (1 - free) * beyond / (1 + beyond)) / reach;
  const auto nearer = [&](double channel) { return luminance + (channel - luminance) * share; };
  return {nearer(colour.blue), nearer(colour.green), nearer(colour.red)};
}

uint64_t Pack(const LinearColour& colour) {
  const auto parts = [](double linear) {
    constexpr double kHalf = 0.5;
    return static_cast<uint64_t>(LevelOf(linear) * kPartsOfNode + kHalf);
  };
  return parts(colour.blue) | parts(colour.green) << kField | parts(colour.red) << (2 * kField);
}

// What no adjustment changes of a node: the cube roots of its cones' responses, since the root of a product is that of
// its factors, and how far from its grey it is.
struct NodeColour {
  Cones roots;
  double reach;
};

std::vector<NodeColour> MakeNodeColours() {
  std::vector<NodeColour> colours;
  const auto linear = [](uint32_t node) { return LinearOf(static_cast<uint8_t>(node * kSpacing)); };
  for (uint32_t red = 0; red < kNodes; ++red) {
    for (uint32_t green = 0; green < kNodes; ++green) {
      for (uint32_t blue = 0; blue < kNodes; ++blue) {
        const LinearColour colour{linear(blue), linear(green), linear(red)};
        const Cones cones = ConesOf(colour);
        colours.push_back(
            {{CubeRoot(cones.l), CubeRoot(cones.m), CubeRoot(cones.s)}, Reach(colour, LuminanceOf(colour))});
      }
    }
  }
  return colours;
}

// For each level, in one number that adds and orders as a whole: from bit 32 on the cell's offset, from bit 16 on how
// far into the cell the level is, below that the way to the next node.
using Steps = std::array<std::array<uint64_t, 256>, 3>;

Steps MakeSteps() {
  Steps steps{};
  for (size_t c = 0; c < 3; ++c) {
    for (uint32_t level = 0; level < 256; ++level) {
      const uint32_t cell = std::min(level / kSpacing, kNodes - 2);
      steps[c][level] = uint64_t{cell * kAlong[c]} << 32 | (level - cell * kSpacing) << 16 | kAlong[c];
    }
  }
  return steps;
}

}  // namespace

ColourTable::ColourTable(const Adjustment& adjustment, const Cast& cast) {
  static const std::vector<NodeColour> colours = MakeNodeColours();
  const Cones gains = GainsOf(adjustment, cast);
  const Cones roots{CubeRoot(gains.l), CubeRoot(gains.m), CubeRoot(gains.s)};
  const Lightness lightness(adjustment);
  const double saturation = 1 + adjustment.saturation / kMostAdjustment;
  nodes_.reserve(colours.size());
  for (const NodeColour& colour : colours) {
    const Oklab seen = OklabOfRoots({colour.roots.l * roots.l, colour.roots.m * roots.m, colour.roots.s * roots.s});
    const double ratio = lightness.Ratio(seen.l);
    const Oklab wanted{seen.l * ratio, seen.a * ratio * saturation, seen.b * ratio * saturation};
    nodes_.push_back(Pack(BringIn(ColourOf(ConesOf(wanted)), colour.reach)));
  }
}

void ColourTable::Apply(uint8_t* bgr, size_t pixels) const {
  static const Steps steps = MakeSteps();
  constexpr uint64_t kHalf = uint64_t{1} << (kParts - 1), kHalves = kHalf | kHalf << kField | kHalf << (2 * kField);
  const uint64_t* const nodes = nodes_.data();
  for (uint8_t* const end = bgr + 3 * pixels; bgr != end; bgr += 3) {
    const uint64_t b = steps[0][bgr[0]], g = steps[1][bgr[1]], r = steps[2][bgr[2]], all = b + g + r;
    const auto keyOf = [](uint64_t step) { return static_cast<uint32_t>(step); };
    const uint32_t high = std::max(std::max(keyOf(b), keyOf(g)), keyOf(r));
    const uint32_t low = std::min(std::min(keyOf(b), keyOf(g)), keyOf(r));
    const uint32_t most = high >> 16, least = low >> 16, middle = (keyOf(all) >> 16) - most - least;
    const uint64_t* const node = nodes + (all >> 32);
    const uint64_t sum = node[0] * (kSpacing - most) + node[high & 0xffff] * (most - middle) +
                         node[kAcross - (low & 0xffff)] * (middle - least) + node[kAcross] * least + kHalves;
    bgr[0] = static_cast<uint8_t>(sum >> kParts);
    bgr[1] = static_cast<uint8_t>(sum >> (kField + kParts));
    bgr[2] = static_cast<uint8_t>(sum >> (2 * kField + kParts));
  }
}

}  // namespace qx::photo
