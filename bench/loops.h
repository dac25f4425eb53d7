// Every row loop on a row of its own, for whatever times or counts them.
#ifndef QX_BENCH_LOOPS_H
#define QX_BENCH_LOOPS_H

#include <functional>
#include <string>
#include <vector>

#include "kernels/beauty_kernels.h"
#include "kernels/kernels.h"

namespace qx::bench {

struct Loop {
  std::string name;
  size_t pixels;  // of one call
  std::function<void(const Kernels& loops, const BeautyKernels& retouching)> call;
};

std::vector<Loop> AllLoops();

}  // namespace qx::bench

#endif  // QX_BENCH_LOOPS_H
