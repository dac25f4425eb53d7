#include "server/children/photo_worker.h"

#include <charconv>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

#include "codec/codec.h"
#include "photo/base/failure.h"
#include "photo/document/presets.h"
#include "photo/studio.h"
#include "server/children/kept_photos.h"

namespace qx::server {
namespace {

using Json = nlohmann::json;

struct MakeOptions {
  photo::MakeRequest request;
  photo::AnalyseRequest persons;
  codec::ImageFormat format = codec::ImageFormat::kJpeg;
  std::string keptBackground;  // a remark, where the authority is why it is kept
};

[[noreturn]] void RefuseOption(const std::string& name, const std::string& text) {
  throw photo::Failure(photo::FailureCode::kBadOption, name + ": " + text, {{"option", name}});
}

bool Flag(const std::string& name, const std::string& value) {
  if (value.empty() || value == "true") return true;
  if (value == "false") return false;
  RefuseOption(name, "true or false");
}

int Person(const std::string& value) {
  int number = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (error != std::errc() || end != value.data() + value.size() || number < 1)
    RefuseOption("person", "a number from 1");
  return number;
}

// What is known of each name; the rest is refused.
class Options {
 public:
  explicit Options(const ChildRequest& request) : values_(request.options.begin(), request.options.end()) {}

  std::optional<std::string> Take(const std::string& name) {
    const auto place = values_.find(name);
    if (place == values_.end()) return std::nullopt;
    std::string value = std::move(place->second);
    values_.erase(place);
    return value;
  }
  bool TakeFlag(const std::string& name) {
    const std::optional<std::string> value = Take(name);
    return value && Flag(name, *value);
  }
  void End() const {
    if (!values_.empty()) RefuseOption(values_.begin()->first, "there is no such option");
  }

 private:
  std::map<std::string, std::string> values_;
};

photo::AnalyseRequest PersonsOf(Options& options) {
  photo::AnalyseRequest persons;
  if (const auto person = options.Take("person")) persons.face = Person(*person);
  persons.pair = options.TakeFlag("pair");
  return persons;
}

MakeOptions MakeOptionsOf(const ChildRequest& request) {
  Options options(request);
  MakeOptions make;
  const photo::Preset preset = photo::FindPreset(options.Take("preset").value_or(""));
  const std::optional<std::string> background = options.Take("background");
  const bool force = options.TakeFlag("force");
  make.request.document = photo::Derive(preset);
  make.request.background = photo::ParseBackground(photo::ChooseBackground(preset, background, force));
  make.request.straighten = preset.backgroundChange || force;
  make.request.relax = options.TakeFlag("relax");
  make.request.persons = photo::OptionsFor(preset, make.request.document, {}, false);
  make.persons = PersonsOf(options);
  if (options.Take("format").value_or("jpg") == "png") make.format = codec::ImageFormat::kPng;
  if (make.request.background.IsKeep() && !background)
    make.keptBackground = "background kept: " + preset.authority + " takes no changed one";
  options.End();
  return make;
}

ChildReply Encoded(photo::MadePhoto made, const MakeOptions& options) {
  const photo::Document& document = options.request.document;
  const codec::EncodedDocument file =
      codec::EncodeDocument(made.image, options.format, document.dpi, document.minKb, document.maxKb, made.alpha);
  if (!file.Remark().empty()) made.remarks.push_back(file.Remark());
  if (!options.keptBackground.empty()) made.remarks.push_back(options.keptBackground);
  const bool isPng = options.format == codec::ImageFormat::kPng;
  ChildReply reply;
  reply.pictures.push_back({isPng ? "photo.png" : "photo.jpg", isPng ? "image/png" : "image/jpeg",
                            photo::Bytes(file.bytes.begin(), file.bytes.end())});
  reply.report = Json{
      {"width", document.width},
      {"height", document.height},
      {"dpi", document.dpi},
      {"bytes", file.bytes.size()},
      {"remarks",
       made.remarks}}.dump(-1, ' ', false, Json::error_handler_t::replace);
  return reply;
}

class PhotoWorker final : public ChildWorker {
 public:
  explicit PhotoWorker(const ChildLimits& limits) : limits_{static_cast<int64_t>(limits.pixels)}, kept_(limits) {
    images_.LoadAll();
    photo::Presets();
  }

