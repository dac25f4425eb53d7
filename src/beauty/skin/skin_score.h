// How well pixels at half size fit the colour of a face's skin: scored, cleaned, and turned into the skin mask.
#ifndef QX_BEAUTY_SKIN_SKIN_SCORE_H
#define QX_BEAUTY_SKIN_SKIN_SCORE_H

#include <cstdint>

#include "base/image_view.h"
#include "base/point.h"
#include "base/status.h"
#include "beauty/skin/robust_colour_stats.h"
#include "beauty/skin/skin_box.h"

namespace qx {

// Scores how well each pixel of the box where the region is not 0 fits the colour model: 255 times a Gaussian
// likelihood of the three channels, truncated. lab: three channels; region and score: one byte a pixel; the score is
// zero beforehand. With a spread of 0 or less every score is 0.
void ScoreSkinColour(const ImageView& lab, const ColourModel& model, const SkinBox& box, const uint8_t* region,
                     uint8_t* score);

// Cleans the scores inside the box: `rounds` times the least of each 3 x 3 square and then the mean of each, leaving
// the outer ring of two pixels as it is, and in the end a curve that lifts the middle. kOk, or kMemoryShort; the scores
// are untouched then.
Status RefineSkinScore(const MutableImage& score, const SkinBox& box, int32_t rounds);

// Raises the mask to score * region / 255 in the box where the region is not 0, never below 1 there; weaker for a face
// whose side from corner 0 to corner 1 is shorter than 35 pixels. Region and score are of the mask's size, one byte a
// pixel, and the box lies in them.
void ComposeSkinMask(const MutableImage& mask, Point corner0, Point corner1, const SkinBox& box, const uint8_t* region,
                     const uint8_t* score);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_SKIN_SCORE_H
