// What options an order has, read back from the definitions that parse them: for descriptions of an interface, which so
// cannot say anything else than what is taken.
#ifndef QX_ORDERS_DESCRIBE_H
#define QX_ORDERS_DESCRIBE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace qx::orders {

class Order;

struct OptionFacts {
  enum class Kind { kFlag, kWhole, kNumber, kText };

  std::string name;  // as pairs have it, without dashes
  std::string help;  // for people, one line
  Kind kind = Kind::kText;
  std::optional<double> min, max;  // of numbers, both included
  std::vector<std::string> words;  // the only ones that are taken; empty: any text that can be read
  bool required = false;
  bool repeatable = false;            // may be given more than once
  std::vector<std::string> notWith;   // names of options that exclude it
  std::vector<std::string> onlyWith;  // and of those without which it is refused
};

// Puts all options into the parser that pairs may give: the order's own and what is asked of every photograph.
void AddAllOptions(Order* order, CLI::App& parser);

// "pair" for "--pair", in a text: who sends pairs writes no dashes.
std::string WithoutDashes(std::string_view text);

// Those that ParseOrder takes, in the order of the command's help. Throws Failure (kBadOption): there is no such
// command.
std::vector<OptionFacts> DescribeOptions(std::string_view command);

}  // namespace qx::orders

#endif  // QX_ORDERS_DESCRIBE_H
