#include "bench/table.h"

#include <cstdio>

namespace qx::bench {
namespace {

std::string OursName(const Case& what) {
  return what.name + " / ours";
}
std::string TheirsName(const Case& what) {
  return what.name + " / " + what.reference;
}

void Register(const std::string& name, const std::function<void()>& call) {
  const auto run = [call](benchmark::State& state) {
    for (auto _ : state) {
      call();
      benchmark::ClobberMemory();
    }
  };
  benchmark::RegisterBenchmark(name.c_str(), run)->MeasureProcessCPUTime();
}

std::string Format(const char* format, double value) {
  char text[32];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string Time(const Case& what, double nanoseconds) {
  return what.pixels > 0 ? Format("%.3f ns/px", nanoseconds / what.pixels) : Format("%.1f ms", nanoseconds / 1e6);
}

std::string Goal(const Case& what) {
  if (what.pixelGoal > 0) return Format("%.0f ns", what.pixelGoal);
  if (what.goal > 0) return Format(what.reference.empty() ? "%.0f ms" : "%.2f", what.goal);
  return "";
}

}  // namespace

void Table::Add(Case what) {
  Register(OursName(what), what.ours);
  if (what.theirs) Register(TheirsName(what), what.theirs);
  cases_.push_back(std::move(what));
}

void Table::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.error_occurred || run.run_type != Run::RT_Aggregate || run.aggregate_name != "median") continue;
    medians_[run.run_name.function_name] = run.GetAdjustedCPUTime();
  }
}

void Table::Finalize() {
  std::printf("| %-34s | %12s | %-24s | %12s | %6s | %7s |\n", "one thread", "ours", "beside", "theirs", "ratio",
              "goal");
  std::puts(
      "| :--------------------------------- | -----------: | :----------------------- | -----------: | -----: | "
      "------: |");
  for (const Case& what : cases_) {
    const auto ours = medians_.find(OursName(what));
    if (ours == medians_.end()) continue;  // left out by a filter
    const auto theirs = medians_.find(TheirsName(what));
    const bool compared = theirs != medians_.end();
    std::printf("| %-34s | %12s | %-24s | %12s | %6s | %7s |\n", what.name.c_str(), Time(what, ours->second).c_str(),
                what.reference.c_str(), compared ? Time(what, theirs->second).c_str() : "",
                compared ? Format("%.2f", ours->second / theirs->second).c_str() : "", Goal(what).c_str());
  }
}

}  // namespace qx::bench
