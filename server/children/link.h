// One child as its server talks to it.
#ifndef QX_SERVER_CHILDREN_LINK_H
#define QX_SERVER_CHILDREN_LINK_H

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "server/children/children.h"
#include "server/children/frame.h"
#include "server/children/process.h"

namespace qx::server {

using Clock = std::chrono::steady_clock;

// A request and who wants to know its reply.
struct ChildJob {
  uint64_t number = 0;
  ChildRequest request;
  Children::Callback callback;
  Clock::time_point until;  // it waits no longer
  Clock::time_point since = Clock::now();
};

// Of the thread of the children alone.
class ChildLink {
 public:
  enum class State {
    kStarting,
    kIdle,
    kBusy,
    kLeaving,  // the connection is closed or the process killed
    kGone,     // it has ended
  };

  // Starts the process. Throws std::system_error.
  explicit ChildLink(const ChildrenSettings& settings);

  State Now() const { return state_; }
  pid_t Id() const { return process_.Id(); }
  bool IsRetiring() const { return isRetiring_; }
  bool Keeps(const std::string& id) const { return kept_.count(id) > 0; }
  size_t Kept() const { return kept_.size(); }
  // Ended without having been told to.
  bool HasDied() const { return hasDied_; }
  bool WasAsked() const { return asked_ > 0; }
  bool HasAnswered() const { return hasAnswered_; }

  // Only while idle.
  void Ask(ChildJob job);
  // Has the child end if it is idle, and take no more new photographs if not.
  void Leave();
  // Ends the process, whatever it does.
  void End();
  // Has a retiring child end as soon as it is idle, whatever it keeps.
  void LetGo();

  // What to wait for, always three.
  void AddTo(std::vector<pollfd>* wanted) const;
  Clock::time_point Deadline() const { return deadline_; }
  // After the wait, with the same three. May call the callback of the request.
  void Work(const pollfd* happened);

 private:
  void ReadSocket();
  void WriteSocket();
  void ReadLog();
  void OnFrame(Frame frame);
  void OnReply(NumberedReply numbered);
  void NoteKept(const ChildReply& reply);
  void LetGoOfOld();
  void Rest();
  void OnDeadline();
  void OnExit();
  void Break(const std::string& why);
  void Reply(ChildReply reply);
  void Say(const std::string& text);

  const ChildrenSettings& settings_;
  ChildProcess process_;
  State state_ = State::kStarting;
  Clock::time_point deadline_;
  FrameReader reader_;
  std::optional<FrameWriter> writer_;
  std::optional<ChildJob> job_;
  std::string askedId_, askedCommand_;
  double waited_ = 0;                              // seconds, the request at hand
  std::map<std::string, Clock::time_point> kept_;  // and when each was last asked for
  size_t asked_ = 0, read_ = 0;                    // requests, and those of them that brought a photograph
  bool isRetiring_ = false, isLate_ = false, isClosed_ = false, hasDied_ = false, hasAnswered_ = false;
  bool isTold_ = false, isBroken_ = false, isUnwanted_ = false, isForKept_ = false;
  std::string line_;
};

}  // namespace qx::server

#endif  // QX_SERVER_CHILDREN_LINK_H
