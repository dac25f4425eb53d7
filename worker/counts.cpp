#include "worker/counts.h"

#include <numeric>

#include "server/http/exposition.h"

namespace qx::worker {

void Counts::Taken() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++taken_;
}

void Counts::Ended(Ending ending, double seconds) {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++ended_[static_cast<size_t>(ending)];
  if (ending == Ending::kDone || ending == Ending::kFailed) times_.Add(seconds);
}

std::string Counts::Text(const server::ChildrenState& children, bool reaches) const {
  constexpr std::array<const char*, kEndings> kNames = {"done", "failed", "given_back", "buried", "returned"};
  const std::lock_guard<std::mutex> lock(mutex_);
  const uint64_t ended = std::accumulate(ended_.begin(), ended_.end(), uint64_t{0});
  server::Exposition text;
  text.Head("idphoto_jobs_total", "counter",
            "Jobs that left this worker: answered as done or failed, given back after a try that came to nothing, "
            "buried after the last one, or returned untried.");
  for (size_t i = 0; i < kEndings; ++i) {
    text.Line("idphoto_jobs_total", std::string("outcome=\"") + kNames[i] + "\"", ended_[i]);
  }
  text.Head("idphoto_job_seconds", "histogram", "From taking a job to having its answer ready.");
  text.Lines("idphoto_job_seconds", "", times_);
  text.Single("idphoto_jobs_in_hand", "gauge", "Jobs taken and not yet answered.", taken_ - ended);
  text.Single("idphoto_queue_reached", "gauge", "1 when the queue answered the last time.", reaches ? 1 : 0);
  text.Single("idphoto_children_ready", "gauge", "Processes that work on photographs or could.", children.ready);
  text.Single("idphoto_children_busy", "gauge", "Of these, those that do.", children.busy);
  text.Single("idphoto_children_started_total", "counter", "Processes started.", children.started);
  text.Single("idphoto_children_died_total", "counter", "Processes that a photograph or a limit ended.", children.died);
  return text.Text();
}

}  // namespace qx::worker
