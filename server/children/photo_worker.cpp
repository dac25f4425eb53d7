#include "server/children/photo_worker.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "codec/codec.h"
#include "orders/check.h"
#include "orders/make.h"
#include "orders/order.h"
#include "photo/base/failure.h"
#include "photo/document/presets.h"
#include "photo/studio.h"
#include "server/children/kept_photos.h"

namespace qx::server {
namespace {

using Json = nlohmann::ordered_json;

double& At(StageSeconds& seconds, Stage stage) {
  return seconds[static_cast<size_t>(stage)];
}

ChildReply ReplyOf(orders::Answer answer) {
  ChildReply reply;
  for (orders::Picture& picture : answer.pictures) {
    reply.pictures.push_back({std::move(picture.name), orders::MediaTypeOf(picture.format),
                              photo::Bytes(picture.bytes.begin(), picture.bytes.end())});
  }
  reply.report = std::move(answer.report);
  At(reply.seconds, Stage::kAnalysis) = answer.steps.analysis;
  At(reply.seconds, Stage::kRendering) = answer.steps.rendering;
  At(reply.seconds, Stage::kEncoding) = answer.steps.encoding;
  At(reply.seconds, Stage::kChecking) = answer.steps.checking;
  return reply;
}

bool IsFormat(const std::pair<std::string, std::string>& option) {
  return option.first == "format";
}

// The options, with the kind of file that is wished for where they tell none.
orders::OptionPairs OptionsOf(const ChildRequest& request, std::string_view command) {
  orders::OptionPairs options = request.options;
  const bool isOpen = std::none_of(options.begin(), options.end(), IsFormat);
  if (isOpen && !request.wishedFormat.empty() && orders::HasOption(command, "format")) {
    options.emplace_back("format", request.wishedFormat);
  }
  return options;
}

Json ToJson(const std::vector<photo::AnalysedFace>& faces) {
  Json list = Json::array();
  for (const photo::AnalysedFace& face : faces) {
    Json corners = Json::array();
    for (const photo::Point& corner : face.corners) corners.push_back({corner.x, corner.y});
    list.push_back({{"face", list.size() + 1}, {"score", face.score}, {"corners", std::move(corners)}});
  }
  return list;
}

// Documents of 600 dots an inch have more pixels than a screen shows, and take longer than a moved slider has time.
void FitScreen(photo::Document* document) {
  constexpr int32_t kMostSide = 640;
  int32_t &width = document->width, &height = document->height;
  const double scale = 1.0 * kMostSide / std::max(width, height);
  if (scale >= 1) return;
  width = std::max(1, static_cast<int32_t>(std::lround(width * scale)));
  height = std::max(1, static_cast<int32_t>(std::lround(height * scale)));
}

class PhotoWorker final : public ChildWorker {
 public:
  explicit PhotoWorker(const ChildLimits& limits) : limits_{static_cast<int64_t>(limits.pixels)}, kept_(limits) {
    images_.LoadAll();
    photo::Presets();
  }

  ChildReply Answer(ChildRequest request) override {
    steps_ = {};
    double all = 0;
    ChildReply reply = orders::Timed(&all, [&] { return Work(std::move(request)); });
    const double known = std::accumulate(reply.seconds.begin(), reply.seconds.end(), 0.0);
    At(reply.seconds, Stage::kOther) = std::max(0.0, all - known);
    return reply;
  }
  void Rest() override { kept_.Tidy(); }

 private:
  ChildReply Work(ChildRequest request) {
    if (request.command == kKeep) return Keep(std::move(request));
    if (!request.keptId.empty()) return WorkOnKept(request);
    if (request.command == kMakeOne) return MakeOne(std::move(request));
    const auto order = orders::ParseOrder(request.command, OptionsOf(request, request.command), limits_);
    return ReplyOf(order->Fill({std::move(request.photo), std::move(request.mask), kPhotoName,
                                std::move(request.morePhotos), std::move(request.copies)},
                               studio_));
  }

  void Analyse(const photo::AnalyseRequest& asked, KeptPhoto* photo) {
    if (photo->analysis && photo->asked.face == asked.face && photo->asked.pair == asked.pair) return;
    photo->analysis = orders::Timed(&steps_.analysis, [&] {
      return std::make_unique<photo::Analysis>(
          studio_.Analyse(photo->source, asked, photo->mask.values.empty() ? nullptr : &photo->mask));
    });
    photo->asked = asked;
  }

