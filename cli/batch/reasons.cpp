#include "cli/batch/reasons.h"

#include <algorithm>
#include <new>
#include <set>
#include <string_view>
#include <utility>

#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace {

// Without what to do about it, which differs from photograph to photograph. Several measures may see the same thing.
constexpr std::pair<std::string_view, std::string_view> kWords[] = {
    {"BackgroundColour", "the background has another colour than the document asks for"},
    {"BackgroundEvenness", "the background is not plain"},
    {"BackgroundLightness", "the background is dark"},
    {"BackgroundShadow", "a shadow on the background"},
    {"CheekLight", "the face is lit from one side"},
    {"ColourPicture", "without colour"},
    {"DarkGlasses", "the eyes are not seen"},
    {"DynamicRange", "the face has hardly any contrast"},
    {"ExpressionNeutrality", "a smile"},
    {"EyeOpenness", "the eyes look closed"},
    {"EyeWhite", "too dark"},
    {"EyesOpen", "the eyes look closed"},
    {"FaceLightZones", "the face is lit unevenly"},
    {"GazeSideways", "the eyes look aside"},
    {"GlassesGlare", "reflections around the eyes"},
    {"HeadPosePitch", "the chin is raised or lowered"},
    {"HeadPoseRoll", "the head leans"},
    {"HeadPoseYaw", "the head is turned aside"},
    {"InterEyeDistance", "the face has too few pixels"},
    {"LipGap", "the mouth is open"},
    {"NaturalColour", "a cast of colour"},
    {"OverExposurePrevention", "parts of the face are pure white"},
    {"RedEyes", "red eyes"},
    {"Sharpness", "not sharp"},
    {"UnderExposurePrevention", "too dark"},
    {"bad_job", "the job cannot be done as it was handed in"},
    {"changed_photograph", "the photograph has changed since it was handed in"},
    {"gave_up", "given up after several tries"},
    {"no_face", "no face was found"},
    {"no_fit", "no cut meets the document's bounds"},
    {"no_person", "no person can be told from the background"},
    {"not_a_picture", "not a photograph"},
    {"not_allowed", "in no place that a worker may use"},
    {"too_few_faces", "one face where two are needed"},
    {"too_large", "too many pixels"},
    {"too_small", "the face is too small"},
};

// Codes that are not in the table read well enough: "damaged_file".
std::string InWords(std::string name) {
  for (const auto& [known, words] : kWords) {
    if (known == name) return std::string(words);
  }
  std::replace(name.begin(), name.end(), '_', ' ');
  return photo::Printable(name);
}

}  // namespace

std::vector<std::string> ReasonNames(const std::exception& exception) {
  const auto* failure = dynamic_cast<const photo::Failure*>(&exception);
  if (!failure) {
    const bool memory = dynamic_cast<const std::bad_alloc*>(&exception) != nullptr;
    return {memory ? photo::NameOf(photo::FailureCode::kOutOfMemory) : "unknown"};
  }
  std::vector<std::string> names;
  for (const photo::FailureField& field : failure->Fields()) {
    const bool said = std::find(names.begin(), names.end(), field.word) != names.end();
    if (field.name == "measure" && !said) names.push_back(field.word);
  }
  if (names.empty()) names.emplace_back(photo::NameOf(failure->Code()));
  return names;
}

void ReasonCounts::Add(const std::vector<std::string>& names) {
  std::set<std::string> kinds;
  for (const std::string& name : names) kinds.insert(InWords(name));
  for (const std::string& kind : kinds) ++photographs_[kind];
}

std::string ReasonCounts::Lines() const {
  std::vector<std::pair<std::string, size_t>> sorted(photographs_.begin(), photographs_.end());
  std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
  std::string lines;
  for (const auto& [kind, count] : sorted) lines += "  " + photo::Count(count, "photograph") + ": " + kind + "\n";
  return lines;
}

std::string ReasonLines(const ReasonCounts& failures, const ReasonCounts& remarks) {
  const std::string failed = failures.Lines(), remarked = remarks.Lines();
  return (failed.empty() ? "" : "failed:\n" + failed) + (remarked.empty() ? "" : "remarks:\n" + remarked);
}

}  // namespace qx::cli