  ChildReply Answer(ChildRequest request) override {
    if (request.command == "make") return Make(std::move(request));
    if (request.command == "inspect") return Inspect(std::move(request));
    if (request.command == kKeep) return Keep(std::move(request));
    if (request.command == kRender) return Render(request);
    if (request.command == kDrop) {
      kept_.Drop(request.keptId);
      return {};
    }
    RefuseOption("command", "there is no such command");
  }
  void Rest() override { kept_.Tidy(); }

 private:
  std::unique_ptr<KeptPhoto> Open(ChildRequest* request) {
    auto photo = std::make_unique<KeptPhoto>(std::move(request->photo), limits_);
    if (!request->mask.empty())
      photo->mask = codec::ReadMask(std::move(request->mask), photo->source.Width(), photo->source.Height(), limits_);
    return photo;
  }

  void Analyse(const photo::AnalyseRequest& asked, KeptPhoto* photo) {
    if (photo->analysis && photo->asked.face == asked.face && photo->asked.pair == asked.pair) return;
    photo->analysis = std::make_unique<photo::Analysis>(
        studio_.Analyse(photo->source, asked, photo->mask.values.empty() ? nullptr : &photo->mask));
    photo->asked = asked;
  }

  ChildReply Make(ChildRequest request) {
    const MakeOptions options = MakeOptionsOf(request);
    const std::unique_ptr<KeptPhoto> photo = Open(&request);
    Analyse(options.persons, photo.get());
    return Encoded(studio_.Render(photo->source, *photo->analysis, options.request), options);
  }

  ChildReply Inspect(ChildRequest request) {
    Options(request).End();
    const photo::Image picture = codec::ReadImage(std::move(request.photo), limits_);
    Json report{{"width", picture.width}, {"height", picture.height}, {"faces", Json::array()}};
    for (const photo::ProbedFace& face : studio_.Inspect(picture)) {
      Json corners = Json::array();
      for (const photo::Point& corner : face.corners) corners.push_back({corner.x, corner.y});
      report["faces"].push_back({{"score", face.score / 1000.0}, {"corners", corners}});
    }
    ChildReply reply;
    reply.report = report.dump();
    return reply;
  }

  ChildReply Keep(ChildRequest request) {
    if (request.keptId.empty()) RefuseOption("command", "a photograph is kept under an id");
    Options options(request);
    const photo::AnalyseRequest asked = PersonsOf(options);
    options.End();
    std::unique_ptr<KeptPhoto> photo = Open(&request);
    Analyse(asked, photo.get());
    ChildReply reply;
    reply.report = Json{{"width", photo->source.Width()},
                        {"height", photo->source.Height()},
                        {"faces_found", photo->analysis->FacesFound()},
                        {"quarter_turns", photo->analysis->QuarterTurns()}}
                       .dump();
    kept_.Add(request.keptId, std::move(photo));
    return reply;
  }

  ChildReply Render(const ChildRequest& request) {
    const MakeOptions options = MakeOptionsOf(request);
    KeptPhoto* const photo = kept_.Find(request.keptId);
    if (!photo) return FailureReply(kNotKept, "the photograph is kept no longer");
    Analyse(options.persons, photo);
    return Encoded(studio_.Render(photo->source, *photo->analysis, options.request), options);
  }

  codec::ImageLibrary images_;
  const codec::Limits limits_;
  photo::Studio studio_;
  KeptPhotos kept_;
};

}  // namespace

std::unique_ptr<ChildWorker> MakePhotoWorker(const ChildLimits& limits) {
  return std::make_unique<PhotoWorker>(limits);
}

}  // namespace qx::server
