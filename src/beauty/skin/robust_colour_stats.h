#ifndef QX_BEAUTY_SKIN_ROBUST_COLOUR_STATS_H
#define QX_BEAUTY_SKIN_ROBUST_COLOUR_STATS_H

#include <cstdint>

#include "base/image_view.h"

namespace qx {

// Mean and spread (standard deviation) of the three channels.
struct ColourModel {
  double mean[3];
  double spread[3];
};

// Statistics over a patch of three channels, leaving out those equal to the key; then again over those of them
// within k spreads of the mean in every channel, the spread capped at 5, 2 and 2. With k not above 0, only the first
// round. Spreads are 0 where fewer than two triples are left; without any in the first round, the mean is the key.
void RobustColourStats(const ImageView& patch, const uint8_t* key, double k, ColourModel* model);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_ROBUST_COLOUR_STATS_H
