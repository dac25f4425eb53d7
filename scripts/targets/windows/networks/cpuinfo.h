/* What XNNPACK asks of a processor, in the names of the library cpuinfo, whose source for this target Debian does not
 * keep. GCC's own query also asks whether the system saves the wide registers. */
#ifndef CPUINFO_H
#define CPUINFO_H

#include <stdbool.h>

static inline bool cpuinfo_initialize(void) {
  __builtin_cpu_init();
  return true;
}
static inline bool cpuinfo_has_x86_sse2(void) {
  return __builtin_cpu_supports("sse2");
}
static inline bool cpuinfo_has_x86_ssse3(void) {
  return __builtin_cpu_supports("ssse3");
}
static inline bool cpuinfo_has_x86_sse4_1(void) {
  return __builtin_cpu_supports("sse4.1");
}
static inline bool cpuinfo_has_x86_avx(void) {
  return __builtin_cpu_supports("avx");
}
static inline bool cpuinfo_has_x86_f16c(void) {
  return __builtin_cpu_supports("f16c");
}
static inline bool cpuinfo_has_x86_fma3(void) {
  return __builtin_cpu_supports("fma");
}
static inline bool cpuinfo_has_x86_avx2(void) {
  return __builtin_cpu_supports("avx2");
}

/* Some choices among kernels depend on the make; here all processors are alike. */
enum cpuinfo_uarch { cpuinfo_uarch_unknown, cpuinfo_uarch_zen, cpuinfo_uarch_dhyana, cpuinfo_uarch_zen4 };
struct cpuinfo_core {
  enum cpuinfo_uarch uarch;
};
static inline const struct cpuinfo_core* cpuinfo_get_core(unsigned number) {
  static const struct cpuinfo_core any = {cpuinfo_uarch_unknown};
  (void)number;
  return &any;
}

#endif
