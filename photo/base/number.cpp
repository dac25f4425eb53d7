#include "photo/base/number.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>

namespace qx::photo {

std::optional<double> ReadNumber(std::string_view text) {
  double value = 0;
#ifdef __cpp_lib_to_chars
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, value, std::chars_format::fixed);
  const bool isWhole = error == std::errc() && end == last;
#else
  // LLVM's library reads no fractions before its version 20. strtod rounds as it should; what else it would take is
  // refused before.
  const bool isPlain = text.find_first_not_of("0123456789.", text.substr(0, 1) == "-" ? 1 : 0) == text.npos;
  if (!isPlain || text.find_first_of("0123456789") == text.npos) return std::nullopt;
  const std::string copy(text);
  char* end = nullptr;
  value = std::strtod(copy.c_str(), &end);
  const bool isWhole = end == copy.c_str() + copy.size();
#endif
  if (!isWhole || !std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace qx::photo
