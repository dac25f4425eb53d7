// The network operators written straight from their definitions: slow, sums in double, no library behind them.
#ifndef QX_TESTS_NN_NAIVE_INTERPRETER_H
#define QX_TESTS_NN_NAIVE_INTERPRETER_H

#include <map>
#include <vector>

#include "nn/model.h"

namespace qx::nn {

using TensorValues = std::map<int, std::vector<float>>;  // by tensor index

// Computes every tensor that can be computed from `values` and the constants, and adds it to `values`.
void InterpretNaively(const Model& model, TensorValues* values);

}  // namespace qx::nn

#endif  // QX_TESTS_NN_NAIVE_INTERPRETER_H
