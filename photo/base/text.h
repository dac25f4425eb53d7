// Text for people: file names and numbers as they are printed.
#ifndef QX_PHOTO_BASE_TEXT_H
#define QX_PHOTO_BASE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace qx::photo {

// The text as one printable line of UTF-8: control characters and bytes that are not UTF-8 become \xNN, so that a
// file name can neither break a line nor move a terminal's cursor.
std::string Printable(std::string_view text);

// Bytes of the well-formed UTF-8 character (Unicode, table 3-7) at the start of a text that is not empty; 0 when there
// is none.
size_t Utf8Length(std::string_view text);

// "1 face", "3 faces".
std::string Count(size_t number, std::string_view noun);

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_TEXT_H
