#include "photo/document/paper.h"

#include <cctype>
#include <string>

#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace qx::photo {
namespace {

struct NamedPaper {
  const char* name;
  double widthMm, heightMm;
};
constexpr double kInch = kMillimetresPerInch;
constexpr NamedPaper kPapers[] = {
    {"a3", 297, 420},
    {"a4", 210, 297},
    {"a5", 148, 210},
    {"a6", 105, 148},
    {"a7", 74, 105},
    {"letter", 8.5 * kInch, 11 * kInch},
    {"3.5x5", 3.5 * kInch, 5 * kInch},
    {"4x6", 4 * kInch, 6 * kInch},
    {"5x7", 5 * kInch, 7 * kInch},
    {"6x8", 6 * kInch, 8 * kInch},
    {"8x10", 8 * kInch, 10 * kInch},
    {"5x3.5", 5 * kInch, 3.5 * kInch},
    {"6x4", 6 * kInch, 4 * kInch},
    {"7x5", 7 * kInch, 5 * kInch},
    {"8x6", 8 * kInch, 6 * kInch},
    {"10x8", 10 * kInch, 8 * kInch},
};

}  // namespace

Size ParsePaper(std::string_view text) {
  std::string name(text);
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const NamedPaper& paper : kPapers) {
    if (name == paper.name) return {paper.widthMm, paper.heightMm, Unit::kMillimetre};
  }
  Size size;
  try {
    size = ParseSize(name);
  } catch (const Failure&) {
    throw Failure(FailureCode::kBadOption,
                  "\"" + Printable(text) + "\" is no paper; write A4, letter, 4x6 or a size with its unit (10x15cm)");
  }
  if (size.unit == Unit::kMillimetre) return size;
  throw Failure(FailureCode::kBadOption, "paper is measured in mm, cm or inches, not in pixels");
}

}  // namespace qx::photo
