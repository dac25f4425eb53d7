#include "crop/quarter_turn.h"

#include <cmath>

namespace qx {

QuarterTurn NearestQuarterTurn(double angle) {
  // Near pi/4 and 3 pi/4, and to be kept as they are: they decide which way an exact diagonal falls.
  constexpr double kEighth = 0.78539815;
  constexpr double kThreeEighths = 2.3561944500000003;
  if (std::fabs(angle) <= kEighth) return {1, 0};
  if (angle > kEighth && angle < kThreeEighths) return {0, 1};
  if (angle < -kEighth && angle > -kThreeEighths) return {0, -1};
  return {-1, 0};
}

}  // namespace qx
