#include "bench/cases.h"
#include "bench/loops.h"

namespace qx::bench {

void AddLoopCases(Table* table) {
  for (const Loop& loop : AllLoops()) {
    table->Add({"loop, " + loop.name, static_cast<double>(loop.pixels),
                [=] { loop.call(ActiveKernels(), ActiveBeautyKernels()); }, "plain loop",
                [=] { loop.call(GenericKernels(), GenericBeautyKernels()); }, 0});
  }
}

}  // namespace qx::bench
