// Checks of options' values that can also be told to programs: each bears what it takes as its name, which no help
// shows and orders/describe reads back.
#ifndef QX_ORDERS_OPTIONS_CHECKS_H
#define QX_ORDERS_OPTIONS_CHECKS_H

#include <CLI/App.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace qx::orders {

// From `min` to `max`, both included.
CLI::Validator WholeBetween(int64_t min, int64_t max);
CLI::Validator NumberBetween(double min, double max);
// Words in small or capital letters, shown in the help; for transform(), so that they arrive as they stand here.
CLI::Validator OneOf(const std::vector<std::string>& words);

// Refuse nothing: for options whose own readers do, in words of their own.
CLI::Validator ReadAsNumber(double min, double max);
CLI::Validator ReadAsOneOf(const std::vector<std::string>& words);

}  // namespace qx::orders

#endif  // QX_ORDERS_OPTIONS_CHECKS_H
