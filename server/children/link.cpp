#include "server/children/link.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "photo/base/text.h"

namespace qx::server {
namespace {

constexpr std::chrono::seconds kTimeToLeave{5}, kLookAtKept{10};
constexpr size_t kLongestLine = 500;
constexpr int kMostReads = 64;       // in one turn, so that a child that talks on and on holds up nobody
constexpr size_t kMostForKept = 50;  // times the usual number of requests

// A photograph can have its child end by what it does, but not by a signal that only others send.
bool IsFromOutside(int waitStatus) {
  if (!WIFSIGNALED(waitStatus)) return false;
  const int signal = WTERMSIG(waitStatus);
  return signal == SIGKILL || signal == SIGTERM || signal == SIGINT || signal == SIGHUP || signal == SIGQUIT;
}

ChildReply::Kind KindFor(int waitStatus, bool isLate, bool isBroken) {
  if (isLate) return ChildReply::Kind::kTimedOut;
  return !isBroken && IsFromOutside(waitStatus) ? ChildReply::Kind::kKilled : ChildReply::Kind::kDied;
}

}  // namespace

ChildLink::ChildLink(const ChildrenSettings& settings)
    : settings_(settings), process_(settings.program), deadline_(Clock::now() + settings.startTime) {
  writer_.emplace(ToFrame(settings.limits));
  WriteSocket();
}

void ChildLink::Ask(ChildJob job) {
  askedId_ = job.request.keptId;
  askedCommand_ = job.request.command;
  // What is kept has been read already, and may be asked for many times while somebody moves a slider.
  isForKept_ = NeedsKept(job.request);
  if (!isForKept_) ++read_;
  waited_ = std::chrono::duration<double>(Clock::now() - job.since).count();
  writer_.emplace(ToFrame(job.number, std::move(job.request)));
  job_ = std::move(job);
  ++asked_;
  state_ = State::kBusy;
  deadline_ = Clock::now() + settings_.requestTime;
  process_.AllowTime(std::chrono::duration_cast<std::chrono::seconds>(settings_.requestTime));
  WriteSocket();
}

void ChildLink::Leave() {
  isRetiring_ = true;
  if (state_ != State::kIdle && state_ != State::kStarting) return;
  isTold_ = true;
  state_ = State::kLeaving;
  deadline_ = Clock::now() + kTimeToLeave;
  shutdown(process_.Socket(), SHUT_WR);
}

void ChildLink::End() {
  constexpr std::chrono::milliseconds kGrace{300};
  if (state_ == State::kBusy) process_.Kill();
  if (state_ == State::kLeaving) deadline_ = std::min(deadline_, Clock::now() + kGrace);
}

void ChildLink::AddTo(std::vector<pollfd>* wanted) const {
  const bool writes = writer_.has_value() && !isClosed_;
  wanted->push_back({isClosed_ ? -1 : process_.Socket(), static_cast<short>(POLLIN | (writes ? POLLOUT : 0)), 0});
  wanted->push_back({process_.Log(), POLLIN, 0});
  wanted->push_back({process_.Exit(), POLLIN, 0});
}

void ChildLink::Work(const pollfd* happened) {
  if (happened[1].revents != 0) ReadLog();
  if (happened[0].revents & POLLOUT) WriteSocket();
  if (happened[0].revents & (POLLIN | POLLHUP | POLLERR)) ReadSocket();
  if (happened[2].revents != 0) return OnExit();
  if (Clock::now() >= deadline_) OnDeadline();
}

void ChildLink::ReadSocket() {
  try {
    for (int turn = 0; turn < kMostReads && !isClosed_; ++turn) {
      const FrameReader::Space space = reader_.Room();
      const ssize_t count = recv(process_.Socket(), space.data, space.size, 0);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0 && errno == EAGAIN) return;
      if (count <= 0) {
        isClosed_ = true;  // its end tells how
        if (state_ != State::kLeaving) deadline_ = Clock::now() + kTimeToLeave;
      } else if (reader_.Added(static_cast<size_t>(count))) {
        OnFrame(reader_.Take());
      }
    }
  } catch (const std::exception& exception) {
    Break(photo::ReasonOf(exception));
  }
}

