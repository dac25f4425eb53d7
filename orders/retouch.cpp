#include "orders/retouch.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "orders/options/common_options.h"
#include "photo/render/retouch.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;

void RetouchOrder::AddOptions(CLI::App& command) {
  AddStrength(command, "--eyes", &retouch.eyes, -photo::kMostSize, photo::kMostSize,
              "Smaller (-10) or larger eyes (10)");
  AddRetouchOptions(command, &retouch);
  AddCompareFlag(command, &compare);
  AddPersonOption(command, &person, "Number of the only face to retouch, as inspect shows it; default all");
}

void RetouchOrder::AddChoices(CLI::App& command) {
  AddFormatOption(command, &format, "jpg (default) or png");
}

photo::Retouch RetouchOrder::Wanted() const {
  return retouch.Any() ? RetouchOf(retouch) : photo::NamedRetouch("natural");
}

RetouchedFile RetouchOrder::Finish(const photo::RetouchedPhoto& retouched) const {
  RetouchedFile file{codec::EncodeImage(retouched.after, format), {}};
  if (compare) file.comparison = codec::EncodeImage(photo::SideBySide(retouched.before, retouched.after), format);
  return file;
}

Answer RetouchOrder::Work(Materials materials, photo::Studio& studio) const {
  photo::Image photograph = codec::ReadImage(std::move(materials.photo), limits);
  const photo::RetouchedPhoto retouched = studio.Retouch(std::move(photograph), Wanted(), person);
  RetouchedFile file = Finish(retouched);
  const codec::PrintFormat kind = PrintFormatOf(format);
  const std::string stem = StemOf(materials.photoName), name = stem + EndingOf(kind);
  const Json report = {{"photograph", materials.photoName}, {"output", name},
                       {"width", retouched.after.width},    {"height", retouched.after.height},
                       {"bytes", file.bytes.size()},        {"faces", retouched.faces}};
  Answer answer{{}, report.dump(-1, ' ', false, Json::error_handler_t::replace)};
  answer.pictures.push_back({name, kind, std::move(file.bytes)});
  if (compare) answer.pictures.push_back({stem + "-compare" + EndingOf(kind), kind, std::move(file.comparison)});
  return answer;
}

}  // namespace qx::orders
