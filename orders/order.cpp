#include "orders/order.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

#include "orders/background.h"
#include "orders/check.h"
#include "orders/compress.h"
#include "orders/crop.h"
#include "orders/inspect.h"
#include "orders/make.h"
#include "orders/mask.h"
#include "orders/options/common_options.h"
#include "orders/presets.h"
#include "orders/retouch.h"
#include "orders/sheet.h"
#include "photo/base/failure.h"
#include "photo/base/text.h"
#include "qx_idp.h"

namespace qx::orders {
namespace {

using photo::Failure;
using photo::FailureCode;

constexpr size_t kLongestValue = 1000;  // bytes; the longest sensible one, a gradient by names, has some 60

// "pair" for "--pair": who sends pairs writes no dashes.
std::string WithoutDashes(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool starts = i == 0 || text[i - 1] == ' ' || text[i - 1] == '(';
    const bool isOption = starts && text.substr(i, 2) == "--" && i + 2 < text.size() &&
                          std::isalpha(static_cast<unsigned char>(text[i + 2])) != 0;
    if (isOption) i += 2;
    plain += text[i];
  }
  return plain;
}

Failure Plain(const Failure& failure) {
  return {failure.Code(), WithoutDashes(failure.what()), failure.Fields()};
}

template <typename Call>
auto InPlainWords(Call call) {
  try {
    return call();
  } catch (const Failure& failure) {
    throw Plain(failure);
  }
}

Failure BadOption(const std::string& name, const std::string& text) {
  return {FailureCode::kBadOption, photo::Printable(WithoutDashes(text)), {{"option", name}}};
}

// As much of it as there is use for in a message.
std::string Shown(std::string_view text) {
  constexpr size_t kShown = 40;
  return photo::Printable(text.substr(0, kShown)) + (text.size() > kShown ? "..." : "");
}

std::string Quoted(std::string_view text) {
  return "\"" + Shown(text) + "\"";
}

CLI::Option& FindOption(CLI::App& options, std::string_view command, const std::string& name) {
  const bool isName = !name.empty() && name.size() < kLongestValue && std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || c == '-';
  }) && name.front() != '-';
  CLI::Option* const option = isName ? options.get_option_no_throw("--" + name) : nullptr;
  if (option == nullptr || option->get_positional()) {
    throw Failure(FailureCode::kBadOption, std::string(command) + " has no option " + Quoted(name),
                  {{"option", Shown(name)}});
  }
  return *option;
}

// Hands the value to the option itself: nothing is ever split into arguments, where a value could pass for an option.
void Give(CLI::Option& option, const std::string& name, const std::string& value) {
  if (value.size() > kLongestValue) throw BadOption(name, name + ": is too long to be a value");
  if (option.get_items_expected_max() > 0) {
    if (value.empty()) throw BadOption(name, name + ": wants a value");
    option.add_result(value);
  } else if (value.empty() || value == "true") {
    option.add_result("true");
  } else if (value != "false") {
    throw BadOption(name, name + ": is on (true) or off (false), not " + Quoted(value));
  }
}

// What the option library asks once all are read.
void RunOption(CLI::Option& option) {
  const std::string name = option.get_lnames().at(0);
  for (const CLI::Option* other : option.get_excludes()) {
    if (other->count() > 0) throw BadOption(name, option.get_name() + " excludes " + other->get_name());
  }
  for (const CLI::Option* other : option.get_needs()) {
    if (other->count() == 0) throw BadOption(name, option.get_name() + " requires " + other->get_name());
  }
  try {
    option.run_callback();
  } catch (const CLI::Error& error) {
    throw BadOption(name, error.what());
  }
}

template <typename Kind>
std::unique_ptr<Order> Make() {
  return std::make_unique<Kind>();
}

struct Entry {
  std::string_view name;
  std::unique_ptr<Order> (*make)();
};

constexpr Entry kOrders[] = {
    {"background", Make<BackgroundOrder>},
    {"check", Make<CheckOrder>},
    {"compress", Make<CompressOrder>},
    {"crop", Make<CropOrder>},
    {"inspect", Make<InspectOrder>},
    {"make", Make<MakeOrder>},
    {"mask", Make<MaskOrder>},
    {"presets", Make<PresetsOrder>},
    {"retouch", Make<RetouchOrder>},
    {"sheet", Make<SheetOrder>},
};

