#ifndef QX_BEAUTY_PIPELINE_H
#define QX_BEAUTY_PIPELINE_H

#include <cstdint>

#include "base/image_view.h"
#include "face/landmark_set.h"
#include "qx_idp.h"

namespace qx {

// Runs the retouching stages in their fixed order. Stage by stage: what switches it, where it works, and what a failure
// does.
//   detail    p[5] > 0   both eyes, factor 0.7     not looked at
//   skin      p[4] > 0   face, neck, strength p[4] spots or smoothing left out
//   tone      p[3] > 0   whole image               image as before the stage
//   lens      always     left eye p[0], right eye  image as before the stage
//                        p[1], mouth p[2]
//   contour   always     p[6]; also the mask       image and mask as before the stage
// Source and output have three channels and the same size; they may be the same image. mask: one byte a pixel, may be
// null; the last stage changes it. When memory for a stage is short, the stage is left out.
void RunBeautyPipeline(const ImageView& source, const LandmarkSet& landmarks, const BeautyParams& params, uint8_t* mask,
                       uint8_t* output);

}  // namespace qx

#endif  // QX_BEAUTY_PIPELINE_H
