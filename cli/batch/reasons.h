// Why photographs of a batch failed or have remarks, counted.
#ifndef QX_CLI_BATCH_REASONS_H
#define QX_CLI_BATCH_REASONS_H

#include <cstddef>
#include <exception>
#include <map>
#include <string>
#include <vector>

namespace qx::cli {

// Stable names for what went wrong: the identifiers of the measures that failed, such as "EyesOpen", or the failure's
// code, such as "no_face".
std::vector<std::string> ReasonNames(const std::exception& exception);

// Takes such names.
class ReasonCounts {
 public:
  // Of one photograph, which counts once for each kind of reason.
  void Add(const std::vector<std::string>& names);

  // One line for each kind, the most frequent first: "  3 photographs: the eyes look closed". Empty without any.
  std::string Lines() const;

 private:
  std::map<std::string, size_t> photographs_;  // by the reason in words
};

// Both under their headings, as far as there are any.
std::string ReasonLines(const ReasonCounts& failures, const ReasonCounts& remarks);

}  // namespace qx::cli

#endif  // QX_CLI_BATCH_REASONS_H
