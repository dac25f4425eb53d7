#include "queue/message.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <set>

#include "photo/base/text.h"

namespace qx::queue {
using Json = nlohmann::ordered_json;
namespace {

constexpr size_t kMostOptions = 64, kMostReasons = 64, kMostMeasures = 32;
constexpr int kMostToldTries = 1'000'000;

[[noreturn]] void Refuse(const std::string& why) {
  throw BadMessage(photo::Printable(why));
}

bool IsOneOf(std::string_view text, std::string_view letters) {
  return text.find_first_not_of(letters) == std::string_view::npos;
}

constexpr std::string_view kName = "abcdefghijklmnopqrstuvwxyz0123456789-";

void CheckText(const std::string& name, const std::string& text) {
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; };
  if (std::any_of(text.begin(), text.end(), isControl)) Refuse(name + " has control characters");
}

void CheckPath(const std::string& name, const std::string& text, std::initializer_list<std::string_view> beginnings) {
  CheckText(name, text);
  const auto begins = [&](std::string_view beginning) { return text.compare(0, beginning.size(), beginning) == 0; };
  if (std::none_of(beginnings.begin(), beginnings.end(), begins)) Refuse(name + " is no absolute path or address");
}

void CheckId(const std::string& id) {
  if (!IsJobId(id)) Refuse("id is none");
}

void CheckPhotograph(const std::string& text) {
  CheckPath("photograph", text, {"/", "https://", "http://"});
}

void CheckOutput(const std::string& text) {
  CheckPath("output", text, {"/"});
}

void CheckOptionName(const std::string& name) {
  if (name.empty() || name.size() > 40 || name[0] < 'a' || name[0] > 'z' || !IsOneOf(name, kName)) {
    Refuse("\"" + name + "\" is no option's name");
  }
}

void Check(const Job& job) {
  CheckId(job.id);
  CheckPhotograph(job.photograph);
  if (job.sha256.size() != 64 || !IsOneOf(job.sha256, "0123456789abcdef")) Refuse("sha256 is none");
  CheckOutput(job.output);
  if (job.options.size() > kMostOptions) Refuse("too many options");
  for (const auto& [name, value] : job.options) {
    CheckOptionName(name);
    CheckText("options", value);
  }
}

void Check(const Answer& answer) {
  CheckId(answer.id);
  CheckPhotograph(answer.photograph);
  CheckOutput(answer.output);
  CheckText("message", answer.message);
  CheckText("options", answer.options);
  if (answer.reasons.size() > kMostReasons) Refuse("too many reasons");
  for (const std::string& reason : answer.reasons) CheckText("reasons", reason);
  if (answer.measures.size() > kMostMeasures) Refuse("too many measures");
  bool finite = std::isfinite(answer.seconds) && answer.seconds >= 0;
  for (const auto& [name, value] : answer.measures) finite = finite && std::isfinite(value);
  if (!finite) Refuse("a number is none");
}

void Check(const Dead& dead) {
  CheckId(dead.id);
  CheckText("reason", dead.reason);
  if (dead.tries < 0 || dead.tries > kMostToldTries) Refuse("tries is none");
  if (dead.jobs.size() > 1) Refuse("more than one job");
  for (const Job& job : dead.jobs) Check(job);
}

// Without half a character at its end, in one line.
std::string Cut(const std::string& text) {
  std::string line = photo::Printable(text), cut;
  for (size_t length = 0; cut.size() < line.size(); cut.append(line, cut.size(), length)) {
    length = std::max<size_t>(photo::Utf8Length(std::string_view(line).substr(cut.size())), 1);
    if (cut.size() + length > kMostTextBytes) break;
  }
  return cut;
}

Json Head(const char* kind, const std::string& id) {
  return {{"version", kMessageVersion}, {"kind", kind}, {"id", id}};
}

Json ToJson(const Job& job) {
  Json options = Json::object();
  for (const auto& [name, value] : job.options) {
    Json& place = options[name];
    if (place.is_null()) place = Json::array();
    place.push_back(value);
  }
  Json message = Head("job", job.id);
  message.update(Json{{"photograph", job.photograph}, {"sha256", job.sha256}, {"output", job.output}});
  message["options"] = options;
  return message;
}

std::string Dumped(const Json& message, size_t most) {
  try {
    std::string text = message.dump();
    if (text.size() > most) Refuse("a message of " + std::to_string(text.size()) + " bytes is too long");
    return text;
  } catch (const Json::exception&) {
    Refuse("a text is not UTF-8");
  }
}

// Of which a later one would silently replace an earlier one.
class RepeatedMembers {
 public:
  bool operator()(int, Json::parse_event_t event, Json& value) {
    if (event == Json::parse_event_t::object_start) open_.emplace_back();
    if (event == Json::parse_event_t::object_end) open_.pop_back();
    if (event != Json::parse_event_t::key) return true;
    const std::string name = value.get<std::string>();
    if (!open_.back().insert(name).second) Refuse("\"" + name + "\" stands there twice");
    return true;
  }

