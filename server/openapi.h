// The description of the HTTP interface (OpenAPI 3.1).
#ifndef QX_SERVER_OPENAPI_H
#define QX_SERVER_OPENAPI_H

#include <string>

#include "server/files.h"

namespace qx::server {

// What openapi.json says by hand, with the options of each command as orders/ parses them, the codes of failures under
// the statuses that they are answered with, and the schema of checks that is installed. JSON.
std::string OpenApi();

// The same as a file with its tag, built once.
const File& OpenApiFile();

}  // namespace qx::server

#endif  // QX_SERVER_OPENAPI_H
