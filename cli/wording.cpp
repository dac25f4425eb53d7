#include "cli/wording.h"

#include <algorithm>
#include <new>

#include "photo/base/text.h"

namespace qx::cli {
namespace {

using photo::Failure;
using photo::FailureCode;

bool HasField(const Failure& failure, const char* name) {
  return std::any_of(failure.Fields().begin(), failure.Fields().end(),
                     [name](const photo::FailureField& field) { return field.name == name; });
}

// "use --head or --top": the options that move the bounds which are missed.
std::string BoundOptions(const Failure& failure) {
  std::string options;
  for (const photo::FailureField& field : failure.Fields()) {
    if (field.name != "bound") continue;
    std::string name = field.word;
    std::replace(name.begin(), name.end(), '_', '-');
    options += (options.empty() ? "use --" : " or --") + name;
  }
  return options;
}

std::string NoFitAdvice(const Failure& failure) {
  if (failure.Word("what") == "pair") return HasField(failure, "relaxed") ? "" : ", or try --relax";
  if (!HasField(failure, "nearest")) return "";
  if (HasField(failure, "moved")) return "; --relax takes it all the same";
  return "; " + BoundOptions(failure) + "; --relax takes this nearest one";
}

std::string Advice(const Failure& failure) {
  switch (failure.Code()) {
    case FailureCode::kUnknownPreset: return HasField(failure, "similar") ? "" : "; idphoto presets lists them";
    case FailureCode::kNoSuchFace: return "; idphoto inspect --draw shows their numbers";
    case FailureCode::kNoPerson: return " (--background keep, --mask FILE)";
    case FailureCode::kNoFit: return NoFitAdvice(failure);
    case FailureCode::kUnsuitable: return "; leave out --strict to have it made";
    case FailureCode::kForbiddenEdit:
      return failure.Word("edit") == "background"   ? "; leave out --background, or add --force"
             : failure.Word("edit") == "retouching" ? "; leave out the retouching, or add --force"
             : failure.Word("edit") == "adjustment" ? "; leave out the adjustment, or add --force"
             : failure.Word("edit") == "turn"       ? "; leave out --turn, or add --force"
                                                    : "";
    case FailureCode::kTooLarge: return HasField(failure, "limit") ? ", or raise --max-megapixels" : "";
    case FailureCode::kOutOfMemory:
      return failure.Word("what") == "crop" ? ": leave out --src-same, or lower --ratio" : "";
    case FailureCode::kFileSize:
      return failure.Word("what") == "picture" ? " (--max-kb, --min-kb)" : " (--max-kb, --min-kb, --size, --dpi)";
    default: return "";
  }
}

}  // namespace

std::string Wording(const std::exception& exception) {
  const auto* failure = dynamic_cast<const Failure*>(&exception);
  return photo::ReasonOf(exception) + (failure ? Advice(*failure) : "");
}

FailureCode CodeOf(const std::exception& exception) {
  if (const auto* failure = dynamic_cast<const Failure*>(&exception)) return failure->Code();
  return dynamic_cast<const std::bad_alloc*>(&exception) ? FailureCode::kOutOfMemory : FailureCode::kCannotRead;
}

Failure About(const std::string& what, const std::exception& exception) {
  const auto* failure = dynamic_cast<const Failure*>(&exception);
  return {CodeOf(exception), what + ": " + photo::ReasonOf(exception),
          failure ? failure->Fields() : photo::FailureFields()};
}

}  // namespace qx::cli
