#include "queue/owner.h"

#include <unistd.h>

#include <array>
#include <charconv>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "photo/base/text.h"

namespace qx::queue {
namespace {

constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-";

std::string Place() {
  std::string boot;
  std::ifstream("/proc/sys/kernel/random/boot_id") >> boot;
  std::array<char, 256> space{}, name{};
  const ssize_t length = readlink("/proc/self/ns/pid", space.data(), space.size() - 1);
  if (boot.empty() || length <= 0) throw std::runtime_error("the system does not tell who this process is (/proc)");
  gethostname(name.data(), name.size() - 1);
  std::string place = std::string(name.data()).substr(0, 40);
  for (char& c : place) {
    if (kLetters.find(c) == std::string_view::npos) c = '-';
  }
  return place + "-" + photo::HashDigits(boot + space.data());
}

struct ProcessState {
  char letter;
  uint64_t started;
};

std::optional<ProcessState> StateOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string text;
  if (!std::getline(file, text)) return std::nullopt;
  // Its name, in brackets, may have any characters in it.
  const size_t name = text.rfind(')');
  if (name == std::string::npos) return std::nullopt;
  std::istringstream fields(text.substr(name + 1));
  ProcessState state{};
  fields >> state.letter;
  std::string skipped;
  for (int field = 4; field < 22; ++field) fields >> skipped;
  return fields >> state.started ? std::optional(state) : std::nullopt;
}

template <typename Number>
bool Read(std::string_view digits, Number* number) {
  const char* end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, *number);
  return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

Owner Owner::Self() {
  const auto state = StateOf(getpid());
  if (!state) throw std::runtime_error("the system does not tell when this process began (/proc)");
  return {Place(), getpid(), state->started};
}

std::string Owner::Text() const {
  return place + "." + std::to_string(process) + "." + std::to_string(started);
}

std::optional<Owner> Owner::Parse(std::string_view text) {
  const size_t first = text.find('.'), second = text.find('.', first == std::string_view::npos ? first : first + 1);
  if (second == std::string_view::npos) return std::nullopt;
  Owner owner{std::string(text.substr(0, first)), 0, 0};
  const bool named =
      !owner.place.empty() && owner.place.size() <= 60 && owner.place.find_first_not_of(kLetters) == std::string::npos;
  if (!named || !Read(text.substr(first + 1, second - first - 1), &owner.process) ||
      !Read(text.substr(second + 1), &owner.started) || owner.process <= 0) {
    return std::nullopt;
  }
  return owner;
}

bool IsAlive(const Owner& owner) {
  const auto state = StateOf(owner.process);
  // A zombie has ended; only its parent has not looked.
  return state && state->started == owner.started && state->letter != 'Z' && state->letter != 'X';
}

}  // namespace qx::queue
