#ifndef QX_BEAUTY_SKIN_MASKED_GAUSSIAN_H
#define QX_BEAUTY_SKIN_MASKED_GAUSSIAN_H

#include <cstdint>

#include "base/image_view.h"
#include "base/status.h"
#include "beauty/skin/lab_tables.h"
#include "beauty/skin/skin_box.h"

namespace qx {

// Blurs an image of three channels in place by a separable Gaussian of `sigma` pixels in which every
// neighbour counts by its own mask value, so that no colour comes in from where the mask is 0; pixels there stay.
// mask: one byte a pixel. With one face, only the half of its box (which is at twice the image's size) is worked on;
// otherwise the whole image. kOk, or kMemoryShort (also when the level table is absent); the image is untouched then.
Status MaskedGaussian(const LabTables& tables, const MutableImage& image, double sigma, const SkinBox* boxes,
                      int32_t faceCount, const uint8_t* mask);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_MASKED_GAUSSIAN_H
