// Reads one message a line and says of each whether the worker takes it, for a test that holds it against the schema.
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "queue/message.h"

namespace {

using namespace qx::queue;

std::string Again(const std::string& line) {
  const nlohmann::json message = nlohmann::json::parse(line, nullptr, false);
  const std::string kind =
      message.is_object() && message.contains("kind") && message["kind"].is_string() ? message["kind"] : "";
  if (kind == "answer") return ToText(ParseAnswer(line));
  if (kind == "dead") return ToText(ParseDead(line));
  return ToText(ParseJob(line));
}

}  // namespace

int main() {
  for (std::string line; std::getline(std::cin, line);) {
    try {
      const std::string again = Again(line);
      std::cout << "taken " << again << "\n";
    } catch (const BadMessage& bad) {
      std::cout << "refused " << bad.what() << "\n";
    }
  }
  return 0;
}
