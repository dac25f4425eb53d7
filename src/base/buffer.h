// Owned memory whose size is checked and whose allocation answers failure instead of throwing.
#ifndef QX_BASE_BUFFER_H
#define QX_BASE_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

namespace qx {

// Bytes of a packed image; 0 for an empty one (a width or height of 0 or below).
// channels: 1 to 4. The product of two int32 and 4 fits in 64 bits.
inline uint64_t ImageBytes(int32_t width, int32_t height, int32_t channels) {
  if (width <= 0 || height <= 0) return 0;
  return static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * static_cast<uint64_t>(channels);
}

// memcpy and memset for whole images: what lies in memory fits size_t, also where that has 32 bits.
inline void CopyBytes(void* to, const void* from, uint64_t count) {
  std::memcpy(to, from, static_cast<size_t>(count));
}
inline void FillBytes(void* bytes, uint8_t value, uint64_t count) {
  std::memset(bytes, value, static_cast<size_t>(count));
}

// Moves, never copies. Present from a successful Allocate on, even with 0 elements: an empty crop is a crop.
template <typename T>
class Buffer {
  static_assert(std::is_trivial_v<T>, "elements are left as the allocator gives them");

 public:
  Buffer() = default;
  Buffer(Buffer&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
  Buffer& operator=(Buffer&& other) noexcept {
    if (this != &other) {
      Release();
      data_ = std::exchange(other.data_, nullptr);
    }
    return *this;
  }
  ~Buffer() { Release(); }

  // Replaces the content by `count` elements of unknown value. False when memory is short; nothing is held then.
  bool Allocate(uint64_t count) {
    Release();
    if (count > std::numeric_limits<size_t>::max() / 2 / sizeof(T)) return false;
    data_ = static_cast<T*>(std::malloc(count == 0 ? 1 : static_cast<size_t>(count) * sizeof(T)));
    return data_ != nullptr;
  }
  // The same, filled with zero bytes.
  bool AllocateZeroed(uint64_t count) {
    Release();
    if (count > std::numeric_limits<size_t>::max() / 2 / sizeof(T)) return false;
    data_ = static_cast<T*>(std::calloc(count == 0 ? 1 : static_cast<size_t>(count), sizeof(T)));
    return data_ != nullptr;
  }
  void Release() {
    std::free(data_);
    data_ = nullptr;
  }

  explicit operator bool() const { return data_ != nullptr; }
  T* data() { return data_; }
  const T* data() const { return data_; }
  T& operator[](size_t i) { return data_[i]; }
  const T& operator[](size_t i) const { return data_[i]; }

 private:
  T* data_ = nullptr;
};

using ByteBuffer = Buffer<uint8_t>;

}  // namespace qx

#endif  // QX_BASE_BUFFER_H
