#include <CLI/CLI.hpp>

#include "host/commands/commands.h"
#include "host/image_file.h"
#include "host/text.h"

namespace qx::host {

void AddMaxMegapixels(CLI::App& command, int64_t* maxPixels) {
  constexpr int64_t kMega = 1'000'000;
  command
      .add_option_function<int64_t>(
          "--max-megapixels", [maxPixels](int64_t value) { *maxPixels = value * kMega; },
          "Refuse larger photographs before decoding them (default " + std::to_string(kDefaultMaxPixels / kMega) +
              ", at most " + std::to_string(kHighestMaxPixels / kMega) + ")")
      ->type_name("N")
      ->check(CLI::Range(int64_t{1}, kHighestMaxPixels / kMega).description(""));
}

}  // namespace qx::host
