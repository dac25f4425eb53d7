// What goes wrong with one photograph, one document or one output.
#ifndef QX_PHOTO_BASE_FAILURE_H
#define QX_PHOTO_BASE_FAILURE_H

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::photo {

enum class FailureCode {
  kBadOption,      // a value that cannot be read, is out of its range or contradicts another
  kUnknownPreset,  // no document of that name
  kNoFace,         // no face was found
  kTooFewFaces,    // one face where two are needed
  kNoSuchFace,     // there is no face of that number
  kFacesTurned,    // two faces do not stand the same way up
  kNoPerson,       // no person can be told from the background
  kBadMask,        // a mask made elsewhere does not fit
  kTooSmall,       // a face is too small to be cut out
  kNoFit,          // no rectangle of the photograph meets the document's bounds
  kUnsuitable,     // what shows of a person is not what documents take
  kForbiddenEdit,  // the authority takes no photograph that was changed so
  kSheetFull,      // the photographs do not fit on the paper
  kFileSize,       // no file lies within the limits of size
  kNoFile,         // there is no such file, or it is none
  kCannotRead,     // the file cannot be opened or read
  kCannotWrite,    // the output cannot be written
  kNotAPicture,    // the content is no picture in a known format
  kDamagedFile,    // the picture is damaged or ends too early
  kTooLarge,       // the picture has more pixels than allowed
  kOutOfMemory,    // memory is short
  kEngine,         // a network or library cannot be loaded or run
};

// "no_face" for kNoFace and so on: stable names for programs.
const char* NameOf(FailureCode code);

// A number or a word that a program may want of a failure, such as {"wanted_min", 0.7} or {"bound", "head"}:
// kUnknownPreset  similar (names, commas between), where some are
// kNoSuchFace     faces (how many there are)
// kNoFit          nearest (1), where MakeRequest::relax helps, and for each bound that the nearest rectangle misses, in
//                 turn, bound (head, top, eyes or face_width), wanted_min, wanted_max and got (fractions); moved (1)
//                 where the bounds could be met and MakeRequest::framing leads out of them, or to where it cannot be
//                 taken at all; for two persons what (pair), and relaxed (1) where that was tried
// kUnsuitable     for each measure that failed, in turn: person (left or right) of two, measure (its id, such as
//                 HeadPoseYaw), and value, min and max as far as it has them
// kForbiddenEdit  edit (background, retouching, adjustment or turn)
// kSheetFull      wanted, limit (photographs), where they are more than any sheet takes
// kDamagedFile    format; kBadOption option (its name, where one is to blame); kFileSize what (picture)
// kTooLarge       limit, got (pixels), for a picture in a file
// kOutOfMemory    what (crop), where that alone is too large
struct FailureField {
  FailureField(std::string n, double value) : name(std::move(n)), number(value) {}
  FailureField(std::string n, std::string value) : name(std::move(n)), word(std::move(value)) {}
  FailureField(std::string n, const char* value) : name(std::move(n)), word(value) {}

  std::string name;
  double number = 0;
  std::string word;  // empty for a number
};
using FailureFields = std::vector<FailureField>;

// The text is one line for people, "what is wrong; what to do about it". It names neither the file (whoever reports the
// failure puts the name in front) nor any option of a program (whoever has options adds what they can do, by code and
// fields).
class Failure : public std::runtime_error {
 public:
  Failure(FailureCode code, const std::string& text, FailureFields fields = {});

  FailureCode Code() const { return code_; }
  const FailureFields& Fields() const { return fields_; }
  // The first word of that name, empty when there is none.
  std::string Word(std::string_view name) const;

 private:
  FailureCode code_;
  FailureFields fields_;
};

// What an exception says, as one printable line for the user; also for those that were not meant for one, such as
// std::bad_alloc.
std::string ReasonOf(const std::exception& exception);

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_FAILURE_H
