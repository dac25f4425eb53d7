// Where libseccomp is missing.
#include "server/children/confinement.h"

namespace qx::server {

void AllowOnlyNeededCalls() {}

}  // namespace qx::server
