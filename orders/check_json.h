// A check as programs read it: one JSON object on one line, as docs/schema/check.schema.json describes it.
#ifndef QX_ORDERS_CHECK_JSON_H
#define QX_ORDERS_CHECK_JSON_H

#include <string>

#include "photo/base/failure.h"
#include "photo/check/check.h"

namespace qx::orders {

// `document`: the preset's name, empty for none. Names that are not UTF-8 have their bytes replaced.
std::string CheckJson(const std::string& photograph, const std::string& document, const photo::PhotoCheck& check);
// The same of a photograph that could not be checked.
std::string CheckErrorJson(const std::string& photograph, const std::string& document, photo::FailureCode code,
                           const std::string& message);

}  // namespace qx::orders

#endif  // QX_ORDERS_CHECK_JSON_H
