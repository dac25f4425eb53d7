// The allocator of C++ for a program whose memory is to run short. Included by one source of the program, which says
// when.
#ifndef QX_TESTS_SUPPORT_FAILING_NEW_H
#define QX_TESTS_SUPPORT_FAILING_NEW_H

#include <cstdlib>
#include <new>

// Whether a request of so many bytes may succeed: the including source's own.
static bool MayAllocate(size_t size);

// Not inlined, so that no compiler sees malloc and free where new and delete stand.
[[gnu::noinline]] void* operator new(size_t size) {
  void* p = MayAllocate(size) ? std::malloc(size == 0 ? 1 : size) : nullptr;
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return MayAllocate(size) ? std::malloc(size == 0 ? 1 : size) : nullptr;
}
void* operator new[](size_t size) {
  return operator new(size);
}
[[gnu::noinline]] void operator delete(void* p) noexcept {
  std::free(p);
}
[[gnu::noinline]] void operator delete(void* p, size_t) noexcept {
  std::free(p);
}
[[gnu::noinline]] void operator delete[](void* p) noexcept {
  std::free(p);
}
[[gnu::noinline]] void operator delete[](void* p, size_t) noexcept {
  std::free(p);
}

#endif  // QX_TESTS_SUPPORT_FAILING_NEW_H
