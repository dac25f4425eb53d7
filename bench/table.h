// One table of medians: our code beside a reference that was timed in the same run.
#ifndef QX_BENCH_TABLE_H
#define QX_BENCH_TABLE_H

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace qx::bench {

struct Case {
  std::string name;
  double pixels;                 // worked on in one call; 0 reports milliseconds a call instead of ns a pixel
  std::function<void()> ours;    // one call
  std::string reference;         // its name; empty for none
  std::function<void()> theirs;  // one call of the reference
  double goal;                   // upper bound of ours / theirs, or of ours in ms without a reference; 0 for none
  double pixelGoal = 0;          // instead of `goal`: upper bound of ours in ns a pixel
};

// Collects the medians of all cases and prints them in the end.
class Table : public benchmark::BenchmarkReporter {
 public:
  // Registers both sides of a case. Before the run.
  void Add(Case what);

  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  std::vector<Case> cases_;
  std::map<std::string, double> medians_;  // ns of processor time a call, by the name of the benchmark
};

}  // namespace qx::bench

#endif  // QX_BENCH_TABLE_H
