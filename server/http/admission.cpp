#include "server/http/admission.h"

#include <algorithm>
#include <utility>

namespace qx::server {

Admission::Place Admission::Enter(uint64_t id, std::function<void()> enter) {
  if (free_ > 0) {
    --free_;
    return Place::kSlot;
  }
  if (waiting_.size() == room_) return Place::kFull;
  waiting_.push_back({id, std::move(enter)});
  return Place::kWaits;
}

void Admission::Leave(uint64_t id) {
  waiting_.erase(std::remove_if(waiting_.begin(), waiting_.end(), [id](const Guest& guest) { return guest.id == id; }),
                 waiting_.end());
}

void Admission::Release() {
  if (waiting_.empty()) {
    ++free_;
    return;
  }
  const Guest next = std::move(waiting_.front());
  waiting_.pop_front();
  next.enter();
}

}  // namespace qx::server
