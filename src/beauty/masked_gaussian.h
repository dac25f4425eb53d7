#ifndef QX_BEAUTY_MASKED_GAUSSIAN_H
#define QX_BEAUTY_MASKED_GAUSSIAN_H

#include <cstdint>

#include "beauty/lab_tables.h"
#include "beauty/skin_box.h"

namespace qx {

// Blurs an image of width * height * 3 bytes in place by a separable Gaussian of `sigma` pixels in which every
// neighbour counts by its own mask value, so that no colour comes in from where the mask is 0; pixels there stay.
// mask: width * height. With one face, only the half of its box (which is at twice the image's size) is worked on;
// otherwise the whole image. Returns 0, or -3 when the level table is absent or memory is short; the image is
// untouched then.
int MaskedGaussian(const LabTables& tables, uint8_t* image, int32_t width, int32_t height, double sigma,
                   const SkinBox* boxes, int32_t faceCount, const uint8_t* mask);

}  // namespace qx

#endif  // QX_BEAUTY_MASKED_GAUSSIAN_H
