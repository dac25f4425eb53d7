#ifndef QX_BEAUTY_SCORE_SKIN_COLOUR_H
#define QX_BEAUTY_SCORE_SKIN_COLOUR_H

#include <cstdint>

#include "beauty/robust_colour_stats.h"
#include "beauty/skin_box.h"

namespace qx {

// Scores how well each pixel of the box where the region is not 0 fits the colour model: 255 times a Gaussian
// likelihood of the three channels, truncated. lab: width * height * 3; region and score: width * height bytes; the
// score is zero beforehand. With a spread of 0 or less every score is 0. Returns 0.
int ScoreSkinColour(const uint8_t* lab, int32_t width, int32_t height, const ColourModel& model, const SkinBox& box,
                    const uint8_t* region, uint8_t* score);

}  // namespace qx

#endif  // QX_BEAUTY_SCORE_SKIN_COLOUR_H
