// What the tests of the row loops share: random sizes and bytes, and the outputs of the plain and the fastest variant.
#ifndef QX_TESTS_SRC_KERNELS_LOOP_TEST_H
#define QX_TESTS_SRC_KERNELS_LOOP_TEST_H

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "src/kernels/guarded_bytes.h"

namespace qx::test {

// What the two variants write for the same input.
struct Images {
  Images(size_t size, Guard guard) : of{GuardedBytes(size, guard), GuardedBytes(size, guard)} {}
  bool Agree() { return std::equal(of[0].begin(), of[0].end(), of[1].begin()) && of[0].Intact() && of[1].Intact(); }
  GuardedBytes of[2];
};

class LoopTest : public ::testing::Test {
 protected:
  int Random(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  double Real(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random_); }
  size_t RandomSize(int low, int high) { return static_cast<size_t>(Random(low, high)); }
  Guard RandomGuard() { return Random(0, 1) == 0 ? Guard::kBefore : Guard::kAfter; }
  void FillRandomly(GuardedBytes* bytes) {
    for (uint8_t& byte : *bytes) byte = static_cast<uint8_t>(random_());
  }

  std::mt19937 random_{31};
};

}  // namespace qx::test

#endif  // QX_TESTS_SRC_KERNELS_LOOP_TEST_H
