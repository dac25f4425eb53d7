// The options that move the persons in the picture, shared by the commands that make one.
#ifndef QX_ORDERS_OPTIONS_FRAMING_OPTIONS_H
#define QX_ORDERS_OPTIONS_FRAMING_OPTIONS_H

#include <CLI/App.hpp>
#include <optional>

#include "photo/place/framing.h"

namespace qx::orders {

struct FramingOptions {
  std::optional<double> zoom, offsetX, offsetY, turn;
};

// --zoom, --offset-x, --offset-y, --turn.
void AddFramingOptions(CLI::App& command, FramingOptions* options);

photo::Framing FramingOf(const FramingOptions& options);

}  // namespace qx::orders

#endif  // QX_ORDERS_OPTIONS_FRAMING_OPTIONS_H
