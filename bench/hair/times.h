// What following hair costs.
#ifndef QX_BENCH_HAIR_TIMES_H
#define QX_BENCH_HAIR_TIMES_H

#include <cstdint>

namespace qx::bench::hair {

// Prints the processor time, in milliseconds of one thread, that hair and the person's colours add to a passport
// photograph at 300 and 600 dpi over those before: the mean and the most of the scenes, each the least of several runs,
// beside the time of the old way's mask and colours.
void PrintTimes(uint32_t firstSeed, uint32_t lastSeed);

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_TIMES_H
