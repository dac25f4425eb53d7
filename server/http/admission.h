// Slots for photographs, and a waiting room in front of them.
#ifndef QX_SERVER_HTTP_ADMISSION_H
#define QX_SERVER_HTTP_ADMISSION_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>

namespace qx::server {

// One thread.
class Admission {
 public:
  Admission(size_t slots, size_t waiting) : free_(slots), room_(waiting) {}

  enum class Place { kSlot, kWaits, kFull };
  // Takes a slot, or a place in the waiting room: then `enter` is called when a slot was taken for it, first come,
  // first served. `id` names the place, for Leave.
  Place Enter(uint64_t id, std::function<void()> enter);
  // Gives up a place in the waiting room.
  void Leave(uint64_t id);
  // Gives a slot back; the first who waits has it at once.
  void Release();

  size_t Free() const { return free_; }
  size_t Waiting() const { return waiting_.size(); }

 private:
  struct Guest {
    uint64_t id;
    std::function<void()> enter;
  };
  size_t free_;
  const size_t room_;
  std::deque<Guest> waiting_;
};

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_ADMISSION_H
