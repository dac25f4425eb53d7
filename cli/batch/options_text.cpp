#include "cli/batch/options_text.h"

namespace qx::cli {

orders::OptionPairs GivenOptions(const CLI::App& command, const std::set<std::string>& others) {
  orders::OptionPairs pairs;
  for (const CLI::Option* option : command.get_options()) {
    if (option->count() == 0 || others.count(option->get_name()) != 0) continue;
    for (const std::string& value : option->results()) pairs.emplace_back(option->get_name().substr(2), value);
  }
  return pairs;
}

std::string OptionsText(const orders::OptionPairs& options) {
  std::string text = "idphoto " + orders::ProgramVersion();
  const std::string* last = nullptr;
  for (const auto& [name, value] : options) {
    if (!last || *last != name) text += " --" + name;
    text += "=" + value;
    last = &name;
  }
  return text;
}

}  // namespace qx::cli
