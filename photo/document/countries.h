// Countries and territories by their codes.
#ifndef QX_PHOTO_DOCUMENT_COUNTRIES_H
#define QX_PHOTO_DOCUMENT_COUNTRIES_H

#include <string_view>

namespace qx::photo {

struct Country {
  std::string_view code;  // ISO 3166-1 alpha-2, capitals; "EU", which that standard reserves, for the European Union
  std::string_view name;  // in English
  std::string_view also;  // other names that people look for, commas between; may be empty
};

// Letters in either case; "UK", reserved too, is the United Kingdom (GB). Null when there is no such code. Lives as
// long as the program.
const Country* FindCountry(std::string_view code);

}  // namespace qx::photo

#endif  // QX_PHOTO_DOCUMENT_COUNTRIES_H
