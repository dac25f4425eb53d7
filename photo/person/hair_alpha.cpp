#include "photo/person/hair_alpha.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace qx::photo {
namespace {

// Lengths in face widths, colours 0 to 1 (of levels only where it says so).
constexpr float kPlainOut = 0.5f, kPlainIn = 0.2f;  // the band before a plain background
constexpr float kUnevenOut = 0.2f;                  // ... where the scene holds something
constexpr float kTexturedOut = 0.05f, kTexturedIn = 0.03f;
constexpr float kPlainSpread = 8;  // levels
constexpr float kPlainFlood = 0.9f, kTexturedFlood = 0.6f;
constexpr float kFaceAcross = 0.36f, kFaceDown = 0.56f;  // half axes of what is always the person
constexpr float kNeck = 0.5f;                            // to each side, below the chin
constexpr float kOpens = 0.025f;                         // deeper, only clear gaps are opened
constexpr float kClearGap = 0.3f;
constexpr int kLeastGap = 6, kGapRim = 2;  // pixels
constexpr float kRivalsFrom = 0.06f;
constexpr size_t kRivals = 4;
constexpr float kConnected = 0.06f, kNothing = 0.02f, kAll = 0.98f;
constexpr float kLevel = 1.0f / 255;

enum Kind : uint8_t { kBackground, kUnknown, kPerson };

// A fall from 1 towards 0 as e^-x does, of plain arithmetic alone, so that every machine gives the same.
float Falloff(float x) {
  return 1 / (1 + x * (1 + x * (0.5f + x * (1.0f / 6 + x * (1.0f / 24)))));
}

float MeanSquare(Pixel p) {
  const Pixel q = p * p;
  return (q[0] + q[1] + q[2]) * (1.0f / 3);
}

float Dot(Pixel a, Pixel b) {
  const Pixel q = a * b;
  return (q[0] + q[1] + q[2]) * (1.0f / 3);
}

Pixel Load(const uint8_t* bgr) {
  return Pixel{static_cast<float>(bgr[0]), static_cast<float>(bgr[1]), static_cast<float>(bgr[2]), 0} * kLevel;
}

class HairEstimator {
 public:
  HairEstimator(const HeadCrop& crop, const CleanPlate& plate)
      : crop_(crop),
        plate_(plate),
        width_(crop.mask.width),
        height_(crop.mask.height),
        unit_(1 / static_cast<float>(crop.faceWidth)),
        kinds_(width_, height_),
        zone_(static_cast<size_t>(width_)) {
    result_.alpha.resize(kinds_.bits.size());
    result_.confidence.resize(kinds_.bits.size());
  }

  HairAlpha Estimate() {
    DivideCrop();
    FindRivals();
    FindPersonColours(2);
    Project();
    OpenGaps();
    FindPersonColours(2);
    Project();
    Weigh();
    FindPersonColours(0.95f);
    Project();
    Weigh();
    KeepConnected();
    result_.unknown = Region(width_, height_);
    for (size_t i = 0; i < kinds_.bits.size(); ++i) result_.unknown.bits[i] = kinds_.bits[i] == kUnknown;
    return std::move(result_);
  }

 private:
  float Depth(size_t i) const { return crop_.Depth(i) * unit_; }

  // Whether the pixel is in a face or, below it, in the neck.
  bool InFace(int x, int y, bool* neck) const {
    *neck = false;
    for (const FaceBox& face : crop_.faces) {
      const auto dx = static_cast<float>((x + 0.5 - (face.left + face.right) / 2) / face.Width());
      const auto dy = static_cast<float>((y + 0.5 - (face.top + face.bottom) / 2) / face.Width());
      const float a = dx / kFaceAcross, b = dy / kFaceDown;
      if (a * a + b * b < 1) return true;
      *neck |= std::abs(dx) < kNeck && y + 0.5 > face.bottom;
    }
    return false;
  }

  void DivideCrop() {
    const float textured = std::clamp((kPlainFlood - plate_.flooded) / (kPlainFlood - kTexturedFlood), 0.0f, 1.0f);
    const bool uneven = plate_.spread > kPlainSpread;
    const float most = uneven ? kUnevenOut : kPlainOut;
    out_ = most + textured * (kTexturedOut - most);
    in_ = uneven || textured > 0 ? kTexturedIn : kPlainIn;
    opens_ = !uneven && textured <= 0;
    size_t i = 0;
    for (int y = 0; y < height_; ++y) {
      crop_.HairZone(y, zone_.data());
      for (int x = 0; x < width_; ++x, ++i) {
        const float depth = Depth(i), hair = zone_[static_cast<size_t>(x)];
        uint8_t kind = depth > 0 ? kPerson : kBackground;
        if (hair > 0 && depth > -out_ && depth < in_) {
          kind = plate_.background.bits[i] ? kBackground : kUnknown;
          bool neck;
          if (depth > 0 && (InFace(x, y, &neck) || neck)) kind = kPerson;
        }
        kinds_.bits[i] = kind;
      }
    }
  }

