// A check as people read it.
#ifndef QX_CLI_CHECK_TEXT_H
#define QX_CLI_CHECK_TEXT_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "photo/check/check.h"

namespace qx::cli {

enum class CheckDetail {
  kFindings,  // the verdict, what failed and what is to be looked at
  kTable,     // and all that was assessed, with its limit
  kAll,       // and what was not, with the reason
};

// Lines without an end behind the last one. `photograph`: its name, printable or not.
std::string CheckText(const std::string& photograph, const photo::PhotoCheck& check, CheckDetail detail);

// What became of several photographs.
class CheckSummary {
 public:
  void Add(const photo::PhotoCheck& check);
  void AddUnread() { ++unread_; }

  // How many passed, failed or could not be checked, and by what they failed, most often first.
  std::string Text() const;

 private:
  size_t passed_ = 0, failed_ = 0, unread_ = 0;
  std::map<std::string, size_t> failures_;  // how many photographs, by title of line or measure
};

}  // namespace qx::cli

#endif  // QX_CLI_CHECK_TEXT_H
