// What the options in a file say about an operator: its kind, window, padding and bounds.
#ifndef QX_NN_OPERATOR_OPTIONS_H
#define QX_NN_OPERATOR_OPTIONS_H

#include <cstdint>
#include <vector>

#include "nn/model.h"
#include "tflite_generated.h"

namespace qx::nn {

// Sets the kind of a built-in operator and what its kind uses; `out` has its operands. The kind stays kUnsupported for
// another operator, for missing options and for options that Runtime does not run. Values are not held against shapes.
void ReadBuiltinOptions(int32_t code, const tflite::Operator& op, const std::vector<Tensor>& tensors, Operator* out);

// Sets the kind of a custom operator from its name and option bytes: kTransposedConvolution or kCustom.
void ReadCustomOptions(Operator* out);

}  // namespace qx::nn

#endif  // QX_NN_OPERATOR_OPTIONS_H
