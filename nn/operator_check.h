// Holds an operator's options against the shapes of its operands.
#ifndef QX_NN_OPERATOR_CHECK_H
#define QX_NN_OPERATOR_CHECK_H

#include <cstdint>
#include <string>
#include <vector>

#include "nn/model.h"

namespace qx::nn {

// What the operators seen so far cost; see limits.h.
struct Cost {
  int64_t windowTaps = 0;
  int64_t packedWeights = 0;
  int64_t multiplications = 0;
};

// Elements of a tensor: the product of its extents, which the loader has bounded.
int64_t ElementCount(const Tensor& tensor);

// Whether `op`, whose kind Runtime runs and whose indices are in range, reads and writes exactly what its tensors hold.
// Adds to `cost`. Returns false and says why in `error` otherwise, also when the cost passes a limit.
bool CheckOperator(const Operator& op, const std::vector<Tensor>& tensors, Cost* cost, std::string* error);

}  // namespace qx::nn

#endif  // QX_NN_OPERATOR_CHECK_H