 private:
  std::vector<std::set<std::string>> open_;
};

void CheckMembers(const Json& object, std::initializer_list<const char*> names) {
  if (!object.is_object()) Refuse("no object");
  for (const char* name : names) {
    if (!object.contains(name)) Refuse(std::string("\"") + name + "\" is missing");
  }
  for (const auto& item : object.items()) {
    if (std::find(names.begin(), names.end(), item.key()) == names.end()) Refuse("unknown: \"" + item.key() + "\"");
  }
}

// What kind of message it is comes first, so that one of another version is called that.
void CheckHead(const Json& message, const char* kind) {
  if (!message.is_object()) Refuse("no object");
  const auto version = message.find("version"), named = message.find("kind");
  if (version == message.end() || !version->is_number_integer() || *version != kMessageVersion) {
    Refuse("not version " + std::to_string(kMessageVersion));
  }
  if (named == message.end() || *named != kind) Refuse(std::string("its kind is not ") + kind);
}

const std::string& Text(const Json& value, const std::string& name) {
  if (!value.is_string()) Refuse(name + " is no text");
  return value.get_ref<const std::string&>();
}

const std::string& TextOf(const Json& message, const char* name) {
  return Text(message.at(name), name);
}

double Number(const Json& value, const std::string& name) {
  if (!value.is_number()) Refuse(name + " is no number");
  return value.get<double>();
}

Job JobOf(const Json& message) {
  CheckHead(message, "job");
  CheckMembers(message, {"version", "kind", "id", "photograph", "sha256", "output", "options"});
  Job job{
      TextOf(message, "id"), TextOf(message, "photograph"), TextOf(message, "sha256"), TextOf(message, "output"), {}};
  const Json& options = message.at("options");
  if (!options.is_object()) Refuse("options is no object");
  for (const auto& item : options.items()) {
    if (!item.value().is_array() || item.value().empty()) Refuse("an option is no list of values");
    for (const Json& value : item.value()) job.options.emplace_back(item.key(), Text(value, "an option"));
  }
  Check(job);
  return job;
}

Json Parsed(std::string_view text, size_t most) {
  if (text.size() > most) Refuse("longer than " + std::to_string(most) + " bytes");
  try {
    return Json::parse(text, RepeatedMembers());
  } catch (const Json::exception&) {
    Refuse("no JSON");
  }
}

}  // namespace

bool IsJobId(std::string_view text) {
  return !text.empty() && text.size() <= 64 && IsOneOf(text, kName);
}

std::string ToText(const Job& job) {
  Check(job);
  return Dumped(ToJson(job), kMostJobBytes);
}

std::string ToText(Answer answer) {
  answer.message = Cut(answer.message);
  Check(answer);
  Json measures = Json::object();
  for (const auto& [name, value] : answer.measures) measures[name] = value;
  Json message = Head("answer", answer.id);
  message.update(Json{{"photograph", answer.photograph},
                      {"output", answer.output},
                      {"status", answer.done ? "done" : "failed"},
                      {"message", answer.message},
                      {"reasons", answer.reasons},
                      {"measures", measures},
                      {"seconds", answer.seconds},
                      {"options", answer.options}});
  return Dumped(message, kMostAnswerBytes);
}

std::string ToText(Dead dead) {
  dead.reason = Cut(dead.reason);
  Check(dead);
  Json message = Head("dead", dead.id);
  message.update(Json{{"tries", dead.tries}, {"reason", dead.reason}});
  message["job"] = dead.jobs.empty() ? Json() : ToJson(dead.jobs.front());
  return Dumped(message, kMostAnswerBytes);
}

Job ParseJob(std::string_view text) {
  return JobOf(Parsed(text, kMostJobBytes));
}

Answer ParseAnswer(std::string_view text) {
  const Json message = Parsed(text, kMostAnswerBytes);
  CheckHead(message, "answer");
  CheckMembers(message, {"version", "kind", "id", "photograph", "output", "status", "message", "reasons", "measures",
                         "seconds", "options"});
  Answer answer;
  answer.id = TextOf(message, "id");
  answer.photograph = TextOf(message, "photograph");
  answer.output = TextOf(message, "output");
  const std::string& status = TextOf(message, "status");
  if (status != "done" && status != "failed") Refuse("status is neither done nor failed");
  answer.done = status == "done";
  answer.message = TextOf(message, "message");
  answer.options = TextOf(message, "options");
  answer.seconds = Number(message.at("seconds"), "seconds");
  if (!message.at("reasons").is_array()) Refuse("reasons is no list");
  for (const Json& reason : message.at("reasons")) answer.reasons.push_back(Text(reason, "a reason"));
  if (!message.at("measures").is_object()) Refuse("measures is no object");
  for (const auto& item : message.at("measures").items()) {
    answer.measures.emplace_back(item.key(), Number(item.value(), "a measure"));
  }
  Check(answer);
  return answer;
}

Dead ParseDead(std::string_view text) {
  const Json message = Parsed(text, kMostAnswerBytes);
  CheckHead(message, "dead");
  CheckMembers(message, {"version", "kind", "id", "tries", "reason", "job"});
  const double tries = Number(message.at("tries"), "tries");
  if (!message.at("tries").is_number_integer() || !(tries >= 0 && tries <= kMostToldTries)) Refuse("tries is none");
  Dead dead{TextOf(message, "id"), static_cast<int>(tries), TextOf(message, "reason"), {}};
  if (!message.at("job").is_null()) dead.jobs.push_back(JobOf(message.at("job")));
  Check(dead);
  return dead;
}

}  // namespace qx::queue
