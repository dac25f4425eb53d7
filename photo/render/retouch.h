// Retouching of the faces in a photograph.
#ifndef QX_PHOTO_RENDER_RETOUCH_H
#define QX_PHOTO_RENDER_RETOUCH_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "photo/base/image.h"
#include "photo/face/face_finder.h"

namespace qx::photo {

// What to do and how strongly; 0 leaves it alone.
struct Retouch {
  double eyes = 0;      // -10 (smaller) to 10 (larger)
  double mouth = 0;     // -10 (smaller) to 10 (larger)
  int32_t tone = 0;     // 0 to 10 (lighter and more even colours)
  double skin = 0;      // 0 to 5 (spots filled, skin smoothed)
  bool detail = false;  // clearer eyes
  double face = 0;      // 0 to 5 (narrower)
  // Lips, brows, eyes, nostrils, beard, hair and spectacles keep their look, and skin keeps a share of its pores;
  // without it every pixel is that of QX_IDP_DoFaceBeauty with these strengths.
  bool keepFeatures = true;

  bool IsNone() const { return eyes == 0 && mouth == 0 && tone == 0 && skin == 0 && !detail && face == 0; }
};

inline constexpr double kMostSize = 10, kMostSkin = 5, kMostFace = 5;
inline constexpr int32_t kMostTone = 10;

// "light", "natural" or "strong". Throws Failure for any other name.
Retouch NamedRetouch(std::string_view name);

// Retouches a face in place. The face's points are in pixels of the picture, which may be a part of a photograph, at
// any scale. mask, which may be null, is of the picture's size and follows the face's narrower outline. The tone is
// that of the whole picture, all else stays around the face. What memory is too short for is left out, or throws
// std::bad_alloc. Throws Failure (kBadOption), the picture untouched, when a strength is out of its range.
void RetouchFace(const ProbedFace& face, const Retouch& retouch, Image* photograph, Mask* mask = nullptr);

// The same for several faces one after the other, with the tone set once.
void RetouchFaces(const std::vector<ProbedFace>& faces, const Retouch& retouch, Image* photograph,
                  Mask* mask = nullptr);

// Both pictures, of the same size, beside each other with a narrow white gap.
Image SideBySide(const Image& before, const Image& after);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_RETOUCH_H
