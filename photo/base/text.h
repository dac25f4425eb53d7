// Text for people: file names and numbers as they are printed; and the digits by which longer texts are told apart.
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

// The 16 hexadecimal digits of Fowler, Noll and Vo's hash of the bytes (FNV-1a, 64 bits): tells apart what nobody
// forges.
std::string HashDigits(std::string_view bytes);

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_TEXT_H
