// The networks that all instances of a process share: a call has one to itself and hands it back.
#ifndef QX_ENGINE_NETWORK_POOL_H
#define QX_ENGINE_NETWORK_POOL_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace qx::face {

// Networks of one kind. There are as many as calls have been at work at once, and at most as many idle ones as users.
// `Network::Load()` makes one as a unique_ptr, or throws.
template <typename Network>
class NetworkPool {
 public:
  // The one pool of the process; it goes with the last that holds it.
  static std::shared_ptr<NetworkPool> OfProcess() {
    static std::mutex mutex;
    static std::weak_ptr<NetworkPool> shared;
    const std::lock_guard<std::mutex> lock(mutex);
    std::shared_ptr<NetworkPool> pool = shared.lock();
    if (!pool) shared = pool = std::make_shared<NetworkPool>();
    return pool;
  }

  // The first user makes the first network, so that a failure shows at once.
  void Join() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (made_ > 0) {
        ++users_;
        return;
      }
    }
    std::unique_ptr<Network> first = Take();
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      ++users_;
    }
    GiveBack(std::move(first));
  }

  void Leave() noexcept {
    std::unique_ptr<Network> surplus;  // destroyed when the lock is free again
    const std::lock_guard<std::mutex> lock(mutex_);
    --users_;
    if (idle_.size() <= users_) return;
    surplus = std::move(idle_.back());
    idle_.pop_back();
    --made_;
  }

  std::unique_ptr<Network> Take() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!idle_.empty()) {
        std::unique_ptr<Network> network = std::move(idle_.back());
        idle_.pop_back();
        return network;
      }
      idle_.reserve(made_ + 1);  // so that giving it back cannot fail
      ++made_;
    }
    try {
      return Network::Load();
    } catch (...) {
      const std::lock_guard<std::mutex> lock(mutex_);
      --made_;
      throw;
    }
  }

  void GiveBack(std::unique_ptr<Network> network) noexcept {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (idle_.size() < users_) {
      idle_.push_back(std::move(network));
    } else {
      --made_;
    }
  }

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<Network>> idle_;
  size_t made_ = 0;  // idle or lent
  size_t users_ = 0;
};

// A user of the process's networks of one kind. The constructor throws when there is none and none can be made.
template <typename Network>
class NetworkUser {
 public:
  // A network for one call.
  class Lease {
   public:
    explicit Lease(NetworkPool<Network>* pool) : pool_(pool), network_(pool->Take()) {}
    ~Lease() { pool_->GiveBack(std::move(network_)); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    Network* operator->() const { return network_.get(); }

   private:
    NetworkPool<Network>* pool_;
    std::unique_ptr<Network> network_;
  };

  NetworkUser() { pool_->Join(); }
  ~NetworkUser() { pool_->Leave(); }
  NetworkUser(const NetworkUser&) = delete;
  NetworkUser& operator=(const NetworkUser&) = delete;

  // Throws when all are lent and no other can be made. The lease ends before the user does.
  Lease Borrow() const { return Lease(pool_.get()); }

 private:
  std::shared_ptr<NetworkPool<Network>> pool_ = NetworkPool<Network>::OfProcess();
};

}  // namespace qx::face

#endif  // QX_ENGINE_NETWORK_POOL_H
