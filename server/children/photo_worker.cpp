#include "server/children/photo_worker.h"

#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "codec/codec.h"
#include "orders/make.h"
#include "orders/order.h"
#include "photo/base/failure.h"
#include "photo/document/presets.h"
#include "photo/studio.h"
#include "server/children/kept_photos.h"

namespace qx::server {
namespace {

using Json = nlohmann::json;

ChildReply ReplyOf(orders::Answer answer) {
  ChildReply reply;
  for (orders::Picture& picture : answer.pictures) {
    reply.pictures.push_back({std::move(picture.name), orders::MediaTypeOf(picture.format),
                              photo::Bytes(picture.bytes.begin(), picture.bytes.end())});
  }
  reply.report = std::move(answer.report);
  return reply;
}

class PhotoWorker final : public ChildWorker {
 public:
  explicit PhotoWorker(const ChildLimits& limits) : limits_{static_cast<int64_t>(limits.pixels)}, kept_(limits) {
    images_.LoadAll();
    photo::Presets();
  }

  ChildReply Answer(ChildRequest request) override {
    if (request.command == kKeep) return Keep(std::move(request));
    if (request.command == kRender) return Render(request);
    if (request.command == kDrop) {
      kept_.Drop(request.keptId);
      return {};
    }
    const auto order = orders::ParseOrder(request.command, request.options, limits_);
    return ReplyOf(order->Fill({std::move(request.photo), std::move(request.mask), kPhotoName}, studio_));
  }
  void Rest() override { kept_.Tidy(); }

 private:
  void Analyse(const photo::AnalyseRequest& asked, KeptPhoto* photo) {
    if (photo->analysis && photo->asked.face == asked.face && photo->asked.pair == asked.pair) return;
    photo->analysis = std::make_unique<photo::Analysis>(
        studio_.Analyse(photo->source, asked, photo->mask.values.empty() ? nullptr : &photo->mask));
    photo->asked = asked;
  }

  ChildReply Keep(ChildRequest request) {
    if (request.keptId.empty() || !request.options.empty()) {
      throw photo::Failure(photo::FailureCode::kBadOption, "a photograph is kept under an id, without options");
    }
    auto photo = std::make_unique<KeptPhoto>(std::move(request.photo), limits_);
    if (!request.mask.empty()) {
      photo->mask = codec::ReadMask(std::move(request.mask), photo->source.Width(), photo->source.Height(), limits_);
    }
    Analyse({}, photo.get());
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
    const auto order = orders::ParseOrder("make", request.options, limits_);
    const auto& make = dynamic_cast<const orders::MakeOrder&>(*order);
    KeptPhoto* const photo = kept_.Find(request.keptId);
    if (!photo) return FailureReply(kNotKept, "the photograph is kept no longer");
    Analyse(make.Faces(), photo);
    return ReplyOf(
        make.AnswerOf(kPhotoName, make.Finish(studio_.Render(photo->source, *photo->analysis, make.Request()))));
  }

  // What a visitor's file is called is not told.
  static constexpr char kPhotoName[] = "photo";

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
