#include "orders/mask.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "codec/codec.h"
#include "orders/options/common_options.h"

namespace qx::orders {
using Json = nlohmann::ordered_json;

void MaskOrder::AddOptions(CLI::App& command) {
  AddPersonOption(command, &person, "Number of the face, as inspect shows it; default the largest");
  command.add_flag("--pair", pair, "Two persons: the two largest faces");
  AddKeepRimFlag(command, &keepRim);
  AddWhole(command, "--dpi", &dpi, 72, 2400, "Pixels an inch, written into the cut-out; default none");
}

void MaskOrder::AddChoices(CLI::App& command) {
  command.add_flag("--cutout", wantsCutOut, "The person alone instead of the mask");
  command.add_flag("--both", wantsBoth, "The mask and the person alone");
}

void MaskOrder::Settle() {
  request_.persons = FacesOf(person, pair);
  request_.colours = wantsCutOut || wantsBoth;
  request_.keepRim = keepRim;
}

std::vector<uint8_t> MaskOrder::EncodeCutOut(const photo::CutOut& cutOut) const {
  constexpr auto kPng = codec::ImageFormat::kPng;
  return dpi ? codec::EncodeDocument(cutOut.colours, kPng, *dpi, {}, {}, cutOut.mask).bytes
             : codec::EncodeImage(cutOut.colours, kPng, cutOut.mask);
}

std::string MaskOrder::Report(const std::string& photograph, const std::vector<std::string>& outputs,
                              const photo::CutOut& cutOut) const {
  const Json report = {{"photograph", photograph},
                       {"outputs", outputs},
                       {"width", cutOut.mask.width},
                       {"height", cutOut.mask.height},
                       {"remarks", cutOut.remarks}};
  return report.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Answer MaskOrder::Work(Materials materials, photo::Studio& studio) const {
  codec::FileSource source(std::move(materials.photo), limits);
  const photo::CutOut cutOut = studio.CutOut(source, request_);
  const std::string stem = StemOf(materials.photoName);
  Answer answer;
  if (wantsBoth || !wantsCutOut) {
    answer.pictures.push_back({stem + "-mask.png", codec::PrintFormat::kPng, codec::EncodeMask(cutOut.mask)});
  }
  if (request_.colours) {
    answer.pictures.push_back({stem + "-cutout.png", codec::PrintFormat::kPng, EncodeCutOut(cutOut)});
  }
  std::vector<std::string> outputs;
  for (const Picture& picture : answer.pictures) outputs.push_back(picture.name);
  answer.report = Report(materials.photoName, outputs, cutOut);
  return answer;
}

}  // namespace qx::orders
