#include "engine/network_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace qx::face {
namespace {

struct CountedNetwork {
  static std::unique_ptr<CountedNetwork> Load() {
    if (refuses) throw std::runtime_error("refused");
    return std::make_unique<CountedNetwork>();
  }
  CountedNetwork() { ++alive; }
  ~CountedNetwork() { --alive; }
  CountedNetwork(const CountedNetwork&) = delete;
  CountedNetwork& operator=(const CountedNetwork&) = delete;

  static std::atomic<int> alive;
  static bool refuses;
  std::atomic<bool> busy{false};
};

std::atomic<int> CountedNetwork::alive{0};
bool CountedNetwork::refuses = false;

using User = NetworkUser<CountedNetwork>;

TEST(NetworkPool, IdleUsersShareOneAndEveryCallHasItsOwn) {
  std::optional<User> a, b, c;
  a.emplace();
  b.emplace();
  c.emplace();
  EXPECT_EQ(CountedNetwork::alive, 1);
  {
    const auto one = a->Borrow(), two = b->Borrow(), three = a->Borrow();
    EXPECT_EQ(CountedNetwork::alive, 3);
    EXPECT_TRUE(one.operator->() != two.operator->() && two.operator->() != three.operator->());
    c.reset();
  }
  EXPECT_EQ(CountedNetwork::alive, 2) << "no more idle ones than users";
  a.reset();
  EXPECT_EQ(CountedNetwork::alive, 1);
  b.reset();
  EXPECT_EQ(CountedNetwork::alive, 0);
}

TEST(NetworkPool, RefusalIsToldAndForgotten) {
  CountedNetwork::refuses = true;
  EXPECT_THROW(User(), std::runtime_error);
  CountedNetwork::refuses = false;
  const User user;
  {
    const auto lent = user.Borrow();
    CountedNetwork::refuses = true;
    EXPECT_THROW(user.Borrow(), std::runtime_error);
    EXPECT_NO_THROW(User()) << "one exists";
    CountedNetwork::refuses = false;
    EXPECT_NE(user.Borrow().operator->(), lent.operator->());
  }
  EXPECT_EQ(CountedNetwork::alive, 1);
}

TEST(NetworkPool, ThreadsNeverHaveTheSame) {
  std::atomic<int> clashes{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&clashes] {
      for (int round = 0; round < 200; ++round) {
        const User user;
        const auto lent = user.Borrow();
        clashes += lent->busy.exchange(true) ? 1 : 0;
        std::this_thread::yield();
        lent->busy = false;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(clashes, 0);
  EXPECT_EQ(CountedNetwork::alive, 0);
}

}  // namespace
}  // namespace qx::face
