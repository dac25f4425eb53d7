#include "orders/check.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <utility>

#include "orders/check_json.h"
#include "photo/drawing/draw_check.h"

namespace qx::orders {

void CheckOrder::AddOptions(CLI::App& command) {
  AddMeasureOptions(command, &document);
  command.add_flag("--child", child, "Of a child under six: pose, gaze and expression are only shown");
}

void CheckOrder::AddChoices(CLI::App& command) {
  command.add_flag("--draw", draw, "Draw the measures into the photograph");
}

void CheckOrder::Settle() {
  preset_ = PresetOf(document);
}

photo::PhotoCheck CheckOrder::Look(const photo::Image& photograph, codec::FileSource& source,
                                   photo::Studio& studio) const {
  const photo::FileFacts facts{source.Resolution(), static_cast<int64_t>(source.FileSize()), source.Quality()};
  return studio.Check(photograph, facts, preset_, child);
}

Answer CheckOrder::Work(Materials materials, photo::Studio& studio) const {
  codec::FileSource source(std::move(materials.photo), limits);
  const photo::Image photograph = source.Whole();
  Steps steps;
  const photo::PhotoCheck check = Timed(&steps.checking, [&] { return Look(photograph, source, studio); });
  Answer answer{{}, CheckJson(materials.photoName, preset_.name, check), steps};
  if (draw) {
    answer.pictures.push_back({StemOf(materials.photoName) + "-check.png", codec::PrintFormat::kPng,
                               codec::EncodeImage(photo::DrawCheck(photograph, check), codec::ImageFormat::kPng)});
  }
  return answer;
}

}  // namespace qx::orders
