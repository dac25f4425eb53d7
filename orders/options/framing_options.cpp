#include "orders/options/framing_options.h"

#include "orders/options/retouch_options.h"

namespace qx::orders {

using photo::kMostOffset;
using photo::kMostTurn;

void AddFramingOptions(CLI::App& command, FramingOptions* options) {
  AddStrength(command, "--zoom", &options->zoom, photo::kLeastZoom, photo::kMostZoom,
              "Size of the person, in percent of the one that is chosen, 70 to 150");
  AddStrength(command, "--offset-x", &options->offsetX, -kMostOffset, kMostOffset,
              "Move the person to the right, in percent of the width, -30 to 30");
  AddStrength(command, "--offset-y", &options->offsetY, -kMostOffset, kMostOffset,
              "Move the person down, in percent of the height, -30 to 30");
  AddStrength(command, "--turn", &options->turn, -kMostTurn, kMostTurn,
              "Turn the picture clockwise beyond the straightening, in degrees, -15 to 15");
}

photo::Framing FramingOf(const FramingOptions& options) {
  photo::Framing framing;
  framing.zoom = options.zoom.value_or(framing.zoom);
  framing.offsetX = options.offsetX.value_or(0);
  framing.offsetY = options.offsetY.value_or(0);
  framing.turnedBy = options.turn.value_or(0);
  return framing;
}

}  // namespace qx::orders