// Letters that no usual file system takes in a name, or that mean something there.
bool IsForbidden(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7f || std::string_view("<>:\"|?*").find(c) != std::string_view::npos;
}

}  // namespace

const char* MediaTypeOf(codec::PrintFormat format) {
  switch (format) {
    case codec::PrintFormat::kPng: return "image/png";
    case codec::PrintFormat::kTiff: return "image/tiff";
    default: return "image/jpeg";
  }
}

codec::PrintFormat PrintFormatOf(codec::ImageFormat format) {
  return format == codec::ImageFormat::kPng ? codec::PrintFormat::kPng : codec::PrintFormat::kJpeg;
}

const char* EndingOf(codec::PrintFormat format) {
  switch (format) {
    case codec::PrintFormat::kPng: return ".png";
    case codec::PrintFormat::kTiff: return ".tiff";
    default: return ".jpg";
  }
}

Order::~Order() = default;

void Order::AddChoices(CLI::App&) {}

void Order::Settle() {}

Answer Order::Fill(Materials materials, photo::Studio& studio) const {
  return InPlainWords([&] { return Work(std::move(materials), studio); });
}

photo::Mask Order::GivenMask(photo::Bytes file, photo::PhotoSource& source) const {
  try {
    return codec::ReadMask(std::move(file), source.Width(), source.Height(), limits);
  } catch (const Failure& failure) {
    throw Failure(failure.Code(), std::string("the mask: ") + failure.what(), failure.Fields());
  }
}

const std::vector<std::string>& OrderNames() {
  static const auto* const names = [] {
    auto* list = new std::vector<std::string>;
    for (const Entry& entry : kOrders) list->emplace_back(entry.name);
    return list;
  }();
  return *names;
}

std::unique_ptr<Order> NewOrder(std::string_view command) {
  for (const Entry& entry : kOrders) {
    if (entry.name == command) return entry.make();
  }
  return nullptr;
}

bool HasOption(std::string_view command, const std::string& name) {
  const std::unique_ptr<Order> order = NewOrder(command);
  if (!order) return false;
  CLI::App parser;
  parser.set_help_flag();
  order->AddOptions(parser);
  order->AddChoices(parser);
  AddMaxMegapixels(parser, &order->limits.pixels);
  return parser.get_option_no_throw("--" + name) != nullptr;
}

std::unique_ptr<Order> ParseOrder(std::string_view command, const OptionPairs& options, const codec::Limits& most) {
  std::unique_ptr<Order> order = NewOrder(command);
  if (!order) throw Failure(FailureCode::kBadOption, "there is no command " + Quoted(command));
  order->limits = most;
  CLI::App parser;
  parser.set_help_flag();
  order->AddOptions(parser);
  order->AddChoices(parser);
  AddMaxMegapixels(parser, &order->limits.pixels);
  for (const auto& [name, value] : options) Give(FindOption(parser, command, name), name, value);
  for (CLI::Option* option : parser.get_options()) {
    if (option->count() > 0) RunOption(*option);
    if (option->get_required() && option->count() == 0) {
      throw BadOption(option->get_lnames().at(0), option->get_name() + " is required");
    }
  }
  order->limits.pixels = std::min(order->limits.pixels, most.pixels);
  InPlainWords([&order] { order->Settle(); });
  return order;
}

std::string StemOf(std::string_view photoName) {
  constexpr size_t kLongest = 100;                             // bytes; file systems take 255
  photoName.remove_prefix(photoName.find_last_of("/\\") + 1);  // npos + 1 is 0
  const size_t dot = photoName.rfind('.');
  if (dot != std::string_view::npos) photoName = photoName.substr(0, dot);
  std::string stem;
  while (!photoName.empty()) {
    const size_t length = photo::Utf8Length(photoName);
    if (stem.size() + std::max<size_t>(length, 1) > kLongest) break;
    if (length == 0 || IsForbidden(photoName.front())) {
      stem += '_';
    } else {
      stem += photoName.substr(0, length);
    }
    photoName.remove_prefix(std::max<size_t>(length, 1));
  }
  const bool isHidden = stem.find_first_not_of("._ ") == std::string::npos || stem.front() == '.';
  return isHidden ? "photo" : stem;
}

std::string ProgramVersion() {
  return std::to_string(QX_IDP_VERSION_MAJOR) + "." + std::to_string(QX_IDP_VERSION_MINOR) + "." +
         std::to_string(QX_IDP_VERSION_PATCH);
}

}  // namespace qx::orders
