// Which pixels of a photograph show the person, and to what part.
//
// In two steps, since what a document needs is a small part of what a camera takes: the person is found in a small copy
// of the whole photograph, and the outline is made sharp only in the part that is shown, at the size at which it is.
#ifndef QX_PHOTO_PERSON_MASK_H
#define QX_PHOTO_PERSON_MASK_H

#include <cstdint>
#include <optional>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/person/hair_map.h"
#include "photo/person/network.h"

namespace qx::photo {

// The persons as found in an overview of a photograph, at a size at which a face is at most 192 pixels wide and the
// whole has at most 2 megapixels. All that the masks of its parts are made from: the overview is no longer needed.
struct PersonMap {
  Mask coverage;                  // within a few pixels of the outline only roughly right
  Image colours;                  // the overview at the same size
  double faceWidth = 0;           // of the largest person, in pixels of the map
  double scaleX = 0, scaleY = 0;  // pixels of the map for one of the overview, at most 1
  std::optional<HairMap> hair;    // once it was followed, see FollowHair
};

// Of the map of an overview of that size in which these persons' faces are: at least one, all inside of it.
struct MapSize {
  int32_t width = 0, height = 0;
  double faceWidth = 0;  // of the widest, in pixels of the map
};
MapSize SizeOfMap(int32_t width, int32_t height, const std::vector<FaceBox>& persons);

// Finds persons, one photograph at a time. An instance belongs to one thread at a time.
class PersonSegmenter {
 public:
  // One or several persons, their faces given, in an upright photograph; boxes in pixels of the overview. Other
  // persons, whose faces are `others`, and whatever hangs together with none of the persons' heads become background.
  // The overview shows the whole photograph; a face of more than 192 pixels gains nothing. The same input always gives
  // the same map. Throws Failure when there is no face or no person.
  PersonMap FindPersons(const Image& overview, const std::vector<FaceBox>& persons,
                        const std::vector<FaceBox>& others = {});

  // The mask of a whole photograph that is its own overview: both steps in one, with the hair followed.
  Mask Segment(const Image& photograph, const std::vector<FaceBox>& persons, const std::vector<FaceBox>& others = {});

 private:
  PersonNetwork network_;
};

// The mask at the map's own size, its outline led along the edges of the map's colours: enough to measure by.
Mask CoarseMask(const PersonMap& map);

// The mask of a picture that shows `window`, in pixels of the overview, at any size; its outline follows the edges of
// the picture. What lies outside of the overview goes on as at its border. A window is not empty. The time grows with
// the pixels only where the outline passes. Pictures of one size for a pixel of the overview give what they share the
// same mask: one of the whole photograph, read again for a part, is the part's own.
Mask RefineMask(const PersonMap& map, const Image& picture, const Rectangle& window);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_MASK_H
