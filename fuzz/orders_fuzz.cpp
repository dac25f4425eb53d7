// Names and values of a command's options: whatever they are, they make a settled order or one clear failure.
#include <fuzzer/FuzzedDataProvider.h>

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "orders/order.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"

namespace {

using qx::orders::NewOrder;
using qx::orders::OrderNames;
using qx::photo::FailureCode;

// The names of a command's options, so that the fuzzer need not guess them.
std::vector<std::string> NamesOf(const std::string& command) {
  const auto order = NewOrder(command);
  CLI::App parser;
  order->AddOptions(parser);
  order->AddChoices(parser);
  std::vector<std::string> names{"max-megapixels"};
  for (const CLI::Option* option : parser.get_options()) names.push_back(option->get_lnames().at(0));
  return names;
}

void Expect(const qx::photo::Failure& failure) {
  switch (failure.Code()) {
    case FailureCode::kBadOption:
    case FailureCode::kUnknownPreset:
    case FailureCode::kForbiddenEdit: break;
    default: std::abort();
  }
  const std::string text = failure.what();
  if (text.empty() || text.find("--") == 0 || qx::photo::Printable(text) != text) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto* const names = [] {
    auto* all = new std::vector<std::vector<std::string>>;
    for (const std::string& command : OrderNames()) all->push_back(NamesOf(command));
    return all;
  }();
  FuzzedDataProvider input(data, size);
  const size_t command = input.ConsumeIntegralInRange<size_t>(0, names->size() - 1);
  const std::vector<std::string>& known = (*names)[command];
  qx::orders::OptionPairs pairs;
  while (input.remaining_bytes() > 0 && pairs.size() < 20) {
    const size_t which = input.ConsumeIntegralInRange<size_t>(0, known.size());
    std::string name = which < known.size() ? known[which] : input.ConsumeRandomLengthString();
    pairs.emplace_back(std::move(name), input.ConsumeRandomLengthString());
  }
  constexpr qx::codec::Limits kMost{5'000'000};
  try {
    const auto order = qx::orders::ParseOrder(OrderNames()[command], pairs, kMost);
    if (order->limits.pixels < 1 || order->limits.pixels > kMost.pixels) std::abort();
  } catch (const qx::photo::Failure& failure) {
    Expect(failure);
  }
  const std::string stem = qx::orders::StemOf(pairs.empty() ? "" : pairs[0].second);
  if (stem.empty() || stem.size() > 100 || stem.front() == '.' || stem.find('/') != std::string::npos) std::abort();
  return 0;
}