  // A few colours of the person near the outline, by k-means from fixed seeds.
  void FindRivals() {
    std::vector<Pixel> sample;
    for (int y = 0; y < height_; y += 2) {
      for (int x = 0; x < width_; x += 2) {
        const size_t i = static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x);
        const float depth = Depth(i);
        if (depth > 0.03f && depth < 0.03f + kRivalsFrom && kinds_.bits[i] != kBackground) {
          sample.push_back(Load(crop_.colours.At(x, y)));
        }
      }
    }
    rivals_.clear();
    if (sample.size() < 4 * kRivals) return;
    auto bright = [](const Pixel& p) { return p[0] + 2 * p[1] + p[2]; };
    std::vector<Pixel> sorted = sample;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [&](const Pixel& a, const Pixel& b) { return bright(a) < bright(b); });
    for (size_t k = 0; k < kRivals; ++k) rivals_.push_back(sorted[(2 * k + 1) * sorted.size() / (2 * kRivals)]);
    for (int round = 0; round < 8; ++round) {
      std::array<Pixel, kRivals> sums{};
      std::array<float, kRivals> counts{};
      for (const Pixel& p : sample) {
        size_t best = 0;
        for (size_t k = 1; k < kRivals; ++k) {
          if (MeanSquare(p - rivals_[k]) < MeanSquare(p - rivals_[best])) best = k;
        }
        sums[best] += p;
        counts[best] += 1;
      }
      for (size_t k = 0; k < kRivals; ++k) {
        if (counts[k] > 0) rivals_[k] = sums[k] * (1 / counts[k]);
      }
    }
  }

  // The person's colours from what is the person, and from unknown pixels of more than `least`.
  void FindPersonColours(float least) {
    Scattered known((width_ + 1) / 2, (height_ + 1) / 2);
    std::fill(known.sums.pixels.begin(), known.sums.pixels.end(), Pixel{});
    std::fill(known.squares.begin(), known.squares.end(), 0.0f);
    size_t i = 0;
    for (int y = 0; y < height_; ++y) {
      Pixel* to = known.sums.Row(y / 2);
      float* square = known.squares.data() + (to - known.sums.pixels.data());
      const uint8_t* bgr = crop_.colours.At(0, y);
      for (int x = 0; x < width_; ++x, ++i, bgr += 3) {
        if (kinds_.bits[i] != kPerson && !(kinds_.bits[i] == kUnknown && result_.alpha[i] > least)) continue;
        Pixel pixel = Load(bgr);
        square[x / 2] += 0.25f * MeanSquare(pixel);
        pixel[3] = 1;
        to[x / 2] += pixel * 0.25f;
      }
    }
    person_ = FillGaps(std::move(known));
  }

  struct Fit {
    float alpha = 0, residual = 0, contrast = 0;  // the contrast squared
  };

  static Fit FitTo(Pixel shown, Pixel behind, Pixel person) {
    const Pixel difference = person - behind, from = shown - behind;
    Fit fit;
    fit.contrast = MeanSquare(difference);
    fit.alpha = std::clamp(Dot(from, difference) / (fit.contrast + 1e-6f), 0.0f, 1.0f);
    fit.residual = MeanSquare(from - fit.alpha * difference);
    return fit;
  }

  void Project() {
    FieldRow behind(plate_.colours, width_, 0.5), persons(person_, width_, 0.5);
    size_t i = 0;
    for (int y = 0; y < height_; ++y) {
      const Pixel *plate = behind.At(y), *person = persons.At(y);
      for (int x = 0; x < width_; ++x, ++i) {
        if (kinds_.bits[i] != kUnknown) {
          result_.alpha[i] = kinds_.bits[i] == kPerson ? 1.0f : 0.0f;
          result_.confidence[i] = 1;
          continue;
        }
        ProjectPixel(i, Load(crop_.colours.At(x, y)), plate[x], person[x]);
      }
    }
  }

  float PlateVariance(Pixel plate) const { return (plate[3] + plate_.noise * plate_.noise) * (kLevel * kLevel); }

  void ProjectPixel(size_t i, Pixel shown, Pixel plate, Pixel person) {
    const float behindVariance = PlateVariance(plate), spread = person[3];
    const Pixel behind = plate * kLevel;
    Fit fit = FitTo(shown, behind, person);
    float least = fit.residual;
    for (const Pixel& rival : rivals_) {
      const Fit other = FitTo(shown, behind, rival);
      const float cost = other.residual + 0.03f * other.alpha * MeanSquare(rival - person) + 2e-4f;
      if (cost >= least) continue;
      least = cost;
      fit = other;
    }
    const float depth = Depth(i);
    float alpha = fit.alpha;
    if (depth > 0) {
      const float relative = std::min(1.0f, std::sqrt(spread / (fit.contrast + 1e-6f)));
      alpha = std::min(1.0f, alpha / (1 - 0.7f * std::min(1.0f, depth * 25) * relative));
    }
    const float variance = behindVariance + alpha * alpha * spread;
    const float told = fit.contrast / (fit.contrast + 12 * behindVariance + 4 * alpha * alpha * spread + 1e-9f);
    result_.confidence[i] = told * Falloff(fit.residual / (2 * (0.0016f + variance)));
    result_.alpha[i] = alpha;
  }

  // Deep inside only clear gaps of some size stay unknown.
  void OpenGaps() {
    Region gaps(width_, height_);
    for (size_t i = 0; i < gaps.bits.size(); ++i) {
      gaps.bits[i] = opens_ && kinds_.bits[i] == kUnknown && Depth(i) > kOpens &&
                     result_.confidence[i] * (1 - result_.alpha[i]) > kClearGap;
    }
    Region none = gaps;  // the holes of the rest are the gaps
    for (uint8_t& bit : none.bits) bit = !bit;
    FillHoles(none, kLeastGap - 1);
    for (size_t i = 0; i < gaps.bits.size(); ++i) gaps.bits[i] = !none.bits[i];
    Region all(width_, height_);
    std::fill(all.bits.begin(), all.bits.end(), uint8_t{1});
    gaps = Grow(gaps, all, kGapRim);
    for (size_t i = 0; i < gaps.bits.size(); ++i) {
      if (kinds_.bits[i] == kUnknown && Depth(i) > kOpens && !gaps.bits[i]) kinds_.bits[i] = kPerson;
    }
  }

  // What the colours say and what the mask said so far, each by how much it can know.
  void Weigh() {
    FieldRow behind(plate_.colours, width_, 0.5), persons(person_, width_, 0.5);
    size_t i = 0;
    for (int y = 0; y < height_; ++y) {
      const Pixel *plate = behind.At(y), *person = persons.At(y);
      for (int x = 0; x < width_; ++x, ++i) {
        if (kinds_.bits[i] != kUnknown) continue;
        const float depth = Depth(i), c = result_.confidence[i];
        float weight;
        if (depth > 0) {
          const float apart = MeanSquare(Load(crop_.colours.At(x, y)) - plate[x] * kLevel);
          const float usual = std::max(8.0f, 3.5f * plate_.noise) * kLevel;
          weight = 6 * (1 - c) * std::min(1.0f, depth * (1 / 0.035f)) * (1 - Falloff(apart / (usual * usual)));
        } else {
          const float contrast = MeanSquare(person[x] - plate[x] * kLevel);
          const float told = 1 - contrast / (contrast + 12 * PlateVariance(plate[x]) + 1e-9f);
          weight = 8 * told * told * std::min(1.0f, -depth * (1 / 0.03f));
        }
        const float before = static_cast<float>(crop_.mask.values[i]) * kLevel;
        const float stays = 0.2f * (1 - c) * (1 - c);
        const float target = depth > 0 ? 1.0f : 0.0f;
        result_.alpha[i] = (c * result_.alpha[i] + weight * target + stays * before) / (c + weight + stays + 1e-6f);
      }
    }
  }

  // Only what hangs together with the mask.
  void KeepConnected() {
    Region open(width_, height_);
    std::vector<size_t> front;
    for (size_t i = 0; i < open.bits.size(); ++i) {
      open.bits[i] = result_.alpha[i] > kConnected;
      if (open.bits[i] && Depth(i) > 0) front.push_back(i), open.bits[i] = 2;
    }
    const auto stride = static_cast<size_t>(width_);
    while (!front.empty()) {
      const size_t i = front.back();
      front.pop_back();
      const size_t x = i % stride, y = i / stride;
      for (size_t v = y > 0 ? y - 1 : 0; v <= std::min(y + 1, static_cast<size_t>(height_) - 1); ++v) {
        for (size_t u = x > 0 ? x - 1 : 0; u <= std::min(x + 1, stride - 1); ++u) {
          uint8_t& bit = open.bits[v * stride + u];
          if (bit != 1) continue;
          bit = 2;
          front.push_back(v * stride + u);
        }
      }
    }
    for (size_t i = 0; i < open.bits.size(); ++i) {
      const float alpha = open.bits[i] == 2 ? result_.alpha[i] : 0;
      result_.alpha[i] = std::clamp((alpha - kNothing) / (kAll - kNothing), 0.0f, 1.0f);
    }
  }

  const HeadCrop& crop_;
  const CleanPlate& plate_;
  const int width_, height_;
  const float unit_;
  float out_ = 0, in_ = 0;  // the band
  bool opens_ = false;
  Region kinds_;
  Field person_;
  std::vector<Pixel> rivals_;
  std::vector<float> zone_;
  HairAlpha result_;
};

}  // namespace

HairAlpha EstimateHair(const HeadCrop& crop, const CleanPlate& plate) {
  return HairEstimator(crop, plate).Estimate();
}

}  // namespace qx::photo
