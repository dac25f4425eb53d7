#include "photo/place/framing.h"

#include "photo/base/failure.h"

namespace qx::photo {
namespace {

// Written so that what is no number is outside.
void CheckRange(double value, double least, double most, const char* text) {
  if (!(value >= least && value <= most)) throw Failure(FailureCode::kBadOption, text);
}

}  // namespace

void CheckRanges(const Framing& framing) {
  CheckRange(framing.zoom, kLeastZoom, kMostZoom, "a zoom is between 70 and 150 percent");
  CheckRange(framing.offsetX, -kMostOffset, kMostOffset, "offsets are between -30 and 30 percent");
  CheckRange(framing.offsetY, -kMostOffset, kMostOffset, "offsets are between -30 and 30 percent");
  CheckRange(framing.turnedBy, -kMostTurn, kMostTurn, "turns are between -15 and 15 degrees");
}

Frame Reframed(const Frame& chosen, const Framing& framing) {
  Frame frame = chosen;
  const Rectangle& from = chosen.rectangle;
  PlacePoint middle{from.left + from.width / 2, from.top + from.height / 2};
  if (framing.turnedBy != 0) {
    // One turn about the place that the picture's middle shows, which thereby stays where the photograph has it.
    middle = chosen.turn.Back(middle);
    frame.degrees += framing.turnedBy;
    frame.turn = Turn(frame.degrees, middle);
  }
  Rectangle& to = frame.rectangle;
  to.width = from.width * 100 / framing.zoom;
  to.height = from.height * 100 / framing.zoom;
  to.left = middle.x - to.width / 2 - to.width * framing.offsetX / 100;
  to.top = middle.y - to.height / 2 - to.height * framing.offsetY / 100;
  return frame;
}

}  // namespace qx::photo
