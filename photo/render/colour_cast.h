// The colour of the light in a photograph.
#ifndef QX_PHOTO_RENDER_COLOUR_CAST_H
#define QX_PHOTO_RENDER_COLOUR_CAST_H

#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/face/face_finder.h"
#include "photo/render/adjust.h"

namespace qx::photo {

// The cast of the photograph's greys, for Adjust to take away; none where none is sure. mask: of the persons, of the
// photograph's size; faces: theirs, in its pixels.
//
// Two witnesses are heard. The pixels that are nearly grey (J. Huo et al., "Robust automatic white balance algorithm
// using gray color points in images", 2006), persons and surroundings weighing alike, faces left out: their mean
// colour, found anew among the pixels near it until it rests. And the whites of the eyes, where a face shows enough of
// them. A blue wall or shirt speaks for a light that the eyes do not know, reddened eyes for one that nothing else
// shows: where both are heard, the cast of the greys counts as far as the eyes go along with it, and where the eyes are
// not, half of it. What a look cannot tell from none is left alone.
Cast MeasureCast(const Image& photograph, const Mask& mask, const std::vector<ProbedFace>& faces);

// "a yellow", "a blue" and so on, to go before "cast".
std::string NameOf(const Cast& cast);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_COLOUR_CAST_H
