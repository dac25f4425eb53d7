#include "base/number.h"

#include <cmath>

namespace qx {

int32_t RoundHalfAwayToInt32(double value) {
  return TruncToInt32(value > 0 ? std::floor(value + 0.5) : std::ceil(value - 0.5));
}

}  // namespace qx
