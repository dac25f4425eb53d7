// The rectangle of a photograph that shows two persons.
#ifndef QX_PHOTO_PLACE_PAIR_PLACEMENT_H
#define QX_PHOTO_PLACE_PAIR_PLACEMENT_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "photo/face/face_finder.h"
#include "photo/place/person_geometry.h"
#include "photo/place/placement.h"

namespace qx::photo {

// What the search needs to know of two faces and of the persons' common mask, in pixels of the photograph.
struct PairGeometry {
  double left = 0, right = 0;          // of both faces' outlines
  double faceWidth = 0;                // mean of the two
  double chin = 0;                     // row of the lower one
  double headTop = 0;                  // row of the higher one's hair
  double foot = 0;                     // lower end of what the photograph shows of the persons
  double leftEdge = 0, rightEdge = 0;  // of the persons in the photograph
};

// `mask`: of both persons, of the whole photograph at any size.
PairGeometry MeasurePair(const std::array<FacePlaces, 2>& faces, const std::array<PersonGeometry, 2>& persons,
                         const Mask& mask);

struct PairPlacement {
  std::optional<Rectangle> rectangle;
  std::string problem;  // what is not as it should be, for people; empty when all is
};

// The rectangle of these proportions (width to height), centred between the outer sides of the faces, with between 0.5
// and 1.2 face widths below the lower chin and between 0.3 and 0.8 above the higher hair: the narrowest that is at
// least 1.4 times as wide as both faces together and no wider than the persons, its lower edge as low as possible,
// clear of the obstacles. These are the rules of the library's own search for two persons, which is bound to 3:2. With
// `relax` the room above and below may also be more or less, if only the heads are whole.
PairPlacement PlacePair(const PairGeometry& pair, const std::array<PersonGeometry, 2>& persons, double proportions,
                        const Obstacles& obstacles, bool relax);

}  // namespace qx::photo

#endif  // QX_PHOTO_PLACE_PAIR_PLACEMENT_H
