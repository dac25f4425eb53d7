// Messages of a queue, and the names of photographs that they bring: whatever is taken comes out again as it was, and
// leads nowhere but below where a worker may read.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "queue/message.h"
#include "queue/queue_folder.h"
#include "worker/places.h"

namespace {

using namespace qx;
using Text = std::string_view;

void Demand(bool so) {
  if (!so) std::abort();
}

// What is read, written and read again says the same.
template <typename Message>
void ReadTwice(Message (*parse)(Text), Text text) {
  std::string first;
  try {
    first = queue::ToText(parse(text));
  } catch (const queue::BadMessage& bad) {
    for (const char c : Text(bad.what())) Demand(static_cast<unsigned char>(c) >= ' ');
    return;
  }
  Demand(queue::ToText(parse(first)) == first);
}

worker::Places SamplePlaces() {
  worker::Places places;
  places.AddFolder("/srv/in");
  places.AddAddress(worker::ParseWebAddress("https://h/in/").value());
  return places;
}

void CheckAddress(Text text, const worker::Places& places) {
  const auto address = worker::ParseWebAddress(text);
  if (!address) return;
  Demand(!address->host.empty() && address->port > 0 && address->port < 65536 && address->path[0] == '/');
  // As a reader would resolve it, the path stays what it is.
  const std::filesystem::path path(address->path);
  Demand(path.lexically_normal().native().find("..") == std::string::npos);
  if (!places.HasAddress(*address)) return;
  const bool begins = text.substr(0, 8) == "https://" && (text[8] == 'h' || text[8] == 'H');
  Demand(begins && (text.substr(9, 4) == "/in/" || text.substr(9, 8) == ":443/in/"));
}

void CheckPath(Text text, const worker::Places& places) {
  const std::string path = "/" + std::string(text);
  const std::string normal = std::filesystem::path(path).lexically_normal();
  if (normal != path || path.back() == '/') return;
  const auto between = std::filesystem::path(path).lexically_relative("/srv/in");
  Demand(places.HasPath(path) == (!between.empty() && *between.begin() != ".."));
}

// What is taken for a job's file is called so again.
void CheckFileName(Text text) {
  const auto name = queue::JobName::Parse(text);
  if (!name) return;
  Demand(queue::IsJobId(name->id) && name->tries >= 0);
  const auto again = queue::JobName::Parse(name->Text());
  Demand(again && again->id == name->id && again->tries == name->tries && again->number == name->number);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const worker::Places places = SamplePlaces();
  const Text text(reinterpret_cast<const char*>(data), size);
  ReadTwice(queue::ParseJob, text);
  ReadTwice(queue::ParseAnswer, text);
  ReadTwice(queue::ParseDead, text);
  CheckAddress(text, places);
  CheckPath(text, places);
  CheckFileName(text);
  return 0;
}
