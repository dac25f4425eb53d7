#include "cli/queue/wishes.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "cli/batch/options_text.h"
#include "cli/batch/output_names.h"
#include "cli/wording.h"
#include "codec/codec.h"
#include "photo/base/text.h"
#include "worker/digest.h"
#include "worker/places.h"

namespace qx::cli {
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using orders::OptionPairs;
namespace {

bool IsAddress(const std::string& photograph) {
  return photograph.find("://") != std::string::npos && !fs::exists(photograph);
}

bool HasOption(const OptionPairs& options, const std::string& name) {
  return std::any_of(options.begin(), options.end(), [&](const auto& option) { return option.first == name; });
}

std::string EndingOf(const OptionPairs& options) {
  const auto isPng = [](const auto& option) {
    return option.first == "format" && (option.second == "png" || option.second == "PNG");
  };
  return std::any_of(options.begin(), options.end(), isPng) ? ".png" : ".jpg";
}

// One value of an option, as it would stand on the command line.
std::string ValueOf(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? "true" : "false";
  if (value.is_number()) return value.dump();
  throw SetupFailure("an option is neither text, number, true nor false");
}

OptionPairs OptionsOf(const Json& given, const OptionPairs& ofAll) {
  if (!given.is_object()) throw SetupFailure("options is no object");
  OptionPairs options;
  for (const auto& [name, value] : ofAll) {
    if (!given.contains(name)) options.emplace_back(name, value);
  }
  for (const auto& item : given.items()) {
    const Json values = item.value().is_array() ? item.value() : Json::array({item.value()});
    for (const Json& value : values) options.emplace_back(item.key(), ValueOf(value));
  }
  return options;
}

// Options that many share are kept once.
class SharedOptions {
 public:
  std::shared_ptr<const OptionPairs> Of(OptionPairs options) {
    auto& place = known_[options];
    if (!place) place = std::make_shared<const OptionPairs>(std::move(options));
    return place;
  }

 private:
  std::map<OptionPairs, std::shared_ptr<const OptionPairs>> known_;
};

Wish WishOf(const std::string& line, const WishSource& source, SharedOptions* shared) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object()) throw SetupFailure("is no JSON object");
  Wish wish;
  OptionPairs options = source.options;
  for (const auto& item : json.items()) {
    const bool isText = item.value().is_string();
    std::string* const text = item.key() == "photograph" ? &wish.photograph
                              : item.key() == "output"   ? &wish.output
                              : item.key() == "sha256"   ? &wish.sha256
                                                         : nullptr;
    if (item.key() == "options") {
      options = OptionsOf(item.value(), source.options);
    } else if (text && isText) {
      *text = item.value().get<std::string>();
    } else {
      throw SetupFailure("\"" + photo::Printable(item.key()) + "\" is " + (text ? "no text" : "unknown"));
    }
  }
  if (wish.photograph.empty()) throw SetupFailure("has no photograph");
  wish.options = shared->Of(std::move(options));
  return wish;
}

void ReadLines(const std::string& name, const std::function<void(const std::string&)>& take) {
  std::ifstream file;
  if (name != "-") file.open(name);
  std::istream& lines = name == "-" ? std::cin : file;
  if (!lines) throw SetupFailure(photo::Printable(name) + ": cannot be read; check its name and permissions");
  size_t number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    try {
      take(line);
    } catch (const SetupFailure& failure) {
      throw SetupFailure(photo::Printable(name) + ", line " + std::to_string(number) + ": " + failure.what());
    }
  }
  if (lines.bad()) throw SetupFailure(photo::Printable(name) + ": cannot be read to its end");
}

std::vector<Wish> Gathered(const WishSource& source) {
  std::vector<std::string> names = source.photographs;
  if (!source.list.empty()) ReadLines(source.list, [&](const std::string& line) { names.push_back(line); });
  SharedOptions shared;
  std::vector<Wish> wishes;
  for (std::string& name : ExpandPhotographs(names)) {
    wishes.push_back({std::move(name), "", "", shared.Of(source.options)});
  }
  if (!source.lines.empty()) {
    ReadLines(source.lines, [&](const std::string& line) { wishes.push_back(WishOf(line, source, &shared)); });
  }
  return wishes;
}

