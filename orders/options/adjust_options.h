// The options that adjust the finished photograph, shared by the commands that make one.
#ifndef QX_ORDERS_OPTIONS_ADJUST_OPTIONS_H
#define QX_ORDERS_OPTIONS_ADJUST_OPTIONS_H

#include <CLI/App.hpp>
#include <optional>

#include "photo/render/adjust.h"

namespace qx::orders {

struct AdjustOptions {
  std::optional<double> brightness, contrast, saturation, temperature, tint, sharpness;
  bool whiteBalance = false;
};

// --brightness, --contrast, --saturation, --temperature, --tint, --white-balance, --sharpness.
void AddAdjustOptions(CLI::App& command, AdjustOptions* options);

photo::Adjustment AdjustmentOf(const AdjustOptions& options);

}  // namespace qx::orders

#endif  // QX_ORDERS_OPTIONS_ADJUST_OPTIONS_H