  ChildReply Keep(ChildRequest request) {
    if (request.keptId.empty() || !request.options.empty()) {
      throw photo::Failure(photo::FailureCode::kBadOption, "a photograph is kept without options");
    }
    auto photo = std::make_unique<KeptPhoto>(std::move(request.photo), limits_);
    if (!request.mask.empty()) {
      photo->mask = codec::ReadMask(std::move(request.mask), photo->source.Width(), photo->source.Height(), limits_);
    }
    Analyse({}, photo.get());
    const photo::Analysis& analysis = *photo->analysis;
    const Json report = {{"width", analysis.Width()},
                         {"height", analysis.Height()},
                         {"quarter_turns", analysis.QuarterTurns()},
                         {"faces_found", analysis.FacesFound()},
                         {"faces", ToJson(analysis.Faces())}};
    kept_.Add(request.keptId, std::move(photo));
    return ReplyOf({{}, report.dump(), steps_});
  }

  ChildReply WorkOnKept(const ChildRequest& request) {
    if (request.command == kDrop) {
      kept_.Drop(request.keptId);
      return {};
    }
    const orders::OptionPairs options = OptionsOf(request, kMake);
    const auto order = orders::ParseOrder(kMake, options, limits_);
    const auto& make = dynamic_cast<const orders::MakeOrder&>(*order);
    KeptPhoto* const photo = kept_.Find(request.keptId);
    if (!photo) return FailureReply(kNotKept, "the photograph is kept no longer");
    orders::Answer answer;
    if (request.command == kPreview) {
      answer = Preview(make, photo);
    } else if (request.command == kMeasure || request.command == kDraw) {
      answer = Check(make, Finished(make, options, photo), request.command == kDraw);
    } else {
      answer = make.AnswerOf(kPhotoName, Finished(make, options, photo));
    }
    answer.steps = steps_;
    return ReplyOf(std::move(answer));
  }

  ChildReply MakeOne(ChildRequest request) {
    const auto order = orders::ParseOrder(kMake, OptionsOf(request, kMake), limits_);
    const auto& make = dynamic_cast<const orders::MakeOrder&>(*order);
    codec::FileSource source(std::move(request.photo), make.limits);
    const orders::MadeFile file = make.Finish(studio_.Make(source, make.Faces(), make.Request()));
    orders::Answer answer = make.AnswerOf(kPhotoName, file);
    const orders::MadeLine line = make.LineOf(file);
    Json measures = Json::object();
    for (const auto& [name, value] : line.measures) measures[name] = value;
    answer.report = Json{{"message", line.message}, {"reasons", line.reasons}, {"measures", measures}}.dump();
    return ReplyOf(std::move(answer));
  }

  photo::MadePhoto Render(const orders::MakeOrder& make, const photo::MakeRequest& wanted, KeptPhoto* photo) {
    Analyse(make.Faces(), photo);
    return orders::Timed(&steps_.rendering, [&] { return studio_.Render(photo->source, *photo->analysis, wanted); });
  }

  const orders::MadeFile& Finished(const orders::MakeOrder& make, orders::OptionPairs options, KeptPhoto* photo) {
    // Whether the format was told or is the usual one changes nothing.
    options.erase(std::remove_if(options.begin(), options.end(), IsFormat), options.end());
    std::optional<FinishedPhoto>& last = photo->finished;
    if (last && last->options == options && last->format == make.Format()) return last->file;
    photo::MadePhoto made = Render(make, make.Request(), photo);
    orders::MadeFile file = orders::Timed(&steps_.encoding, [&] { return make.Finish(std::move(made)); });
    return last.emplace(FinishedPhoto{std::move(options), make.Format(), std::move(file)}).file;
  }

  orders::Answer Preview(const orders::MakeOrder& make, KeptPhoto* photo) {
    photo::MakeRequest wanted = make.Request();
    wanted.compare = false;
    wanted.draft = true;
    FitScreen(&wanted.document);
    const photo::MadePhoto made = Render(make, wanted, photo);
    orders::Answer answer;
    answer.pictures.push_back(orders::Timed(&steps_.encoding, [&] { return make.Preview(kPhotoName, made); }));
    return answer;
  }

  // Of the finished file's own bytes, as if it came from somewhere else.
  orders::Answer Check(const orders::MakeOrder& make, const orders::MadeFile& file, bool draw) {
    orders::CheckOrder check;
    check.document = make.document;
    check.child = make.document.child;
    check.draw = draw;
    check.Settle();
    const std::string name = kPhotoName + std::string(orders::EndingOf(orders::PrintFormatOf(make.Format())));
    const std::vector<uint8_t>& bytes = file.file.bytes;
    return orders::Timed(&steps_.checking, [&] {
      return check.Fill({photo::Bytes(bytes.begin(), bytes.end()), {}, name}, studio_);
    });
  }

  static constexpr char kMake[] = "make";
  // What a visitor's file is called is not told.
  static constexpr char kPhotoName[] = "photo";

  codec::ImageLibrary images_;
  const codec::Limits limits_;
  photo::Studio studio_;
  KeptPhotos kept_;
  orders::Steps steps_;  // of the request at hand
};

}  // namespace

std::unique_ptr<ChildWorker> MakePhotoWorker(const ChildLimits& limits) {
  return std::make_unique<PhotoWorker>(limits);
}

}  // namespace qx::server
