// Tables of what the measures said.
#ifndef QX_BENCH_CHECKS_REPORT_H
#define QX_BENCH_CHECKS_REPORT_H

#include <string>
#include <vector>

#include "bench/checks/defects.h"
#include "photo/check/measure.h"

namespace qx::bench::checks {

struct Result {
  std::string portrait;
  std::vector<photo::Measure> before, after;  // of the portrait as it is and with the defect, in the order of MeasureId
};

// One row for each defect: how many of the portraits, whose own measures found nothing before, were reported by them as
// failed or with a remark, and which other measures newly failed how often.
class Report {
 public:
  explicit Report(bool markdown) : markdown_(markdown) {}

  void PrintPortrait(const std::string& name, const std::vector<photo::Measure>& measures) const;
  void PrintHead() const;
  void PrintDefect(const Defect& defect, const std::vector<Result>& results, bool each);
  // Of the rows so far: how many portraits should have been reported and were.
  void PrintSum() const;

 private:
  bool markdown_;
  int shouldReport_ = 0, reported_ = 0, shouldPass_ = 0, falseAlarms_ = 0;
};

}  // namespace qx::bench::checks

#endif  // QX_BENCH_CHECKS_REPORT_H
