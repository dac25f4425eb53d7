// What one command makes of one photograph in memory: the same bytes and the same JSON for the command line, a service
// and whatever else asks. No files, no terminal.
//
//   const auto order = qx::orders::ParseOrder("make", {{"preset", "schengen-visa"}, {"format", "jpg"}});
//   qx::photo::Studio studio;
//   const qx::orders::Answer answer = order->Fill({bytesOfTheFile, {}, "holiday.jpg"}, studio);
#ifndef QX_ORDERS_ORDER_H
#define QX_ORDERS_ORDER_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "codec/codec.h"
#include "photo/base/image.h"
#include "photo/studio.h"

namespace CLI {
class App;
}

namespace qx::orders {

struct Materials {
  photo::Bytes photo;     // a file, as it is
  photo::Bytes mask;      // a file too; empty: none. Only make and background take one
  std::string photoName;  // of the photograph's file, for the report and for the names of what is made; any bytes
  // Of sheets alone: files that go onto the same sheet after `photo`, and of all in turn, as far as it is told, how
  // many copies, in digits; "0" for as many as there is room for, "" for as many as the order says.
  std::vector<photo::Bytes> morePhotos = {};
  std::vector<std::string> copies = {};
};

struct Picture {
  std::string name;                                       // of a file, safe to write: no folders, no control characters
  codec::PrintFormat format = codec::PrintFormat::kJpeg;  // TIFF for sheets alone
  std::vector<uint8_t> bytes;                             // of the file
};

// How long parts of the work took, in seconds; what belongs to none of them is in none.
struct Steps {
  double analysis = 0, rendering = 0, encoding = 0, checking = 0;
};

// What `step` gives; its time is added.
template <typename Step>
auto Timed(double* seconds, Step step) {
  const auto begin = std::chrono::steady_clock::now();
  auto result = step();
  *seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  return result;
}

struct Answer {
  std::vector<Picture> pictures;  // in the order of the command's files; may be none
  std::string report;             // JSON, UTF-8, without an end of line
  Steps steps = {};
};

// "image/jpeg".
const char* MediaTypeOf(codec::PrintFormat format);
codec::PrintFormat PrintFormatOf(codec::ImageFormat format);

// One command with its options. Configured by AddOptions and what is parsed then, or by ParseOrder; after Settle it
// only serves, any number of photographs, one thread at a time for each studio.
class Order {
 public:
  virtual ~Order();

  // Those that mean the same wherever they come from. The order outlives `command`.
  virtual void AddOptions(CLI::App& command) = 0;
  // In place of what the command line tells by names of files: --format, or which pictures are wanted.
  virtual void AddChoices(CLI::App& command);
  // Once all options are read. Throws Failure: kBadOption (field "option", where one is to blame) when they contradict
  // each other, kUnknownPreset, kForbiddenEdit.
  virtual void Settle();

  // Throws Failure when the photograph does not serve; its text names options without dashes.
  Answer Fill(Materials materials, photo::Studio& studio) const;

  codec::Limits limits;  // of pictures that are read

 protected:
  Order() = default;
  Order(const Order&) = default;
  Order& operator=(const Order&) = default;

  // The mask of a file for that photograph. Throws Failure, whose text says that it is about the mask.
  photo::Mask GivenMask(photo::Bytes file, photo::PhotoSource& source) const;

  virtual Answer Work(Materials materials, photo::Studio& studio) const = 0;
};

// Names and values, as they stand behind "--" on the command line; of flags "true", "false" or nothing.
using OptionPairs = std::vector<std::pair<std::string, std::string>>;

// The commands that can be ordered: background, check, compress, crop, inspect, make, mask, presets, retouch, sheet.
const std::vector<std::string>& OrderNames();

// An order without options; null for an unknown command.
std::unique_ptr<Order> NewOrder(std::string_view command);

// Whether ParseOrder takes an option of that name for that command.
bool HasOption(std::string_view command, const std::string& name);

// A settled one. Names and values may be hostile: a value is never taken for an option. `most`: what max-megapixels can
// lower, not raise. Throws Failure as Settle does, and kBadOption (field "option") for an unknown name or a value that
// cannot be read, in the command line's own words but for the dashes; for an unknown command without the field.
std::unique_ptr<Order> ParseOrder(std::string_view command, const OptionPairs& options, const codec::Limits& most = {});

// The name of a file without folders and ending, for names of files to write: "holiday" of "C:\\me\\holiday.jpg".
// Control characters, bytes that are not UTF-8 and what file systems forbid become "_"; "photo" when nothing is left.
std::string StemOf(std::string_view photoName);

// ".jpg".
const char* EndingOf(codec::PrintFormat format);

// "0.2.0".
std::string ProgramVersion();

}  // namespace qx::orders

#endif  // QX_ORDERS_ORDER_H
