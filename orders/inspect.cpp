#include "orders/inspect.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "orders/options/checks.h"
#include "orders/options/common_options.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;
namespace {

template <typename Points>
Json ToJson(const Points& points) {
  Json list = Json::array();
  for (const photo::Point& p : points) list.push_back({p.x, p.y});
  return list;
}

Json ToJson(const photo::ProbedFace& face, size_t number) {
  return {{"face", number},
          {"score", face.score / 1000.0},
          {"presence", face.presence / 1000.0},
          {"roll_degrees", std::round(face.Roll() * 100) / 100},
          {"corners", ToJson(face.corners)},
          {"openness", {{"left_eye", face.leftEye}, {"right_eye", face.rightEye}, {"mouth", face.mouth}}},
          {"key_points", ToJson(face.keyPoints)},
          {"landmarks", ToJson(face.landmarks)},
          {"dense_points", ToJson(face.densePoints)}};
}

}  // namespace

void InspectOrder::AddOptions(CLI::App& command) {
  command
      .add_option_function<std::string>(
          "--points",
          [this](const std::string& name) {
            points = name == "key"     ? photo::PointSet::kKey
                     : name == "dense" ? photo::PointSet::kDense
                                       : photo::PointSet::kLandmarks;
          },
          "The points to draw: 11, 38 (default) or 88")
      ->type_name("SET")
      ->transform(OneOf({"key", "landmarks", "dense"}));
}

void InspectOrder::AddChoices(CLI::App& command) {
  CLI::Option* drawing = command.add_flag("--draw", draw, "Draw boxes and numbered points into the photograph");
  command.get_option("--points")->needs(drawing);
  AddFormatOption(command, &format, "png (default) or jpg");
}

std::string InspectOrder::Report(const std::string& photograph, int32_t width, int32_t height,
                                 const std::vector<photo::ProbedFace>& faces) const {
  Json report = {{"photograph", photograph}, {"width", width}, {"height", height}};
  Json& list = report["faces"] = Json::array();
  for (size_t i = 0; i < faces.size(); ++i) list.push_back(ToJson(faces[i], i + 1));
  // A file name need not be UTF-8; the report must be.
  return report.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::vector<uint8_t> InspectOrder::Draw(const photo::Image& photograph,
                                        const std::vector<photo::ProbedFace>& faces) const {
  return codec::EncodeImage(photo::DrawFaces(photograph, faces, points), format);
}

Answer InspectOrder::Work(Materials materials, photo::Studio& studio) const {
  const photo::Image photograph = codec::ReadImage(std::move(materials.photo), limits);
  const std::vector<photo::ProbedFace> faces = studio.Inspect(photograph);
  Answer answer{{}, Report(materials.photoName, photograph.width, photograph.height, faces)};
  if (draw) {
    const codec::PrintFormat kind = PrintFormatOf(format);
    answer.pictures.push_back({StemOf(materials.photoName) + "-faces" + EndingOf(kind), kind, Draw(photograph, faces)});
  }
  return answer;
}

}  // namespace qx::orders
