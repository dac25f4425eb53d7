// Text for people: file names and numbers as they are printed.
#ifndef QX_HOST_TEXT_H
#define QX_HOST_TEXT_H

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

namespace qx::host {

// The text as one printable line of UTF-8: control characters and bytes that are not UTF-8 become \xNN, so that a
// file name can neither break a line nor move a terminal's cursor.
std::string Printable(std::string_view text);

// "1 face", "3 faces".
std::string Count(size_t number, std::string_view noun);

// What an exception says, as one line for the user; also for those that were not meant for one.
std::string ReasonOf(const std::exception& exception);

}  // namespace qx::host

#endif  // QX_HOST_TEXT_H
