// Strands of hair around the outline of a mask.
#ifndef QX_PHOTO_PERSON_HAIR_H
#define QX_PHOTO_PERSON_HAIR_H

#include <optional>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/person/hair_map.h"
#include "photo/person/mask.h"

namespace qx::photo {

// Finds the strands of hair around the persons' heads, and the gaps between them: before a plain, shadowed or blurred
// background its colours are known up to the hair and behind it, so that a pixel's share of hair follows mostly from
// its colours; where they are not known the mask stays as it is, as it does at bodies. `picture` shows `window` of the
// overview in which the persons were found; `persons` are their faces and `others` those of persons who are background,
// in pixels of the overview, and may reach outside. Nothing where the heads do not show, or are too small. The time
// grows with the pixels around the heads' outlines, at a size at which a face is at most 220 pixels wide. The same
// input gives the same map on every machine.
std::optional<HairMap> FollowHair(const PersonMap& map, const Image& picture, const Rectangle& window,
                                  const std::vector<FaceBox>& persons, const std::vector<FaceBox>& others = {});

// A face of this many pixels shows all the hair that is followed; wider ones are reduced.
constexpr double kHairFaceWidth = 220;
// What a picture must show for FollowHair, in the faces' pixels; may reach outside of the picture.
Rectangle HeadSurroundings(const std::vector<FaceBox>& persons);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HAIR_H
