#include "photo/base/failure.h"

#include <new>

#include "photo/base/text.h"

namespace qx::photo {

const char* NameOf(FailureCode code) {
  switch (code) {
    case FailureCode::kBadOption: return "bad_option";
    case FailureCode::kUnknownPreset: return "unknown_preset";
    case FailureCode::kNoFace: return "no_face";
    case FailureCode::kTooFewFaces: return "too_few_faces";
    case FailureCode::kNoSuchFace: return "no_such_face";
    case FailureCode::kFacesTurned: return "faces_turned";
    case FailureCode::kNoPerson: return "no_person";
    case FailureCode::kBadMask: return "bad_mask";
    case FailureCode::kTooSmall: return "too_small";
    case FailureCode::kNoFit: return "no_fit";
    case FailureCode::kUnsuitable: return "unsuitable";
    case FailureCode::kForbiddenEdit: return "forbidden_edit";
    case FailureCode::kSheetFull: return "sheet_full";
    case FailureCode::kFileSize: return "file_size";
    case FailureCode::kNoFile: return "no_file";
    case FailureCode::kCannotRead: return "cannot_read";
    case FailureCode::kCannotWrite: return "cannot_write";
    case FailureCode::kNotAPicture: return "not_a_picture";
    case FailureCode::kDamagedFile: return "damaged_file";
    case FailureCode::kTooLarge: return "too_large";
    case FailureCode::kOutOfMemory: return "out_of_memory";
    case FailureCode::kEngine: return "engine";
  }
  return "unknown";
}

Failure::Failure(FailureCode code, const std::string& text, FailureFields fields)
    : std::runtime_error(text), code_(code), fields_(std::move(fields)) {}

std::string Failure::Word(std::string_view name) const {
  for (const FailureField& field : fields_) {
    if (field.name == name) return field.word;
  }
  return "";
}

std::string ReasonOf(const std::exception& exception) {
  if (dynamic_cast<const std::bad_alloc*>(&exception)) {
    return "not enough memory; close other programs or make the photograph smaller";
  }
  return Printable(exception.what());
}

}  // namespace qx::photo
