#include "server/children/stage_times.h"

#include <cstdio>

namespace qx::server {
namespace {

constexpr std::array<const char*, kStages> kNames = {"waiting",  "analysis", "rendering",
                                                     "encoding", "checking", "other"};

}  // namespace

void StageTimes::Add(const StageSeconds& seconds) {
  const std::lock_guard lock(mutex_);
  for (size_t i = 0; i < kStages; ++i) {
    if (!(seconds[i] > 0)) continue;
    sums_[i] += seconds[i];
    ++counts_[i];
  }
}

std::string StageTimes::Text() const {
  const std::lock_guard lock(mutex_);
  std::string text =
      "# HELP idphoto_stage_seconds What the time of photographs goes into: waiting for a process, then inside it.\n"
      "# TYPE idphoto_stage_seconds summary\n";
  for (size_t i = 0; i < kStages; ++i) {
    char lines[200];
    std::snprintf(lines, sizeof lines,
                  "idphoto_stage_seconds_sum{stage=\"%s\"} %.9g\nidphoto_stage_seconds_count{stage=\"%s\"} %llu\n",
                  kNames[i], sums_[i], kNames[i], static_cast<unsigned long long>(counts_[i]));
    text += lines;
  }
  return text;
}

}  // namespace qx::server
