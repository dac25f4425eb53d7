#ifndef QX_BEAUTY_REFINE_SKIN_SCORE_H
#define QX_BEAUTY_REFINE_SKIN_SCORE_H

#include <cstdint>

#include "beauty/skin_box.h"

namespace qx {

// Cleans the scores (width * height bytes) inside the box: `rounds` times the least of each 3 x 3 square and then the
// mean of each, leaving the outer ring of two pixels as it is, and in the end a curve that lifts the middle.
// Returns 0, or -3 when memory is short; the scores are untouched then.
int RefineSkinScore(int32_t width, int32_t height, const SkinBox& box, int32_t rounds, uint8_t* score);

}  // namespace qx

#endif  // QX_BEAUTY_REFINE_SKIN_SCORE_H
