// Which process holds a claim, in a form that other processes can ask about.
#ifndef QX_QUEUE_OWNER_H
#define QX_QUEUE_OWNER_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qx::queue {

// A process number is given again to others, so it only counts with the time at which the process began; and only where
// it was given: `place` is of this computer since it was last started, and of this container.
struct Owner {
  std::string place;  // 1 to 60 of a-z, A-Z, 0-9 and "-"
  pid_t process = 0;
  uint64_t started = 0;  // in the system's ticks since it was started

  // This process. Throws std::runtime_error where the system does not tell (/proc is missing).
  static Owner Self();

  // "place.process.started", as a part of a file's name, and back; none for other text.
  std::string Text() const;
  static std::optional<Owner> Parse(std::string_view text);

  bool operator==(const Owner& other) const {
    return place == other.place && process == other.process && started == other.started;
  }
};

// Whether that process of this very place has not ended.
bool IsAlive(const Owner& owner);

}  // namespace qx::queue

#endif  // QX_QUEUE_OWNER_H
