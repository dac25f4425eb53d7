// Memory that ends, or begins, at a page that must not be touched.
#ifndef QX_TESTS_SRC_KERNELS_GUARDED_BYTES_H
#define QX_TESTS_SRC_KERNELS_GUARDED_BYTES_H

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace qx::test {

enum class Guard { kBefore, kAfter };

// `size` bytes with the forbidden page on one side and poison on the other.
class GuardedBytes {
 public:
  static constexpr uint8_t kPoison = 0xA5;

  GuardedBytes(size_t size, Guard guard) : size_(size) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    usable_ = size / page * page + page;
    mapped_ = usable_ + page;
    void* const memory = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    map_ = static_cast<uint8_t*>(memory);
    const bool before = guard == Guard::kBefore;
    if (mprotect(before ? map_ : map_ + usable_, page, PROT_NONE) != 0) std::abort();
    begin_ = before ? map_ + page : map_;
    data_ = before ? begin_ : begin_ + usable_ - size;
    std::fill_n(begin_, usable_, kPoison);
  }
  ~GuardedBytes() { munmap(map_, mapped_); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  uint8_t* data() { return data_; }
  uint8_t* begin() { return data_; }
  uint8_t* end() { return data_ + size_; }
  // Nothing was written beside the bytes.
  bool Intact() const {
    const auto poisoned = [](uint8_t byte) { return byte == kPoison; };
    return std::all_of(static_cast<const uint8_t*>(begin_), static_cast<const uint8_t*>(data_), poisoned) &&
           std::all_of(static_cast<const uint8_t*>(data_ + size_), static_cast<const uint8_t*>(begin_ + usable_),
                       poisoned);
  }

 private:
  size_t size_, usable_ = 0, mapped_ = 0;
  uint8_t* map_ = nullptr;
  uint8_t* begin_ = nullptr;
  uint8_t* data_ = nullptr;
};

}  // namespace qx::test

#endif  // QX_TESTS_SRC_KERNELS_GUARDED_BYTES_H
