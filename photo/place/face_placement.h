// The rectangle of a photograph that becomes the document of one person.
#ifndef QX_PHOTO_PLACE_FACE_PLACEMENT_H
#define QX_PHOTO_PLACE_FACE_PLACEMENT_H

#include <optional>

#include "photo/place/placement.h"

namespace qx::photo {

// What is to be placed where.
struct FaceToPlace {
  const FacePlaces& face;
  const MaskView& view;
  const PersonGeometry& person;  // as MeasurePerson finds it from the two
  const Document& document;
  Goals goals;
  Obstacles obstacles;

  double Proportions() const { return static_cast<double>(document.width) / document.height; }
};

// The rectangle in the turned photograph that meets the goals with some room to spare, as the library's fine crop
// chooses it, or where that finds none, the one nearest to the middle of the goals. Nothing when none meets them.
std::optional<Rectangle> PlaceFace(const FaceToPlace& placing);

}  // namespace qx::photo

#endif  // QX_PHOTO_PLACE_FACE_PLACEMENT_H
