#include "orders/describe.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <sstream>

#include "orders/options/common_options.h"
#include "orders/order.h"
#include "photo/base/failure.h"

namespace qx::orders {
namespace {

// By the placeholder of the help, for what has no check that tells more.
OptionFacts::Kind KindOf(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return OptionFacts::Kind::kFlag;
  const std::string placeholder = option.get_type_name();
  if (placeholder == "N") return OptionFacts::Kind::kWhole;
  return placeholder == "X" ? OptionFacts::Kind::kNumber : OptionFacts::Kind::kText;
}

// See orders/options/checks.h.
void ReadCheck(const std::string& name, OptionFacts* facts) {
  std::istringstream text(name);
  std::string kind;
  text >> kind;
  if (kind == "words") {
    for (std::string word; text >> word;) facts->words.push_back(word);
  } else if (kind == "whole" || kind == "number") {
    double min = 0, max = 0;
    text >> min >> max;
    facts->kind = kind == "whole" ? OptionFacts::Kind::kWhole : OptionFacts::Kind::kNumber;
    facts->min = min;
    facts->max = max;
  }
}

std::vector<std::string> NamesOf(const std::set<CLI::Option*>& options) {
  std::vector<std::string> names;
  for (const CLI::Option* option : options) names.push_back(option->get_lnames().at(0));
  std::sort(names.begin(), names.end());  // the set goes by addresses
  return names;
}

OptionFacts FactsOf(CLI::Option& option) {
  OptionFacts facts;
  facts.name = option.get_lnames().at(0);
  facts.help = WithoutDashes(option.get_description());
  facts.kind = KindOf(option);
  try {
    ReadCheck(option.get_validator()->get_name(), &facts);
  } catch (const CLI::OptionNotFound&) {
    // none: any text, or what the option's own reader refuses
  }
  facts.required = option.get_required();
  facts.repeatable = option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
  facts.notWith = NamesOf(option.get_excludes());
  facts.onlyWith = NamesOf(option.get_needs());
  return facts;
}

}  // namespace

void AddAllOptions(Order* order, CLI::App& parser) {
  parser.set_help_flag();
  order->AddOptions(parser);
  order->AddChoices(parser);
  AddMaxMegapixels(parser, &order->limits.pixels);
}

std::string WithoutDashes(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool starts = i == 0 || text[i - 1] == ' ' || text[i - 1] == '(';
    const bool isOption = starts && text.substr(i, 2) == "--" && i + 2 < text.size() &&
                          std::isalpha(static_cast<unsigned char>(text[i + 2])) != 0;
    if (isOption) i += 2;
    plain += text[i];
  }
  return plain;
}

std::vector<OptionFacts> DescribeOptions(std::string_view command) {
  const std::unique_ptr<Order> order = NewOrder(command);
  if (!order) throw photo::Failure(photo::FailureCode::kBadOption, "there is no command of that name");
  CLI::App parser;
  AddAllOptions(order.get(), parser);
  std::vector<OptionFacts> facts;
  for (CLI::Option* option : parser.get_options()) facts.push_back(FactsOf(*option));
  return facts;
}

}  // namespace qx::orders