void ChildLink::WriteSocket() {
  while (writer_ && !isClosed_) {
    const FrameWriter::Piece piece = writer_->Rest();
    const ssize_t count = send(process_.Socket(), piece.data, piece.size, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return;  // full, or the child has ended and is about to be read so
    writer_->Sent(static_cast<size_t>(count));
    if (writer_->IsDone()) writer_.reset();
  }
}

void ChildLink::OnFrame(Frame frame) {
  if (state_ == State::kLeaving) return;
  if (state_ == State::kStarting && frame.kind == kReadyFrame) return Rest();
  if (state_ != State::kBusy || writer_) throw BadFrame("a frame out of turn");
  OnReply(ReplyOf(std::move(frame)));
}

void ChildLink::OnReply(NumberedReply numbered) {
  if (numbered.number != job_->number) throw BadFrame("an answer to nothing that was asked");
  hasAnswered_ = true;
  NoteKept(numbered.reply);
  Rest();
  Reply(std::move(numbered.reply));
}

void ChildLink::NoteKept(const ChildReply& reply) {
  if (askedId_.empty()) return;
  const bool isDone = reply.kind == ChildReply::Kind::kAnswer;
  if (askedCommand_ == kDrop || reply.code == kNotKept) {
    kept_.erase(askedId_);
  } else if (isDone || Keeps(askedId_)) {
    kept_[askedId_] = Clock::now();
  }
}

void ChildLink::LetGoOfOld() {
  const Clock::time_point oldest = Clock::now() - std::chrono::seconds(settings_.limits.keptSeconds);
  for (auto it = kept_.begin(); it != kept_.end();) it = it->second < oldest ? kept_.erase(it) : std::next(it);
}

void ChildLink::Rest() {
  state_ = State::kIdle;
  deadline_ = Clock::now() + kLookAtKept;
  const bool isWorn = asked_ >= kMostForKept * settings_.requestsOfChild;
  if (isWorn || read_ >= settings_.requestsOfChild) isRetiring_ = true;
  if (isRetiring_ && (kept_.empty() || isWorn || isUnwanted_)) Leave();
}

void ChildLink::LetGo() {
  isUnwanted_ = true;
  if (state_ == State::kIdle) Leave();
}

void ChildLink::OnDeadline() {
  if (state_ == State::kIdle && !isClosed_) {
    LetGoOfOld();
    return Rest();
  }
  isLate_ = state_ == State::kBusy && !isClosed_;
  if (state_ == State::kStarting) Say("does not start in time");
  process_.Kill();
  deadline_ = Clock::time_point::max();
}

void ChildLink::OnExit() {
  ReadSocket();
  const std::optional<int> status = process_.Collect();
  if (!status) return;
  ReadLog();
  hasDied_ = !isTold_ || *status != 0;
  state_ = State::kGone;
  if (hasDied_) Say(isLate_ ? "killed: it took too long" : WordsFor(*status));
  if (!job_) return;
  ChildReply reply;
  reply.kind = KindFor(*status, isLate_, isBroken_);
  reply.text =
      isLate_ ? "the photograph takes too long" : "the process that worked on the photograph " + WordsFor(*status);
  // Another try would not find the photograph.
  if (reply.kind == ChildReply::Kind::kKilled && isForKept_)
    reply = FailureReply(kNotKept, "the photograph is kept no longer");
  Reply(std::move(reply));
}

// What comes from it is not to be believed any more.
void ChildLink::Break(const std::string& why) {
  Say("is not understood: " + why);
  isClosed_ = isBroken_ = true;
  process_.Kill();
  deadline_ = Clock::time_point::max();
}

void ChildLink::Reply(ChildReply reply) {
  const ChildJob job = std::move(*std::exchange(job_, std::nullopt));
  reply.seconds[static_cast<size_t>(Stage::kWaiting)] = waited_;
  job.callback(std::move(reply));
}

void ChildLink::ReadLog() {
  char text[1024];
  ssize_t count;
  while ((count = read(process_.Log(), text, sizeof text)) > 0) {
    for (const char* c = text; c < text + count; ++c) {
      if (*c != '\n') line_ += *c;
      if (*c == '\n' || line_.size() >= kLongestLine) Say(photo::Printable(std::exchange(line_, {})));
    }
  }
  if (count == 0) {
    process_.CloseLog();
    if (!line_.empty()) Say(photo::Printable(std::exchange(line_, {})));
  }
}

void ChildLink::Say(const std::string& text) {
  if (settings_.log) settings_.log("child " + std::to_string(process_.Id()) + ": " + text);
}

}  // namespace qx::server
