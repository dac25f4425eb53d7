// Chance that is the same on every machine: the standard library's distributions differ between its makers. Compilers
// also differ in which argument or operand they take first: no two draws stand in one call or one sum.
#ifndef QX_BENCH_HAIR_RANDOM_H
#define QX_BENCH_HAIR_RANDOM_H

#include <cstdint>

namespace qx::bench::hair {

// SplitMix64: G. Steele, D. Lea, C. Flood, "Fast Splittable Pseudorandom Number Generators", 2014.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 0xD1342543DE82EF95ULL + 0x632BE59BD9B4E019ULL) {}

  uint32_t Bits() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return static_cast<uint32_t>((z ^ (z >> 31)) >> 32);
  }
  // From low to below high.
  float Between(float low, float high) {
    return low + (high - low) * (static_cast<float>(Bits() >> 8) * (1.0f / 16777216));
  }
  // 0 to below count.
  int Below(int count) {
    return static_cast<int>((static_cast<uint64_t>(Bits()) * static_cast<uint64_t>(count)) >> 32);
  }
  bool Chance(float share) { return Between(0, 1) < share; }
  // About normal, of variance 1: the sum of four uniform numbers.
  float Normal() {
    float sum = 0;
    for (int i = 0; i < 4; ++i) sum += Between(-1, 1);
    return sum * 0.8660254f;
  }

 private:
  uint64_t state_;
};

}  // namespace qx::bench::hair

#endif  // QX_BENCH_HAIR_RANDOM_H
