// A check as programs read it: one JSON object on one line, as docs/schema/check.schema.json describes it.
#ifndef QX_CLI_CHECK_JSON_H
#define QX_CLI_CHECK_JSON_H

#include <exception>
#include <string>

#include "photo/check/check.h"

namespace qx::cli {

// `document`: the preset's name, empty for none. Names that are not UTF-8 have their bytes replaced.
std::string CheckJson(const std::string& photograph, const std::string& document, const photo::PhotoCheck& check);
// The same of a photograph that could not be checked.
std::string CheckErrorJson(const std::string& photograph, const std::string& document, const std::exception& exception);

}  // namespace qx::cli

#endif  // QX_CLI_CHECK_JSON_H
