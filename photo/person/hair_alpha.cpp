#include "photo/person/hair_alpha.h"

#include <algorithm>
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

}  // namespace

HairAlpha EstimateHair(const HeadCrop& crop, const CleanPlate& plate) {
  HairEvidence evidence(crop, plate);
  HairAlpha hair;
  hair.unknown = evidence.Kinds();
  hair.alpha.resize(hair.unknown.bits.size());
  hair.confidence.resize(hair.unknown.bits.size());
  const auto stride = static_cast<size_t>(crop.mask.width);
  std::vector<int> columns(stride);
  Floats values(HairEvidence::kValues * stride), told(stride);
  for (int y = 0; y < crop.mask.height; ++y) {
    const size_t start = static_cast<size_t>(y) * stride;
    for (size_t x = 0; x < stride; ++x) {
      const uint8_t kind = evidence.Kinds().bits[start + x];
      hair.alpha[start + x] = kind == HairEvidence::kPerson ? 1.0f : 0.0f;
      hair.confidence[start + x] = 1;
      hair.unknown.bits[start + x] = kind == HairEvidence::kUnknown;
    }
    const size_t count = evidence.DescribeRow(y, columns.data(), values.data(), stride);
    WeighEvidence(values.data(), stride, count, told.data());
    for (size_t j = 0; j < count; ++j) {
      const size_t i = start + static_cast<size_t>(columns[j]);
      hair.alpha[i] = told[j];
      hair.confidence[i] = evidence.Confidence()[j];
    }
  }
  KeepConnected(crop, &hair.alpha);
  return hair;
}

}  // namespace qx::photo
