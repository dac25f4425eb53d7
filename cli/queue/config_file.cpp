#include "cli/queue/config_file.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <vector>

#include "cli/wording.h"
#include "photo/base/text.h"

namespace qx::cli {
namespace {

void Give(CLI::App& command, const CLI::ConfigItem& item) {
  CLI::Option* const option = item.parents.empty() ? command.get_option_no_throw("--" + item.name) : nullptr;
  if (!option || !option->get_configurable()) throw SetupFailure("\"" + item.fullname() + "\" is no option of it");
  if (option->count() > 0) return;
  option->add_result(item.inputs);
  option->run_callback();
}

}  // namespace

void ReadConfigFile(CLI::App& command, const std::string& file) {
  const auto fail = [&](const std::string& why) { throw SetupFailure(photo::Printable(file + ": " + why)); };
  std::ifstream stream(file);
  if (!stream) fail("cannot be read; check its name and permissions");
  try {
    for (const CLI::ConfigItem& item : CLI::ConfigTOML().from_config(stream)) Give(command, item);
  } catch (const SetupFailure& failure) {
    fail(failure.what());
  } catch (const CLI::Error& error) {
    fail(error.what());
  }
}

}  // namespace qx::cli
