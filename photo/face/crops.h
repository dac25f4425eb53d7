// What the library cuts out around faces that were found in a picture.
#ifndef QX_PHOTO_FACE_CROPS_H
#define QX_PHOTO_FACE_CROPS_H

#include <cstdint>

#include "photo/base/image.h"
#include "photo/base/pixel_view.h"
#include "photo/face/face_finder.h"
#include "qx_idp.h"

namespace qx::photo {

inline constexpr int32_t kLowestBound = 600;

struct CropSettings {
  double ratio = 2.0 / 3;    // 0 (close) to 1 (wide)
  int32_t bound = 800;       // largest width of a crop in pixels, kLowestBound or above
  bool sourceScale = false;  // keep the picture's scale; the bound is then not applied
};

// Throws Failure when a setting is out of its range.
void CheckSettings(const CropSettings& settings);

// The rough crop of a face of the picture, upright to the quarter turn; white outside the picture. Throws Failure when
// it is empty or does not fit into memory.
Image CropFace(const PixelView& picture, const ProbedFace& face, const CropSettings& settings);

// The four scores of the library's quality check, from the face's crop at the picture's own scale. Throws Failure when
// there is no such crop.
QualityScores ScoreFace(const Image& picture, const ProbedFace& face);

}  // namespace qx::photo

#endif  // QX_PHOTO_FACE_CROPS_H
