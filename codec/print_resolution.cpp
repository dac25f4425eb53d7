#include "codec/print_resolution.h"

#include <cmath>
#include <utility>

namespace qx::codec {
namespace {

// From pixels a millimetre.
double PerInch(double perMillimetre) {
  const double dpi = perMillimetre * photo::kMillimetresPerInch;
  const double whole = std::round(dpi);
  // Half a pixel a metre, and a little for single precision.
  return std::abs(dpi - whole) < 0.5 * photo::kMillimetresPerInch / 1000 + 1e-4 ? whole : dpi;
}

}  // namespace

std::optional<photo::PrintResolution> ResolutionOf(double across, double down, int orientation) {
  constexpr double kUnknown = 72;
  if (across == 1 && down == 1) return std::nullopt;
  photo::PrintResolution resolution{PerInch(across), PerInch(down)};
  const bool possible =
      std::isfinite(resolution.x) && std::isfinite(resolution.y) && resolution.x > 0 && resolution.y > 0;
  if (!possible || (resolution.x == kUnknown && resolution.y == kUnknown)) return std::nullopt;
  // Orientations 5 to 8 lie on their side in the file.
  if (orientation >= 5) std::swap(resolution.x, resolution.y);
  return resolution;
}

}  // namespace qx::codec
