#include "photo/check/document_rules.h"

#include <string>

namespace qx::photo {
namespace {

// From one eye to the other: the least of a head's length, chin to crown.
constexpr double kLeastEyeDistance = 0.27;

std::string PageOf(const PresetRules& rules) {
  return rules.source + " (read " + rules.read + ")";
}

// Authorities say what they ask for and leave open from where on it counts: such a figure is still ours.
void AskedBy(const PresetRules& rules, const std::string& what, Measure* measure) {
  if (measure->source.empty()) return;
  measure->source = what + ": " + PageOf(rules) + "; the figure: " + measure->source;
}

void HoldExpression(const PresetRules& rules, MeasureList* list) {
  if (!rules.smile) return;
  constexpr MeasureId kSmile = MeasureId::kExpressionNeutrality, kLips = MeasureId::kLipGap;
  switch (*rules.smile) {
    case SmileRule::kAllowed:
      list->OnlyShow(kSmile, "the document takes a smile, " + PageOf(rules));
      list->OnlyShow(kLips, "the document takes a smile, " + PageOf(rules));
      break;
    case SmileRule::kMouthClosed:
      list->OnlyShow(kSmile, "the document takes a smile with the mouth closed, " + PageOf(rules));
      AskedBy(rules, "a closed mouth", &(*list)[kLips]);
      break;
    case SmileRule::kForbidden:
      AskedBy(rules, "a neutral expression", &(*list)[kSmile]);
      AskedBy(rules, "a neutral expression", &(*list)[kLips]);
      break;
  }
}

void HoldGlasses(const PresetRules& rules, MeasureList* list) {
  if (!rules.glasses) return;
  for (const MeasureId id : {MeasureId::kDarkGlasses, MeasureId::kGlassesGlare}) {
    Measure& measure = (*list)[id];
    if (*rules.glasses != GlassesRule::kForbidden) {
      const bool allowed = *rules.glasses == GlassesRule::kAllowed;
      if (id == MeasureId::kDarkGlasses) AskedBy(rules, "no dark glasses", &measure);
      if (id == MeasureId::kGlassesGlare && !allowed) AskedBy(rules, "no glare on glasses", &measure);
      continue;
    }
    AskedBy(rules, "no glasses", &measure);
    if (measure.state == MeasureState::kFailed) {
      measure.reason += "; this document takes no glasses";
    } else if (measure.value) {
      // That nothing dark or bright was seen does not say that there are none.
      list->NotAssessed(id, "this document takes no glasses, " + PageOf(rules) +
                                "; whether there are any is not seen: look yourself");
    }
  }
}

void HoldHeadCovering(const PresetRules& rules, MeasureList* list) {
  if (!rules.headCovering) return;
  const char* rule = *rules.headCovering == HeadCoveringRule::kAllowed ? "coverings that leave the face free"
                     : *rules.headCovering == HeadCoveringRule::kReligious
                         ? "coverings for religious or medical reasons only"
                         : "no coverings";
  Measure& measure = (*list)[MeasureId::kNoHeadCoverings];
  measure.reason += std::string("; this document takes ") + rule + ", " + PageOf(rules);
}

void ExemptChild(const MeasureOptions& options, MeasureList* list) {
  std::string reason = "small children are exempt";
  if (options.rules && !options.rules->children.empty()) {
    reason += "; of this document: " + options.rules->children + ", " + PageOf(*options.rules);
  }
  for (const MeasureId id : {MeasureId::kHeadPoseYaw, MeasureId::kHeadPosePitch, MeasureId::kHeadPoseRoll,
                             MeasureId::kGazeSideways, MeasureId::kExpressionNeutrality, MeasureId::kLipGap}) {
    list->OnlyShow(id, reason);
  }
}

void HoldFaceSize(const MeasureOptions& options, MeasureList* list) {
  const Measure& eyes = (*list)[MeasureId::kInterEyeDistance];
  if (eyes.state != MeasureState::kFailed || !options.leastHead) return;
  if (kLeastEyeDistance * *options.leastHead >= eyes.min.value_or(0)) return;
  list->OnlyShow(MeasureId::kInterEyeDistance, "the document's own size decides");
}

// The blocks of a JPEG file show its compression only where nothing was done to the picture since; its tables tell what
// it was saved with last.
void HoldCompression(const MeasureOptions& options, MeasureList* list) {
  constexpr int32_t kLeastQuality = 50;
  if (!options.jpegQuality || options.jpegQuality->quality >= kLeastQuality) return;
  const std::string quality = std::string("JPEG quality ") + (options.jpegQuality->isExact ? "" : "about ") +
                              std::to_string(options.jpegQuality->quality);
  Measure& measure = (*list)[MeasureId::kCompressionArtifacts];
  if (options.mustBeSmall) {
    // Where nothing else meets the document's size of file, the blocks decide.
    if (measure.state == MeasureState::kFailed) return;
    return list->Remark(MeasureId::kCompressionArtifacts, "strongly compressed (" + quality + "): look at the eyes");
  }
  measure.state = MeasureState::kFailed;
  measure.reason = "saved too strongly compressed (" + quality + "): send the original file";
}

}  // namespace

void HoldToDocument(const MeasureOptions& options, MeasureList* list) {
  if (options.rules) {
    HoldExpression(*options.rules, list);
    HoldGlasses(*options.rules, list);
    HoldHeadCovering(*options.rules, list);
  }
  if (options.child) ExemptChild(options, list);
  HoldFaceSize(options, list);
  HoldCompression(options, list);
}

}  // namespace qx::photo
