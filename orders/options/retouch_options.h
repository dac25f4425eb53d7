// The options that say how to retouch, shared by the commands that do.
#ifndef QX_ORDERS_OPTIONS_RETOUCH_OPTIONS_H
#define QX_ORDERS_OPTIONS_RETOUCH_OPTIONS_H

#include <CLI/App.hpp>
#include <cstdint>
#include <optional>
#include <string>

#include "photo/render/retouch.h"

namespace qx::orders {

struct RetouchOptions {
  std::optional<photo::Retouch> named;  // by --beauty, which the others replace one by one
  std::optional<double> eyes, mouth, skin, face;
  std::optional<int32_t> tone;
  bool detail = false;

  // Whether any was given, be it 0.
  bool Any() const { return named || eyes || mouth || tone || skin || face || detail; }
};

// --beauty, --mouth, --tone, --skin, --detail, --face; all but --eyes, which some commands read otherwise.
void AddRetouchOptions(CLI::App& command, RetouchOptions* options);

// --name X, a number from `min` to `max`.
void AddStrength(CLI::App& command, const std::string& name, std::optional<double>* strength, double min, double max,
                 const std::string& help);

// Reads a plain decimal number from `min` to `max`, or returns false.
bool ReadStrength(const std::string& text, double min, double max, std::optional<double>* strength);

photo::Retouch RetouchOf(const RetouchOptions& options);

}  // namespace qx::orders

#endif  // QX_ORDERS_OPTIONS_RETOUCH_OPTIONS_H
