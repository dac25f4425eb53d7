#include "photo/render/adjust.h"

#include <algorithm>

#include "photo/base/failure.h"
#include "photo/render/colour_table.h"
#include "photo/render/extend_colours.h"
#include "photo/render/sharpen.h"

namespace qx::photo {
namespace {

bool ChangesColours(const Adjustment& a, const Cast& cast) {
  return a.brightness != 0 || a.contrast != 0 || a.saturation != 0 || a.temperature != 0 || a.tint != 0 ||
         cast.a != 0 || cast.b != 0;
}

// Adds to `count` finished bytes what the person's own colours, which count there by `alpha`, have changed by.
void Move(const uint8_t* before, const uint8_t* after, int32_t alpha, size_t count, uint8_t* finished) {
  if (alpha == 255) {
    for (size_t i = 0; i < count; ++i) {
      const auto moved = static_cast<int16_t>(finished[i] + after[i] - before[i]);
      finished[i] = static_cast<uint8_t>(std::min<int16_t>(std::max<int16_t>(moved, 0), 255));
    }
    return;
  }
  for (size_t i = 0; i < count; ++i) {
    const int32_t change = (after[i] - before[i]) * alpha, half = change < 0 ? -127 : 127;
    finished[i] = static_cast<uint8_t>(std::clamp(finished[i] + (change + half) / 255, 0, 255));
  }
}

}  // namespace

void CheckRanges(const Adjustment& a) {
  for (const double strength : {a.brightness, a.contrast, a.saturation, a.temperature, a.tint, a.sharpness}) {
    // Written so that what is no number fails too.
    if (!(strength >= -kMostAdjustment && strength <= kMostAdjustment)) {
      throw Failure(FailureCode::kBadOption, "strengths of an adjustment are between -10 and 10");
    }
  }
}

void Adjust(const Adjustment& adjustment, const Cast& cast, Image* picture) {
  CheckRanges(adjustment);
  if (ChangesColours(adjustment, cast)) {
    ColourTable(adjustment, cast).Apply(picture->bgr.data(), picture->Pixels());
  }
  if (adjustment.sharpness == 0) return;
  constexpr double kMostSharpening = 1.5, kMostSoftening = 1;
  const double most = adjustment.sharpness > 0 ? kMostSharpening : kMostSoftening;
  Sharpen(most * adjustment.sharpness / kMostAdjustment, picture);
}

void AdjustPerson(const Adjustment& adjustment, const Cast& cast, const Mask& alpha, Image* own, Image* finished) {
  CheckRanges(adjustment);
  const Image before = *own;
  Adjust(adjustment, cast, own);
  const Bytes& share = alpha.values;
  for (size_t first = 0, end = 0; first < share.size(); first = end) {
    while (end < share.size() && share[end] == share[first]) ++end;
    if (share[first] == 0) continue;
    const size_t at = 3 * first;
    Move(&before.bgr[at], &own->bgr[at], share[first], 3 * (end - first), &finished->bgr[at]);
  }
}

}  // namespace qx::photo
