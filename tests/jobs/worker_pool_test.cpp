#include "jobs/worker_pool.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <numeric>
#include <stdexcept>
#include <string>

namespace qx::jobs {
namespace {

// Notes where it lives and whether two threads ever use it.
struct Worker {
  std::thread::id maker = std::this_thread::get_id();
  int calls = 0;  // unguarded on purpose: the thread sanitizer sees a second user
};
using Pool = WorkerPool<Worker>;

std::unique_ptr<Worker> MakeWorker() {
  return std::make_unique<Worker>();
}

// Something to wait for, with a limit so that a fault ends the test.
class Gate {
 public:
  void Open() { promise_.set_value(); }
  bool Wait() const { return future_.wait_for(std::chrono::seconds(60)) == std::future_status::ready; }

 private:
  std::promise<void> promise_;
  std::shared_future<void> future_{promise_.get_future()};
};

TEST(WorkerPoolThreads, RunEveryJobOnceWithAWorkerOfTheirOwn) {
  std::atomic<int> made{0}, runs{0}, strangers{0};
  Pool pool(4, 3, [&made] { return ++made, MakeWorker(); });
  EXPECT_EQ(4u, pool.Threads());
  EXPECT_EQ(4, made);
  std::vector<Job<int>> jobs;
  for (int i = 0; i < 1000; ++i) {
    jobs.push_back(pool.Submit([i, &runs, &strangers](Worker& worker, const CancelToken& token) {
      ++worker.calls;
      ++runs;
      if (worker.maker != std::this_thread::get_id() || token.Cancelled()) ++strangers;
      return i;
    }));
  }
  int sum = 0;
  for (Job<int>& job : jobs) sum += job.Get();
  EXPECT_EQ(999 * 1000 / 2, sum);
  EXPECT_EQ(1000, runs);
  EXPECT_EQ(0, strangers);
}

TEST(WorkerPoolThreads, TakeJobsInTheirOrderAndFromManyThreads) {
  std::vector<int> order;
  Pool pool(1, 2, MakeWorker);
  std::vector<Job<void>> jobs;
  for (int i = 0; i < 50; ++i) {
    jobs.push_back(pool.Submit([i, &order](Worker&, const CancelToken&) { order.push_back(i); }));
  }
  for (Job<void>& job : jobs) job.Get();
  std::vector<int> expected(50);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(expected, order);

  std::atomic<int> sum{0};
  std::vector<std::thread> givers;
  for (int t = 0; t < 4; ++t) {
    givers.emplace_back([&] {
      for (int i = 0; i < 100; ++i) sum += pool.Submit([](Worker&, const CancelToken&) { return 1; }).Get();
    });
  }
  for (std::thread& giver : givers) giver.join();
  EXPECT_EQ(400, sum);
}

TEST(WorkerPoolThreads, CarryResultsAndExceptionsOut) {
  Pool pool(2, 2, MakeWorker);
  auto input = std::make_unique<std::string>("photograph");  // a call and a result that can only be moved
  auto moved =
      pool.Submit([input = std::move(input)](Worker&, const CancelToken&) mutable { return std::move(input); });
  EXPECT_EQ("photograph", *moved.Get());
  auto failing = pool.Submit([](Worker&, const CancelToken&) -> int { throw std::runtime_error("torn"); });
  try {
    failing.Get();
    ADD_FAILURE() << "nothing thrown";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ("torn", error.what());
  }
  EXPECT_EQ(7, pool.Submit([](Worker&, const CancelToken&) { return 7; }).Get());  // the thread lives on
}

TEST(WorkerPoolThreads, LetGoOfWhatACallHoldsBeforeItsEndIsKnown) {
  Pool pool(1, 1, MakeWorker);
  const auto held = std::make_shared<int>(0);
  auto job = pool.Submit([held](Worker&, const CancelToken&) {});
  job.Get();
  EXPECT_EQ(1, held.use_count());
}

TEST(WorkerPoolThreads, RefuseOrWaitWhenTheQueueIsFull) {
  Pool pool(1, 2, MakeWorker);
  Gate begun, gate;
  auto work = [](Worker&, const CancelToken&) { return 1; };
  auto first = pool.Submit([&](Worker&, const CancelToken&) {
    begun.Open();
    return gate.Wait() ? 1 : 0;
  });
  ASSERT_TRUE(begun.Wait());
  EXPECT_FALSE(first.Ready());
  auto second = pool.TrySubmit(work), third = pool.TrySubmit(work);
  ASSERT_TRUE(second && third);
  EXPECT_EQ(2u, pool.Waiting());
  EXPECT_FALSE(pool.TrySubmit(work));
  std::atomic<bool> submitted{false};
  std::thread giver([&] {
    auto job = pool.Submit(work);
    submitted = true;
    EXPECT_EQ(1, job.Get());
  });
  // A cancelled job makes room at once, though every worker is busy.
  third->Cancel();
  while (!submitted) std::this_thread::yield();
  EXPECT_FALSE(first.Ready());
  gate.Open();
  giver.join();
  EXPECT_EQ(2, first.Get() + second->Get());
  EXPECT_THROW(third->Get(), Cancelled);
}

TEST(WorkerPoolThreads, AskRunningJobsToGiveUp) {
  Pool pool(1, 1, MakeWorker);
  Gate begun;
  auto job = pool.Submit([&begun](Worker&, const CancelToken& token) {
    begun.Open();
    while (!token.Cancelled()) std::this_thread::yield();
    return std::string("gave up");
  });
  ASSERT_TRUE(begun.Wait());
  job.Cancel();
  EXPECT_EQ("gave up", job.Get());
  job.Cancel();  // of no effect after the end
  EXPECT_EQ(1, pool.Submit([](Worker&, const CancelToken& token) { return token.Cancelled() ? 0 : 1; }).Get());
}

TEST(WorkerPoolThreads, StopCancelsAllAndWakesWhoWaits) {
  std::optional<Job<void>> waiting;
  std::atomic<int> runs{0};
  std::thread giver;
  std::atomic<bool> refused{false};
  {
    Pool pool(1, 1, MakeWorker);
    Gate begun;
    auto running = pool.Submit([&](Worker&, const CancelToken& token) {
      begun.Open();
      while (!token.Cancelled()) std::this_thread::yield();
      ++runs;
    });
    ASSERT_TRUE(begun.Wait());
    waiting = pool.Submit([&runs](Worker&, const CancelToken&) { runs += 10; });
    giver = std::thread([&] {
      try {
        pool.Submit([&runs](Worker&, const CancelToken&) { runs += 100; });
      } catch (const Cancelled&) {
        refused = true;
      }
    });
    pool.Stop();
    giver.join();
    EXPECT_TRUE(refused);
    EXPECT_FALSE(pool.TrySubmit([](Worker&, const CancelToken&) {}));
  }
  // The pool is gone, its jobs are not.
  EXPECT_EQ(1, runs);
  waiting->Cancel();
  EXPECT_THROW(waiting->Get(), Cancelled);
}

TEST(WorkerPoolThreads, PassOnThatAWorkerCannotBeMade) {
  std::atomic<int> calls{0}, left{0};
  struct Counted {
    explicit Counted(std::atomic<int>* l) : left(l) { ++*left; }
    ~Counted() { --*left; }
    std::atomic<int>* left;
  };
  const auto make = [&]() -> std::unique_ptr<Counted> {
    if (++calls == 3) throw std::runtime_error("no engine");
    return std::make_unique<Counted>(&left);
  };
  EXPECT_THROW(WorkerPool<Counted>(4, 1, make), std::runtime_error);
  EXPECT_EQ(4, calls);
  EXPECT_EQ(0, left);
}

// Address space for a few stacks only: the pool makes do with the threads that it gets.
int ThreadsWhenFewAreGranted() {
  size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  rlimit stack{};
  getrlimit(RLIMIT_STACK, &stack);
  const rlim_t size = stack.rlim_cur == RLIM_INFINITY ? 8 << 20 : stack.rlim_cur;
  const rlim_t most = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + 4 * size;
  const rlimit limit{most, most};
  if (setrlimit(RLIMIT_AS, &limit) != 0) return -1;
  Pool pool(64, 4, MakeWorker);
  std::vector<Job<int>> jobs;
  for (int i = 0; i < 10; ++i) jobs.push_back(pool.Submit([](Worker&, const CancelToken&) { return 1; }));
  int sum = 0;
  for (Job<int>& job : jobs) sum += job.Get();
  return sum == 10 ? static_cast<int>(pool.Threads()) : -2;
}

TEST(WorkerPool, WorksWithFewerWhenTheSystemRefusesSome) {
#ifdef QX_SANITIZED
  GTEST_SKIP() << "sanitizers need the address space";
#endif
  const pid_t child = fork();
  if (child == 0) {
    int threads = -3;
    try {
      threads = ThreadsWhenFewAreGranted();
    } catch (const std::exception&) {
    }
    _exit(threads > 0 && threads < 64 ? 42 : 1);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 42) << status;
}

}  // namespace
}  // namespace qx::jobs
