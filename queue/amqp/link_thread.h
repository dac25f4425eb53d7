// The thread that owns a connection to a server of messages, and makes a new one whenever it is lost.
#ifndef QX_QUEUE_AMQP_LINK_THREAD_H
#define QX_QUEUE_AMQP_LINK_THREAD_H

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>

#include "queue/amqp/link.h"
#include "queue/amqp/settings.h"

namespace qx::queue {

// Thrown to have a new link soon, without anything being wrong.
class LinkRenewal : public SourceFailure {
 public:
  using SourceFailure::SourceFailure;
};

// What happens on a link, on its thread alone. What throws SourceFailure ends the link.
class LinkUser {
 public:
  virtual void Begin(Link& link) = 0;
  virtual void Handle(LinkEvent event) = 0;
  // Now and then, and soon after each Wake: what there is to send.
  virtual void Work(Link& link) = 0;
  // The link is no more; whatever was in flight on it may have arrived or not.
  virtual void Lose(const std::string& why) = 0;

 protected:
  ~LinkUser() = default;
};

// Heartbeats go out from the thread, whatever others do meanwhile.
class LinkThread {
 public:
  // `what` is a word for the log. The user must outlive it.
  LinkThread(const AmqpSettings& settings, const char* what, LinkUser* user);
  ~LinkThread();
  LinkThread(const LinkThread&) = delete;
  LinkThread& operator=(const LinkThread&) = delete;

  // Throws SourceFailure when no host lets this end in at the first attempt.
  void Start();
  // Sends what is left to send, and ends. Nothing of the user is called from then on.
  void Stop();
  // For any thread.
  void Wake();
  // Runs it on the thread, before anything else that waits, and returns when it has. Throws SourceFailure when there is
  // no link or it does not last for that. What the task refers to must be the task's own.
  void Call(std::function<void(Link&)> task);

 private:
  struct Task {
    std::function<void(Link&)> run;
    bool done = false;
    std::string failure;  // empty when there was none
  };

  void Run();
  void Serve(const AmqpAddress::Host& host);
  void ServeLink(Link& link);
  void RunTasks(Link& link);
  void EndTask(const std::shared_ptr<Task>& task, const std::string& failure);
  void Lose(const std::string& why, bool isWanted = false);
  void Pause();
  std::chrono::milliseconds NextWait();
  void Say(const std::string& line) const;
  bool Ends() const { return ends_; }

  const AmqpSettings& settings_;
  const std::string what_;
  LinkUser* const user_;
  const int alarm_;  // read when somebody has called Wake
  std::atomic<bool> ends_{false};
  // Of the thread alone.
  size_t host_ = 0;
  int failures_ = 0;      // since a link last lasted
  bool isQuiet_ = false;  // about the link to come
  std::minstd_rand random_;

  std::mutex mutex_;  // of all below
  std::condition_variable changed_;
  enum class State { kConnecting, kLinked, kLost, kFailed } state_ = State::kConnecting;
  std::string failure_;  // the last one
  std::list<std::shared_ptr<Task>> tasks_;
  std::thread thread_;
};

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_LINK_THREAD_H
