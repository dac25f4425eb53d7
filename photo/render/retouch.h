// Retouching of the faces in a photograph.
#ifndef QX_PHOTO_RENDER_RETOUCH_H
#define QX_PHOTO_RENDER_RETOUCH_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "photo/base/image.h"
#include "photo/face/crop_engine.h"

namespace qx::photo {

// What to do and how strongly; 0 leaves it alone.
struct Retouch {
  double eyes = 0;      // -10 (smaller) to 10 (larger)
  double mouth = 0;     // -10 (smaller) to 10 (larger)
  int32_t tone = 0;     // 0 to 10 (lighter and more even colours)
  double skin = 0;      // 0 to 5 (spots filled, skin smoothed)
  bool detail = false;  // clearer eyes
  double face = 0;      // 0 to 5 (narrower)

  bool IsNone() const { return eyes == 0 && mouth == 0 && tone == 0 && skin == 0 && !detail && face == 0; }
};

inline constexpr double kMostSize = 10, kMostSkin = 5, kMostFace = 5;
inline constexpr int32_t kMostTone = 10;

// "light", "natural" or "strong". Throws Failure for any other name.
Retouch NamedRetouch(std::string_view name);

// Retouches faces, given by their index, of the photograph that the crops were made from, in place. With a mask, which
// must then be one of an upright photograph cropped at source scale, the mask follows the person's new outline. Throws
// Failure when memory is short.
void RetouchFaces(CropEngine& engine, CropResult& crops, const std::vector<int32_t>& faces, const Retouch& retouch,
                  Image* photograph, Mask* mask = nullptr);

// Both pictures, of the same size, beside each other with a narrow white gap.
Image SideBySide(const Image& before, const Image& after);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_RETOUCH_H
