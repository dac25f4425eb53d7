// Photographs that a child keeps between requests: read and analysed once, rendered as often as an option changes.
#ifndef QX_SERVER_CHILDREN_KEPT_PHOTOS_H
#define QX_SERVER_CHILDREN_KEPT_PHOTOS_H

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "codec/codec.h"
#include "orders/make.h"
#include "photo/studio.h"
#include "server/children/message.h"

namespace qx::server {

// A finished photograph and what it was made by.
struct FinishedPhoto {
  orders::OptionPairs options;  // but for the format
  codec::ImageFormat format;
  orders::MadeFile file;
};

struct KeptPhoto {
  KeptPhoto(photo::Bytes file, const codec::Limits& limits) : source(std::move(file), limits) {}

  codec::FileSource source;
  photo::Mask mask;  // given with the photograph, or empty
  photo::AnalyseRequest asked;
  std::unique_ptr<photo::Analysis> analysis;  // for what was asked
  // The last one: its picture, its report and its check are asked for one after the other.
  std::optional<FinishedPhoto> finished = {};
};

// Bounded in number, memory and time; what was asked for the longest ago goes first.
class KeptPhotos {
 public:
  explicit KeptPhotos(const ChildLimits& limits);

  // Replaces the one of the same id.
  void Add(const std::string& id, std::unique_ptr<KeptPhoto> photo);
  // Null where there is none of that id.
  KeptPhoto* Find(const std::string& id);
  void Drop(const std::string& id);
  // Lets go of what is beyond the limits now.
  void Tidy();

 private:
  using Clock = std::chrono::steady_clock;
  struct Entry {
    std::string id;
    std::unique_ptr<KeptPhoto> photo;
    Clock::time_point asked;
  };

  const ChildLimits limits_;
  const size_t othersBytes_;  // in use before there were any photographs
  std::list<Entry> entries_;  // the one last asked for in front
};

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_KEPT_PHOTOS_H
