// The description of the HTTP interface (OpenAPI 3.1).
#ifndef QX_SERVER_DESCRIPTION_OPENAPI_H
#define QX_SERVER_DESCRIPTION_OPENAPI_H

#include <string>

#include "photo/base/failure.h"

namespace qx::server {

// The status that a failure is answered with.
using StatusOfFailure = unsigned (*)(photo::FailureCode code, const photo::FailureFields& fields);

// What openapi.json says by hand, with the options of each command as orders/ parses them, the codes of failures under
// their statuses, and the schema of checks that is installed. JSON.
std::string OpenApi(StatusOfFailure statusOf);

}  // namespace qx::server

#endif  // QX_SERVER_DESCRIPTION_OPENAPI_H
