#include "photo/person/hair_alpha.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "photo/person/hair_evidence.h"
#include "photo/person/hair_network.h"

namespace qx::photo {
namespace {

constexpr float kConnected = 0.06f, kNothing = 0.02f, kAll = 0.98f;

// Only what hangs together with the mask, with alpha a little steeper at its ends.
void KeepConnected(const HeadCrop& crop, Floats* alpha) {
  Region open(crop.mask.width, crop.mask.height), seed(crop.mask.width, crop.mask.height);
  const size_t pixels = open.bits.size();
  float* value = alpha->data();
  for (size_t i = 0; i < pixels; ++i) {
    open.bits[i] = value[i] > kConnected;
    seed.bits[i] = crop.depth[i] > 0;
  }
  const Region connected = Grow(seed, open, Touching::kCorners);
  for (size_t i = 0; i < pixels; ++i) {
    const float kept = connected.bits[i] ? value[i] : 0.0f;
    value[i] = std::clamp((kept - kNothing) / (kAll - kNothing), 0.0f, 1.0f);
  }
}

// Counts the pixels just inside the outline of the hair, and those among them that could as well be background. Outside
// there is nothing to tell by: a wall of the hair's colour is as much a wall as any other.
class DoubtCounter {
 public:
  explicit DoubtCounter(const HeadCrop& crop) : crop_(crop) {}

  void Add(size_t i, bool told) {
    if (crop_.depth[i] < 0 || crop_.Depth(i) > kOutline * crop_.faceWidth) return;
    const auto stride = static_cast<size_t>(crop_.mask.width);
    const double x = static_cast<double>(i % stride) + 0.5, y = static_cast<double>(i / stride) + 0.5;
    const FaceBox* face = &crop_.faces[0];
    const auto aside = [x](const FaceBox& f) { return x - (f.left + f.right) / 2; };
    for (const FaceBox& other : crop_.faces) {
      if (std::abs(aside(other)) < std::abs(aside(*face))) face = &other;
    }
    if (y > face->bottom) return;
    Side& side = y < face->top && std::abs(aside(*face)) < kAbove * face->Width() ? above_
                 : aside(*face) < 0                                               ? left_
                                                                                  : right_;
    ++side.pixels;
    if (!told) ++side.doubtful;
  }

  OutlineDoubt Doubt(float structure) const {
    return {left_.Share(), right_.Share(), above_.Share(), structure >= 0.5f};
  }

 private:
  static constexpr double kOutline = 0.03, kAbove = 0.45;  // in face widths
  struct Side {
    size_t pixels = 0, doubtful = 0;
    float Share() const { return pixels > 0 ? static_cast<float>(doubtful) / static_cast<float>(pixels) : 0; }
  };

  const HeadCrop& crop_;
  Side left_, right_, above_;
};

constexpr float kTextureDoubt = 0.7f;
constexpr float kTold = 0.4f;  // from the plate: how far a pixel lies at least that is no guess

}  // namespace

HairAlpha EstimateHair(const HeadCrop& crop, const CleanPlate& plate) {
  HairEvidence evidence(crop, plate);
  // Before a texture, what is found outside the mask counts less, and nothing beside ears and cheeks.
  const float texture = plate.Texture();
  // Of the mask: inside, nothing is opened where little is known.
  const float kept = std::min(1.0f, 2 * plate.Structure());
  Floats alpha(evidence.Kinds().bits.size());
  const auto stride = static_cast<size_t>(crop.mask.width);
  std::vector<int> columns(stride);
  Floats values(HairEvidence::kValues * stride), told(stride);
  DoubtCounter doubt(crop);
  for (int y = 0; y < crop.mask.height; ++y) {
    const size_t start = static_cast<size_t>(y) * stride;
    const uint8_t* kinds = &evidence.Kinds().bits[start];
    for (size_t x = 0; x < stride; ++x) {
      alpha[start + x] = kinds[x] == HairEvidence::kPerson ? 1.0f : 0.0f;
      if (kinds[x] != HairEvidence::kUnknown) doubt.Add(start + x, true);
    }
    const size_t count = evidence.DescribeRow(y, columns.data(), values.data(), stride);
    WeighEvidence(values.data(), stride, count, told.data());
    for (size_t j = 0; j < count; ++j) {
      const size_t i = start + static_cast<size_t>(columns[j]);
      const float before = static_cast<float>(crop.mask.values[i]) / 255;
      alpha[i] = std::max(told[j], kept * before);
      const float doubtful = evidence.IsBesideSkin(j) ? texture : kTextureDoubt * texture;
      if (alpha[i] > before) alpha[i] += doubtful * (before - alpha[i]);
      doubt.Add(i, values[HairEvidence::kUnlikePlate * stride + j] > kTold);
    }
  }
  KeepConnected(crop, &alpha);
  HairAlpha hair{Mask(crop.mask.width, crop.mask.height), doubt.Doubt(plate.Structure())};
  for (size_t i = 0; i < alpha.size(); ++i) {
    hair.alpha.values[i] = static_cast<uint8_t>(static_cast<int>(alpha[i] * 255 + 0.5f));
  }
  return hair;
}

}  // namespace qx::photo
