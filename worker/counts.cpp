#include "worker/counts.h"

#include <cstdio>
#include <numeric>

namespace qx::worker {
namespace {

std::string Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

std::string Head(const std::string& name, const char* kind, const char* help) {
  return "# HELP " + name + " " + help + "\n# TYPE " + name + " " + kind + "\n";
}

std::string Line(const std::string& name, const char* kind, const char* help, uint64_t value) {
  return Head(name, kind, help) + name + " " + std::to_string(value) + "\n";
}

}  // namespace

void Counts::Taken() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++taken_;
}

void Counts::Ended(Ending ending, double seconds) {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++ended_[static_cast<size_t>(ending)];
  if (ending != Ending::kDone && ending != Ending::kFailed) return;
  seconds_ += seconds;
  for (size_t i = 0; i < kLimits.size(); ++i) within_[i] += seconds <= kLimits[i] ? 1 : 0;
}

std::string Counts::Text(const server::ChildrenState& children, bool reaches) const {
  constexpr std::array<const char*, kEndings> kNames = {"done", "failed", "given_back", "buried", "returned"};
  const std::lock_guard<std::mutex> lock(mutex_);
  const uint64_t ended = std::accumulate(ended_.begin(), ended_.end(), uint64_t{0}), answered = ended_[0] + ended_[1];
  std::string text =
      Head("idphoto_jobs_total", "counter",
           "Jobs that left this worker: answered as done or failed, given back after a try that came to nothing, "
           "buried after the last one, or returned untried.");
  for (size_t i = 0; i < kEndings; ++i) {
    text += std::string("idphoto_jobs_total{outcome=\"") + kNames[i] + "\"} " + std::to_string(ended_[i]) + "\n";
  }
  const std::string name = "idphoto_job_seconds";
  text += Head(name, "histogram", "From taking a job to having its answer ready.");
  for (size_t i = 0; i < kLimits.size(); ++i) {
    text += name + "_bucket{le=\"" + Number(kLimits[i]) + "\"} " + std::to_string(within_[i]) + "\n";
  }
  text += name + "_bucket{le=\"+Inf\"} " + std::to_string(answered) + "\n" + name + "_sum " + Number(seconds_) + "\n" +
          name + "_count " + std::to_string(answered) + "\n";
  return text + Line("idphoto_jobs_in_hand", "gauge", "Jobs taken and not yet answered.", taken_ - ended) +
         Line("idphoto_queue_reached", "gauge", "1 when the queue answered the last time.", reaches ? 1 : 0) +
         Line("idphoto_children_ready", "gauge", "Processes that work on photographs or could.", children.ready) +
         Line("idphoto_children_busy", "gauge", "Of these, those that do.", children.busy) +
         Line("idphoto_children_started_total", "counter", "Processes started.", children.started) +
         Line("idphoto_children_died_total", "counter", "Processes that a photograph or a limit ended.", children.died);
}

}  // namespace qx::worker
