#include "worker/worker.h"

#include <algorithm>
#include <future>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "photo/base/text.h"
#include "worker/digest.h"
#include "worker/outcome.h"

namespace qx::worker {
namespace {

using Clock = std::chrono::steady_clock;
using Json = nlohmann::ordered_json;
using photo::Failure;
using photo::FailureCode;

// How soon a stop is noticed.
constexpr std::chrono::milliseconds kLook{200};
// Of something that failed for the first time.
constexpr std::chrono::milliseconds kFirstWait{500};
// Once it is to end, how often the source is still asked to take an answer.
constexpr int kLastTries = 5;

double SecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

server::ChildrenSettings ChildrenOf(const WorkerSettings& settings) {
  // More pixels take more memory; see ChildLimits for what is enough for the usual ones.
  constexpr uint64_t kUsualPixels = 50'000'000, kPixelBytes = 24;
  server::ChildrenSettings children;
  children.count = settings.jobs;
  children.limits.pixels = settings.pixels;
  children.limits.addressBytes += (std::max(settings.pixels, kUsualPixels) - kUsualPixels) * kPixelBytes;
  children.requestTime = settings.time;
  children.startTime = std::chrono::seconds(60);
  children.waitTime = std::chrono::hours(1);
  children.mostWaiting = settings.inHand;
  children.log = settings.log;
  return children;
}

FailureCode CodeNamed(const std::string& name) {
  for (int code = 0; code <= static_cast<int>(FailureCode::kEngine); ++code) {
    if (NameOf(static_cast<FailureCode>(code)) == name) return static_cast<FailureCode>(code);
  }
  return FailureCode::kEngine;
}

// Throws what the reply says, unless it is an answer.
void Check(const server::ChildReply& reply, bool isStopped) {
  using Kind = server::ChildReply::Kind;
  switch (reply.kind) {
    case Kind::kAnswer: return;
    case Kind::kFailure:
      if (reply.code == NameOf(FailureCode::kOutOfMemory)) throw Trouble(reply.text);
      throw Failure(CodeNamed(reply.code), reply.text, reply.fields);
    case Kind::kKilled:
      // Who ends a worker may end all its processes with it.
      if (isStopped) throw NotBegun();
      [[fallthrough]];
    case Kind::kDied:
    case Kind::kTimedOut: throw Trouble(reply.text);
    case Kind::kBusy:
    case Kind::kCancelled: throw NotBegun();
  }
}

// A child's report on what it made.
void AddReport(const std::string& report, queue::Answer* answer) {
  try {
    const Json json = Json::parse(report);
    // A hostile photograph may have taken the process over.
    answer->message = photo::Printable(json.at("message").get<std::string>());
    answer->reasons = json.at("reasons").get<std::vector<std::string>>();
    for (const auto& item : json.at("measures").items()) {
      answer->measures.emplace_back(item.key(), item.value().get<double>());
    }
  } catch (const Json::exception&) {
    throw Trouble("a process reported something odd");
  }
}

}  // namespace

Worker::Worker(WorkerSettings settings, queue::JobSource* source)
    : settings_(std::move(settings)),
      source_(source),
      sourceWaits_(kFirstWait),
      troubleWaits_(kFirstWait),
      children_(ChildrenOf(settings_)) {}

bool Worker::Run() {
  std::vector<std::thread> threads;
  try {
    for (size_t i = 0; i < std::max<size_t>(settings_.inHand, 1); ++i) threads.emplace_back([this] { Live(); });
  } catch (const std::system_error&) {
    // With fewer threads it is slower, with none it is not at all.
    if (threads.empty()) throw;
  }
  for (std::thread& thread : threads) thread.join();
  children_.Stop();
  return !lost_;
}

void Worker::Stop() {
  {
    const std::lock_guard<std::mutex> lock(resting_);
    stopped_ = true;
  }
  stop_.notify_all();
}

std::string Worker::Metrics() const {
  return counts_.Text(children_.State(), reaches_);
}

void Worker::Say(const std::string& line) const {
  if (settings_.log) settings_.log(line);
}

// False when it is to end.
bool Worker::Rest(std::chrono::milliseconds time) {
  std::unique_lock<std::mutex> lock(resting_);
  return !stop_.wait_for(lock, time, [this] { return stopped_.load(); });
}

void Worker::Live() {
  Fetcher fetcher;
  while (const auto claim = Next()) WorkOn(*claim, &fetcher);
}

std::optional<queue::Claim> Worker::Next() {
  const std::lock_guard<std::mutex> lock(taking_);
  while (!stopped_) {
    try {
      auto claim = source_->Take(kLook);
      if (!reaches_.exchange(true)) Say("the queue is reached again");
      sourceWaits_.Reset();
      if (claim) {
        counts_.Taken();
        return claim;
      }
      if (settings_.drain && IsDrained()) Stop();
    } catch (const std::exception& failure) {
      reaches_ = false;
      Say(photo::ReasonOf(failure));
      Rest(sourceWaits_.Next());
    }
  }
  return std::nullopt;
}

// Twice, since what goes back from somebody's hands between two counts can be missed by both.
bool Worker::IsDrained() {
  for (int look = 0; look < 2; ++look) {
    const queue::SourceCounts counts = source_->Count();
    if (counts.waiting + counts.claimed > 0) return false;
  }
  return true;
}

void Worker::WorkOn(const queue::Claim& claim, Fetcher* fetcher) {
  const Clock::time_point begin = Clock::now();
  queue::Answer failed{claim.job.id, claim.job.photograph, claim.job.output, false, "", {}, {}, 0, ""};
  const auto fail = [&](Words words) {
    failed.message = std::move(words.message);
    failed.reasons = std::move(words.reasons);
    Answered(claim, failed, begin);
  };
  try {
    Answered(claim, Make(claim.job, fetcher), begin);
  } catch (const Failure& failure) {
    fail(settings_.words(failure));
  } catch (const Refusal& refusal) {
    fail({refusal.what(), {refusal.Reason()}});
  } catch (const NotBegun&) {
    Tell("return", [&] { source_->Return(claim); });
    counts_.Ended(Ending::kReturned);
    if (!stopped_) Rest(kFirstWait);
  } catch (const std::exception& exception) {
    CameToNothing(claim, photo::ReasonOf(exception));
  }
}

queue::Answer Worker::Make(const queue::Job& job, Fetcher* fetcher) {
  const Destination destination(job.output, settings_.writeTo);
  photo::Bytes photograph = Read(job, destination, fetcher);
  if (DigestOf(photograph.data(), photograph.size()) != job.sha256) {
    throw Refusal(kChangedPhotograph, "is not the photograph that was handed in; hand it in again");
  }
  const server::ChildReply reply = Ask(job, std::move(photograph), destination.Format());
  Check(reply, stopped_);
  const std::string type = destination.Format() == "png" ? "image/png" : "image/jpeg";
  if (reply.pictures.empty() || reply.pictures[0].type != type) {
    throw Refusal(kBadJob, "the options ask for another kind of file than the output's name");
  }
  queue::Answer answer{job.id, job.photograph, job.output, true, "", {}, {}, 0, ""};
  AddReport(reply.report, &answer);
  destination.Place(reply.pictures[0].bytes, job.id);
  return answer;
}

photo::Bytes Worker::Read(const queue::Job& job, const Destination& destination, Fetcher* fetcher) const {
  if (job.photograph[0] == '/') {
    ReadFile file = ReadPhotograph(job.photograph, settings_.readFrom, settings_.fileBytes);
    if (destination.Is(file.identity)) throw Refusal(kBadJob, "the output would replace that photograph");
    return std::move(file.bytes);
  }
  const auto address = ParseWebAddress(job.photograph);
  if (!address || !settings_.readFrom.HasAddress(*address)) {
    throw Refusal(kNotAllowed, "is no address that this worker may read");
  }
  return fetcher->Fetch(job.photograph, {settings_.fileBytes, settings_.time}, [this] { return stopped_.load(); });
}

server::ChildReply Worker::Ask(const queue::Job& job, photo::Bytes photograph, const std::string& format) {
  if (stopped_) throw NotBegun();
  server::ChildRequest request;
  request.command = server::kMakeOne;
  request.options = job.options;
  request.photo = std::move(photograph);
  request.wishedFormat = format;
  const auto promise = std::make_shared<std::promise<server::ChildReply>>();
  std::future<server::ChildReply> reply = promise->get_future();
  const uint64_t number = children_.Run(
      std::move(request), [promise](server::ChildReply answer) { promise->set_value(std::move(answer)); });
  while (reply.wait_for(kLook) != std::future_status::ready) {
    if (stopped_ && children_.Cancel(number)) throw NotBegun();
  }
  return reply.get();
}

void Worker::Answered(const queue::Claim& claim, const queue::Answer& answer, Clock::time_point begin) {
  queue::Answer whole = answer;
  whole.options = settings_.optionsText(claim.job);
  whole.seconds = SecondsSince(begin);
  try {
    if (!Tell("answer", [&] { source_->Finish(claim, whole); })) return;
  } catch (const queue::BadMessage& bad) {
    return CameToNothing(claim, std::string("its answer is none: ") + bad.what());
  }
  counts_.Ended(answer.done ? Ending::kDone : Ending::kFailed, whole.seconds);
  if (answer.done) {
    const std::lock_guard<std::mutex> lock(resting_);
    troubleWaits_.Reset();
  }
  const std::string note = answer.message.empty() ? "" : " (" + answer.message + ")";
  Say(photo::Printable(answer.photograph) + ": " +
      (answer.done ? photo::Printable(answer.output) + note : answer.message));
}

void Worker::CameToNothing(const queue::Claim& claim, const std::string& reason) {
  const bool isLast = claim.tries >= queue::kMostTries;
  Say(photo::Printable(claim.job.photograph) + ": try " + std::to_string(claim.tries) + " of " +
      std::to_string(queue::kMostTries) + ": " + reason);
  std::unique_lock<std::mutex> lock(resting_);
  const std::chrono::milliseconds wait = troubleWaits_.Next();
  lock.unlock();
  Rest(wait);
  Tell("give back", [&] { source_->GiveBack(claim, reason); });
  counts_.Ended(isLast ? Ending::kBuried : Ending::kGivenBack);
}

// Until the source has heard it; once it is to end, not for ever. False when it never has.
bool Worker::Tell(const std::string& what, const std::function<void()>& call) {
  Waits waits(kFirstWait);
  for (int last = 0; last < kLastTries; last += stopped_ ? 1 : 0) {
    try {
      call();
      return true;
    } catch (const queue::BadMessage&) {
      throw;
    } catch (const std::exception& failure) {
      reaches_ = false;
      Say("cannot " + what + ": " + photo::ReasonOf(failure));
      // A stop cuts this wait short, and the last ones are waited for in full.
      if (!Rest(waits.Next())) std::this_thread::sleep_for(kFirstWait);
    }
  }
  lost_ = true;
  return false;
}

}  // namespace qx::worker
