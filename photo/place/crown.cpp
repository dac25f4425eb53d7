#include "photo/place/crown.h"

#include <algorithm>

namespace qx::photo {
namespace {

constexpr double kOfEyesToChin = 1.919, kOfEyesAndMouth = 1.716;
constexpr double kDeviation = 0.085 / 1.919;  // of both, as a share of the length
// Of the skull's length. What stands higher is no hair: an arm, another person, or points that missed the face.
constexpr double kMostHair = 1.6;

}  // namespace

double CrownToChin(const FaceLengths& face, double hair) {
  // The larger of the two. A bowed head and a child's small chin shorten the one, a turned head shortens the other;
  // only an open mouth makes one too long. A skull taken for too long leaves the head as it was measured by its hair,
  // one taken for too short makes it too large, even where it has no hair at all.
  const double skull =
      std::max(kOfEyesToChin * face.eyesToChin, kOfEyesAndMouth * (face.betweenEyes + face.eyesToMouth));
  if (!(skull * kMostHair >= hair)) return hair;
  // Up to a deviation more than usual it is the skull that is long, and hair lies flat on it. From there on that
  // becomes less likely the higher the hair stands, until at two deviations the usual skull is all that is known.
  // Between the two the length goes back by as much as the hair goes up: without the leap that a mere limit would have,
  // at which a pixel of hair more or less decides over 4 % of the head, and with no error of the hair's top made
  // larger.
  const double longest = skull * (1 + kDeviation);
  return std::min(hair, std::max(skull, 2 * longest - hair));
}

}  // namespace qx::photo
