#include "kernels/kernels.h"

#include "kernels/beauty_kernels.h"

#if defined(QX_KERNELS_AVX2)
#include <cpuid.h>
#endif
#if defined(QX_KERNELS_AVX2) || defined(QX_KERNELS_NEON)
#include <atomic>
#endif

namespace qx {

namespace generic {
extern const Kernels kKernels;
extern const BeautyKernels kBeautyKernels;
}  // namespace generic

const Kernels& GenericKernels() {
  return generic::kKernels;
}
const BeautyKernels& GenericBeautyKernels() {
  return generic::kBeautyKernels;
}

#if defined(QX_KERNELS_AVX2)

namespace avx2 {
extern const Kernels kKernels;
extern const BeautyKernels kBeautyKernels;
}  // namespace avx2

namespace {

// The processor has AVX2 and the system keeps its registers. Asked of the processor itself: the compiler's own query
// would bring a constructor that runs when the library is loaded.
bool HasAvx2() {
  constexpr unsigned kVectorStates = 0x6;  // of the register that says what the system saves: 128 and 256 bits
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 || (ecx & bit_OSXSAVE) == 0 || (ecx & bit_AVX) == 0) return false;
  unsigned low = 0, high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  if ((low & kVectorStates) != kVectorStates) return false;
  return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & bit_AVX2) != 0;
}

// Null until it is asked for. Threads that ask at once find the same answer, and what it points to is constant: no
// order is needed.
std::atomic<const Kernels*> active{nullptr};

}  // namespace

const Kernels& ActiveKernels() {
  const Kernels* kernels = active.load(std::memory_order_relaxed);
  if (kernels == nullptr) {
    kernels = HasAvx2() ? &avx2::kKernels : &generic::kKernels;
    active.store(kernels, std::memory_order_relaxed);
  }
  return *kernels;
}

void UsePlainKernels(bool plain) {
  active.store(plain ? &generic::kKernels : nullptr, std::memory_order_relaxed);
}

const BeautyKernels& ActiveBeautyKernels() {
  return &ActiveKernels() == &avx2::kKernels ? avx2::kBeautyKernels : generic::kBeautyKernels;
}

#elif defined(QX_KERNELS_NEON)

namespace neon {
extern const Kernels kKernels;
extern const BeautyKernels kBeautyKernels;
}  // namespace neon

namespace {

std::atomic<const Kernels*> active{&neon::kKernels};

}  // namespace

const Kernels& ActiveKernels() {
  return *active.load(std::memory_order_relaxed);
}
void UsePlainKernels(bool plain) {
  active.store(plain ? &generic::kKernels : &neon::kKernels, std::memory_order_relaxed);
}
const BeautyKernels& ActiveBeautyKernels() {
  return &ActiveKernels() == &neon::kKernels ? neon::kBeautyKernels : generic::kBeautyKernels;
}

#else

const Kernels& ActiveKernels() {
  return generic::kKernels;
}
const BeautyKernels& ActiveBeautyKernels() {
  return generic::kBeautyKernels;
}
void UsePlainKernels(bool) {}

#endif

}  // namespace qx
