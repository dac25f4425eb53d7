// Whole results held against stored ones by their digests.
#ifndef QX_TESTS_SUPPORT_STORED_RESULTS_H
#define QX_TESTS_SUPPORT_STORED_RESULTS_H

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/digests.h"

namespace qx::test {

// `name` of the file in the folder of stored results, without its ending; `variant` of what made the new ones.
inline void ExpectStored(const std::string& name, const std::string& variant, const std::string& actual) {
  const std::string stored = QX_GOLDEN_FOLDER "/" + name + ".txt";
  std::ifstream file(stored);
  const std::string expected{std::istreambuf_iterator<char>(file), {}};
  if (actual == expected) return;
  const std::string fresh = ::testing::TempDir() + name + "_results_" + variant + ".txt";
  std::ofstream(fresh) << actual;
  ADD_FAILURE() << "other results with " << variant << " loops:\n"
                << Missing(expected, actual, "- ") << Missing(actual, expected, "+ ")
                << "Where the change is meant, accept it by\n  cp " << fresh << " " << stored;
}

}  // namespace qx::test

#endif  // QX_TESTS_SUPPORT_STORED_RESULTS_H
