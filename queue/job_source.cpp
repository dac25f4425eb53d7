#include "queue/job_source.h"

namespace qx::queue {

JobSource::~JobSource() = default;

}  // namespace qx::queue
