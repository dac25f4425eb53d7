#include <cmath>
#include <memory>
#include <vector>

#include "base/exact_math.h"
#include "bench/cases.h"

namespace qx::bench {
namespace {

template <typename Number>
using Function = Number (*)(Number);

// One "pixel" is one call; arguments from 0 to 1.
template <typename Number>
void AddFunction(const std::string& name, Function<Number> ours, Function<Number> theirs, Table* table) {
  constexpr size_t kCalls = 4096;
  const auto arguments = std::make_shared<std::vector<Number>>(kCalls);
  const auto values = std::make_shared<std::vector<Number>>(kCalls);
  for (size_t i = 0; i < kCalls; ++i) (*arguments)[i] = (static_cast<Number>(i * 619 % kCalls) + 1) / kCalls;
  const auto calls = [=](Function<Number> function) {
    return [=] {
      for (size_t i = 0; i < kCalls; ++i) (*values)[i] = function((*arguments)[i]);
    };
  };
  table->Add({name, kCalls, calls(ours), "C library", calls(theirs), 0});
}

double Third(double x) {
  return exact::Pow(x, 1.0 / 3);
}
double LibraryThird(double x) {
  return std::pow(x, 1.0 / 3);
}

}  // namespace

void AddMathCases(Table* table) {
  AddFunction<double>("exp, nearest double", exact::Exp, std::exp, table);
  AddFunction<double>("log, nearest double", exact::Log, std::log, table);
  AddFunction<double>("power 1/3, nearest double", Third, LibraryThird, table);
  AddFunction<double>("cube root, nearest double", exact::Cbrt, std::cbrt, table);
  AddFunction<double>("sine, nearest double", exact::Sin, std::sin, table);
  AddFunction<double>("sine, for weights", exact::QuickSin, std::sin, table);
  AddFunction<double>("arc tangent, nearest double", exact::Atan, std::atan, table);
  AddFunction<float>("exp, float", exact::Exp, std::exp, table);
  AddFunction<float>("sine, float", exact::Sin, std::sin, table);
  AddFunction<float>("tangent, float", exact::Tan, std::tan, table);
  AddFunction<float>("arc sine, float", exact::Asin, std::asin, table);
  AddFunction<float>("arc tangent, float", exact::Atan, std::atan, table);
}

}  // namespace qx::bench
