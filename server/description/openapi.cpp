#include "server/description/openapi.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <vector>

#include "orders/describe.h"
#include "orders/order.h"
#include "photo/base/failure.h"

extern "C" const unsigned char qx_openapi_json[], qx_openapi_json_end[];
extern "C" const unsigned char qx_check_schema_json[], qx_check_schema_json_end[];

namespace qx::server {
namespace {

using Json = nlohmann::ordered_json;
using orders::OptionFacts;
using photo::FailureCode;

// Numbers of options are whole in most cases, and are to look so.
Json NumberOf(double value) {
  const auto whole = static_cast<int64_t>(value);
  return static_cast<double>(whole) == value ? Json(whole) : Json(value);
}

Json SchemaOf(const OptionFacts& option) {
  Json schema = Json::object();
  switch (option.kind) {
    case OptionFacts::Kind::kFlag: schema["type"] = "boolean"; break;
    case OptionFacts::Kind::kWhole: schema["type"] = "integer"; break;
    case OptionFacts::Kind::kNumber: schema["type"] = "number"; break;
    case OptionFacts::Kind::kText: schema["type"] = "string"; break;
  }
  if (option.min) schema["minimum"] = NumberOf(*option.min);
  if (option.max) schema["maximum"] = NumberOf(*option.max);
  if (!option.words.empty()) schema["enum"] = option.words;
  if (option.repeatable) schema = {{"type", "array"}, {"items", schema}};
  return schema;
}

std::string Listed(const char* before, const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? before : ", ") + name;
  return text.empty() ? text : text + ".";
}

std::string HelpOf(const OptionFacts& option) {
  std::string text = option.help + ".";
  for (const std::string& more :
       {Listed("Not together with ", option.notWith), Listed("Only together with ", option.onlyWith)}) {
    if (!more.empty()) text += " " + more;
  }
  return text;
}

// Of the query.
Json ParameterOf(const OptionFacts& option) {
  Json parameter = {{"name", option.name}, {"in", "query"}, {"description", HelpOf(option)}};
  if (option.required) parameter["required"] = true;
  if (option.kind == OptionFacts::Kind::kFlag) parameter["allowEmptyValue"] = true;
  parameter["schema"] = SchemaOf(option);
  return parameter;
}

Json FileOf(const char* help) {
  return {{"type", "string"}, {"contentMediaType", "application/octet-stream"}, {"description", help}};
}

// {"command": name, "mask": whether one is taken}; without a command there are no options.
Json BodyOf(const Json& asked) {
  const std::string command = asked.value("command", "");
  Json fields = {{"photo", FileOf("JPEG, PNG, WebP, HEIF or TIFF.")}};
  // On a sheet there is room for several.
  if (command == "sheet") fields["photo"] = {{"type", "array"}, {"maxItems", 16}, {"items", fields["photo"]}};
  if (asked.value("mask", false)) {
    fields["mask"] = FileOf("Of the photograph's size, white where the person is.");
  }
  if (!command.empty()) {
    for (const OptionFacts& option : orders::DescribeOptions(command)) {
      fields[option.name] = SchemaOf(option);
      fields[option.name]["description"] = HelpOf(option);
    }
  }
  const Json form = {
      {"type", "object"}, {"required", {"photo"}}, {"properties", fields}, {"additionalProperties", false}};
  return {{"required", true},
          {"content",
           {{"image/*", Json::object()},
            {"application/octet-stream", Json::object()},
            {"multipart/form-data", {{"schema", form}}}}}};
}

Json Expanded(const Json& node);

Json ExpandedList(const Json& list) {
  Json expanded = Json::array();
  for (const Json& item : list) {
    if (item.is_object() && item.contains("x-options")) {
      for (const OptionFacts& option : orders::DescribeOptions(item["x-options"].get<std::string>())) {
        expanded.push_back(ParameterOf(option));
      }
    } else {
      expanded.push_back(Expanded(item));
    }
  }
  return expanded;
}

// Puts in place of the marks what they stand for.
Json Expanded(const Json& node) {
  if (node.is_array()) return ExpandedList(node);
  if (!node.is_object()) return node;
  if (node.contains("x-photograph")) return BodyOf(node["x-photograph"]);
  Json expanded = Json::object();
  for (const auto& [name, value] : node.items()) {
    if (name != "x-problems") {
      expanded[name] = Expanded(value);
      continue;
    }
    for (const Json& status : value) {
      expanded[status.get<std::string>()] = {{"$ref", "#/components/responses/" + status.get<std::string>()}};
    }
    expanded["default"] = {{"$ref", "#/components/responses/default"}};
  }
  return expanded;
}

void AddCode(unsigned status, const char* code, Json* responses) {
  const std::string name = std::to_string(status);
  if (!responses->contains(name)) return;  // 500, which has no list
  (*responses)[name]["content"]["application/problem+json"]["schema"]["allOf"][1]["properties"]["code"]["enum"]
      .push_back(code);
}

// The codes of failures join those of the server itself.
void AddFailures(StatusOfFailure statusOf, Json* responses) {
  for (int i = 0; i <= static_cast<int>(FailureCode::kEngine); ++i) {
    const auto code = static_cast<FailureCode>(i);
    const unsigned usual = statusOf(code, {}), always = statusOf(code, {{"what", "crop"}});
    AddCode(usual, NameOf(code), responses);
    if (always != usual) AddCode(always, NameOf(code), responses);
  }
}

// The schema stands on its own where it is installed; here its definitions lie deeper, and it is no document.
void Rebase(const std::string& root, Json* node) {
  if (node->is_object() && node->contains("$ref")) {
    Json& target = (*node)["$ref"];
    target = root + target.get<std::string>().substr(1);
  }
  if (!node->is_structured()) return;
  for (Json& child : *node) Rebase(root, &child);
}

Json CheckSchema() {
  Json schema = Json::parse(qx_check_schema_json, qx_check_schema_json_end);
  schema.erase("$schema");
  schema.erase("$id");
  Rebase("#/components/schemas/Check", &schema);
  return schema;
}

}  // namespace

std::string OpenApi(StatusOfFailure statusOf) {
  Json description = Expanded(Json::parse(qx_openapi_json, qx_openapi_json_end));
  description["info"]["version"] = orders::ProgramVersion();
  Json& components = description["components"];
  AddFailures(statusOf, &components["responses"]);
  components["schemas"]["Check"] = CheckSchema();
  return description.dump();
}

}  // namespace qx::server
