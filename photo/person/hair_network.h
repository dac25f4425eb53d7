// A small network that weighs what colours and places say about hair.
#ifndef QX_PHOTO_PERSON_HAIR_NETWORK_H
#define QX_PHOTO_PERSON_HAIR_NETWORK_H

#include <cstddef>

namespace qx::photo {

// The person's share of each pixel, 0 to 1, from HairEvidence::kValues values a pixel: values[k * stride + j] is the
// k-th of pixel j. Three fully connected layers of plain sums in a fixed order, so that every machine gives the same.
// `count` is at most the stride. scripts/train_hair.sh makes the weights.
void WeighEvidence(const float* values, size_t stride, size_t count, float* alpha);

}  // namespace qx::photo

#endif  // QX_PHOTO_PERSON_HAIR_NETWORK_H
