#include "orders/check_json.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>

#include "orders/order.h"

namespace qx::orders {
namespace {

using Json = nlohmann::ordered_json;

double Rounded(double value, double parts) {
  return std::round(value * parts) / parts;
}

Json Head(const std::string& photograph, const std::string& document) {
  return {{"photograph", photograph},
          {"version", ProgramVersion()},
          {"document", document.empty() ? Json() : Json(document)}};
}

std::string Line(const Json& report) {
  return report.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json ToJson(const photo::CheckLine& line) {
  constexpr double kParts = 100;
  Json entry = {{"name", line.name}, {"value", Rounded(line.value, kParts)}};
  if (!line.unit.empty()) entry["unit"] = line.unit;
  if (line.min) entry["min"] = Rounded(*line.min, kParts);
  if (line.max) entry["max"] = Rounded(*line.max, kParts);
  if (line.tolerance > 0) entry["tolerance"] = Rounded(line.tolerance, kParts);
  if (line.min || line.max) entry["passed"] = line.Passed();
  return entry;
}

Json ToJson(const std::optional<double>& value) {
  constexpr double kParts = 10000;
  return value ? Json(Rounded(*value, kParts)) : Json();
}

Json ToJson(const photo::Measure& measure) {
  Json limit;
  if (measure.min || measure.max) {
    limit = {{"min", ToJson(measure.min)},
             {"max", ToJson(measure.max)},
             {"tolerance", measure.tolerance},
             {"source", measure.source}};
  }
  return {{"id", measure.id},
          {"title", measure.title},
          {"person", measure.person.empty() ? Json() : Json(measure.person)},
          {"value", ToJson(measure.value)},
          {"unit", measure.unit},
          {"score", ToJson(measure.score)},
          {"limit", limit},
          {"state", NameOf(measure.state)},
          {"reason", measure.reason}};
}

Json ToJson(const std::optional<photo::JpegQuality>& quality) {
  return quality ? Json({{"quality", quality->quality}, {"exact", quality->isExact}}) : Json();
}

}  // namespace

std::string CheckJson(const std::string& photograph, const std::string& document, const photo::PhotoCheck& check) {
  Json report = Head(photograph, document);
  const photo::CheckCounts counts = check.Counts();
  report["passed"] = check.Passed();
  report["summary"] = {{"passed", counts.passed},
                       {"failed", counts.failed},
                       {"remarks", counts.remarks},
                       {"not_assessed", counts.notAssessed}};
  report["head_to"] = NameOf(check.document.headTo);
  report["jpeg"] = ToJson(check.file.jpegQuality);
  Json& lines = report["checks"] = Json::array();
  for (const photo::CheckLine& line : check.lines) lines.push_back(ToJson(line));
  Json& measures = report["measures"] = Json::array();
  for (const photo::Measure& measure : check.measures) measures.push_back(ToJson(measure));
  return Line(report);
}

std::string CheckErrorJson(const std::string& photograph, const std::string& document, photo::FailureCode code,
                           const std::string& message) {
  Json report = Head(photograph, document);
  report["error"] = {{"code", NameOf(code)}, {"message", message}};
  return Line(report);
}

}  // namespace qx::orders