void NameOutputs(const WishSource& source, std::vector<Wish>* wishes) {
  std::vector<std::string> names;
  std::vector<Wish*> unnamed;
  for (Wish& wish : *wishes) {
    if (!wish.output.empty()) continue;
    // A query is no part of a file's name.
    names.push_back(IsAddress(wish.photograph) ? wish.photograph.substr(0, wish.photograph.find('?'))
                                               : wish.photograph);
    unnamed.push_back(&wish);
  }
  if (!unnamed.empty() && source.folder.empty()) throw SetupFailure("--output is required; it names the folder");
  const std::vector<std::string> stems = OutputStems(names);
  for (size_t i = 0; i < unnamed.size(); ++i) {
    unnamed[i]->output = fs::path(source.folder) / (stems[i] + EndingOf(*unnamed[i]->options));
  }
}

void CheckAddress(const Wish& wish) {
  const std::string name = photo::Printable(wish.photograph);
  if (!worker::ParseWebAddress(wish.photograph)) throw SetupFailure(name + ": is no address that a worker reads");
  if (wish.sha256.empty()) {
    throw SetupFailure(name + ": an address is handed in with its sha256, as a JSON line (--jsonl)");
  }
}

void CheckOutputs(const std::vector<Wish>& wishes) {
  std::vector<std::string> photographs;
  std::vector<fs::path> outputs;
  std::set<std::string> names;
  for (const Wish& wish : wishes) {
    if (!IsAddress(wish.photograph)) photographs.push_back(wish.photograph);
    outputs.emplace_back(wish.output);
    if (!names.insert(wish.output).second) {
      throw SetupFailure(photo::Printable(wish.output) + ": is the output of two photographs; give each its own");
    }
  }
  RefuseToReplace(photographs, outputs);
}

// The workers parse them as well; here is somebody who can mend them.
void CheckOptions(const std::vector<Wish>& wishes) {
  std::set<std::pair<const OptionPairs*, std::string>> checked;
  for (const Wish& wish : wishes) {
    const std::string ending = fs::path(wish.output).extension();
    if (!checked.emplace(wish.options.get(), ending).second) continue;
    if (ending != ".jpg" && ending != ".jpeg" && ending != ".png") {
      throw SetupFailure(photo::Printable(wish.output) + ": has to end in .jpg or .png");
    }
    OptionPairs options = *wish.options;
    if (!HasOption(options, "format")) options.emplace_back("format", ending == ".png" ? "png" : "jpg");
    if (EndingOf(options) != (ending == ".png" ? ".png" : ".jpg")) {
      throw SetupFailure(photo::Printable(wish.output) + ": --format says another kind of file");
    }
    try {
      orders::ParseOrder("make", options);
    } catch (const photo::Failure& failure) {
      throw SetupFailure(photo::Printable(wish.photograph) + ": " + Wording(failure));
    }
  }
}

}  // namespace

std::vector<Wish> ReadWishes(const WishSource& source) {
  std::vector<Wish> wishes = Gathered(source);
  NameOutputs(source, &wishes);
  for (Wish& wish : wishes) {
    if (IsAddress(wish.photograph)) {
      CheckAddress(wish);
    } else {
      wish.photograph = fs::absolute(wish.photograph);
    }
    wish.output = fs::absolute(wish.output);
  }
  CheckOutputs(wishes);
  CheckOptions(wishes);
  return wishes;
}

queue::Job JobOf(const Wish& wish) {
  queue::Job job{"", wish.photograph, wish.sha256, wish.output, *wish.options};
  if (job.sha256.empty()) {
    const photo::Bytes bytes = codec::ReadFileBytes(wish.photograph, {});
    job.sha256 = worker::DigestOf(bytes.data(), bytes.size());
  }
  constexpr size_t kIdDigits = 32;
  const std::string all = job.photograph + '\n' + job.sha256 + '\n' + job.output + '\n' + OptionsText(job.options);
  job.id = worker::DigestOf(all.data(), all.size()).substr(0, kIdDigits);
  return job;
}

}  // namespace qx::cli
