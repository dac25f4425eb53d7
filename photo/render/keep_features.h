// Takes back what a retouching of skin does to all else.
#ifndef QX_PHOTO_RENDER_KEEP_FEATURES_H
#define QX_PHOTO_RENDER_KEEP_FEATURES_H

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/face/face_finder.h"

namespace qx::photo {

// A part of a picture as it was.
struct SavedPart {
  // x and y are of the whole picture.
  const uint8_t* At(int32_t x, int32_t y) const { return image.At(x - box.left, y - box.top); }

  PixelBox box;
  Image image;  // of the box's size
};

// The part that the retouching of a face's skin may reach.
SavedPart SavePart(const Image& photograph, const ProbedFace& face);

// Lays the retouched skin, which the photograph holds now, over the photograph as it was: features of the face come
// back whole, skin gets back a share of its pores, and spots stay away. strength: 0 to 5, of the retouching.
void KeepFeatures(const SavedPart& before, const ProbedFace& face, double strength, Image* photograph);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_KEEP_FEATURES_H
