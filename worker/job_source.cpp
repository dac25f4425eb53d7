#include "worker/job_source.h"

namespace qx::worker {

JobSource::~JobSource() = default;

}  // namespace qx::worker
