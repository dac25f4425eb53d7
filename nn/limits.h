// Limits of a network that is accepted. They leave ten times the room of the networks in use and keep what a hostile
// file can cost small: about 300 MB of memory and some seconds of one processor core.
#ifndef QX_NN_LIMITS_H
#define QX_NN_LIMITS_H

#include <cstddef>
#include <cstdint>

namespace qx::nn {

constexpr size_t kMaxFileBytes = size_t{1} << 28;
constexpr uint32_t kMaxTensors = 8192;
constexpr uint32_t kMaxOperators = 4096;
constexpr uint32_t kMaxOperands = 64;       // inputs or outputs of one operator or of the network
constexpr uint32_t kMaxNameBytes = 256;     // of a custom operator
constexpr uint32_t kMaxOptionBytes = 4096;  // likewise
constexpr uint32_t kMaxRank = 6;
constexpr int kMaxExtent = 65536;                          // also of strides and windows
constexpr int64_t kMaxElements = int64_t{1} << 25;         // of all tensors together
constexpr int64_t kMaxWindowTaps = int64_t{1} << 23;       // output pixels times window area, of all operators
constexpr int64_t kMaxPackedWeights = int64_t{1} << 23;    // of all operators, as XNNPACK rounds them up
constexpr int64_t kMaxMultiplications = int64_t{1} << 32;  // of one run
constexpr int kMaxDepthwiseWindow = 25;                    // area; larger ones have no direct kernel
constexpr int kMaxPooledChannels = 16384;                  // a pool keeps one row of them on the stack

}  // namespace qx::nn

#endif  // QX_NN_LIMITS_H
