#include "server/children/kept_photos.h"

#include <malloc.h>

#include <algorithm>
#include <utility>

namespace qx::server {
namespace {

// What the program has taken and not given back: what an analysis holds on to is not told otherwise.
size_t BytesInUse() {
#ifdef __EMSCRIPTEN__
  const struct mallinfo info = mallinfo();
  return static_cast<size_t>(info.uordblks) + static_cast<size_t>(info.hblkhd);
#else
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
#endif
}

}  // namespace

KeptPhotos::KeptPhotos(const ChildLimits& limits) : limits_(limits), othersBytes_(BytesInUse()) {}

void KeptPhotos::Add(const std::string& id, std::unique_ptr<KeptPhoto> photo) {
  Drop(id);
  entries_.push_front({id, std::move(photo), Clock::now()});
  Tidy();
}

KeptPhoto* KeptPhotos::Find(const std::string& id) {
  Tidy();
  const auto place = std::find_if(entries_.begin(), entries_.end(), [&id](const Entry& e) { return e.id == id; });
  if (place == entries_.end()) return nullptr;
  place->asked = Clock::now();
  entries_.splice(entries_.begin(), entries_, place);
  return place->photo.get();
}

void KeptPhotos::Drop(const std::string& id) {
  entries_.remove_if([&id](const Entry& entry) { return entry.id == id; });
}

void KeptPhotos::Tidy() {
  const Clock::time_point oldest = Clock::now() - std::chrono::seconds(limits_.keptSeconds);
  while (!entries_.empty() && (entries_.size() > limits_.keptPhotos || entries_.back().asked < oldest ||
                               BytesInUse() > othersBytes_ + limits_.keptBytes))
    entries_.pop_back();
}

}  // namespace qx::server
