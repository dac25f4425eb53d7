// The options of a run over many photographs, as its report tells them.
#ifndef QX_CLI_BATCH_OPTIONS_TEXT_H
#define QX_CLI_BATCH_OPTIONS_TEXT_H

#include <CLI/App.hpp>
#include <set>
#include <string>

#include "orders/order.h"

namespace qx::cli {

// Those that were given, in the order in which the command knows them, but for the `others`.
orders::OptionPairs GivenOptions(const CLI::App& command, const std::set<std::string>& others);

// What decides how the outputs look: the program and the options.
std::string OptionsText(const orders::OptionPairs& options);

}  // namespace qx::cli

#endif  // QX_CLI_BATCH_OPTIONS_TEXT_H
