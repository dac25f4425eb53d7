// A face whose points lie where the aligned picture wants them, so that a photograph of 616 x 616 pixels is its own
// aligned picture, pixel for pixel.
#ifndef QX_TESTS_SUPPORT_FLAT_FACE_H
#define QX_TESTS_SUPPORT_FLAT_FACE_H

#include <algorithm>
#include <memory>
#include <vector>

#include "photo/face/face_finder.h"

namespace qx::test {

inline constexpr int kFlatSide = 616;

// Eyes 40 x 20 around (251, 272) and (364, 272) with irises of radius 10.2, a chin 200 below their middle, lips 10
// apart and the lower one 25 high, cheeks at (240, 380) and (375, 380), a hull from (200, 240) to (415, 499): 216 x 260
// pixels. Places are centres of pixels.
class FlatFace {
 public:
  FlatFace() {
    mesh.hasDepth = true;
    mesh.points.fill({308, 400});
    Eye(0, 251, {33, 246, 161, 160, 159, 158, 157, 173, 133, 155, 154, 153, 145, 144, 163, 7});
    Eye(1, 364, {362, 398, 384, 385, 386, 387, 388, 466, 263, 249, 390, 373, 374, 380, 381, 382});
    Set(4, 308, 336), Set(61, 262, 402), Set(291, 355, 402), Set(152, 307.5, 472);
    Set(13, 307.5, 397), Set(14, 307.5, 407), Set(17, 307.5, 432), Set(0, 307.5, 380);
    Set(81, 290, 400), Set(178, 290, 404), Set(311, 325, 400), Set(402, 325, 404);
    Set(205, 240, 380), Set(425, 375, 380), Set(9, 307.5, 262), Set(199, 307.5, 455);
    Set(6, 307.5, 272), Set(8, 307.5, 262), Set(195, 307.5, 325);
    Set(127, 200, 240), Set(356, 415, 240), Set(136, 200, 500), Set(365, 415, 500);
  }

  void Set(int index, double x, double y) { mesh.points[static_cast<size_t>(index)] = {x + 0.5, y + 0.5}; }

  // The lids' height.
  void Open(double height) {
    for (const auto& [upper, lower] :
         {std::pair(160, 144), {159, 145}, {158, 153}, {385, 380}, {386, 374}, {387, 373}}) {
      Set(upper, mesh[upper].x - 0.5, 272 - height / 2);
      Set(lower, mesh[lower].x - 0.5, 272 + height / 2);
    }
  }

  // As the engine would tell it. Scaled about the origin.
  std::vector<photo::ProbedFace> Faces(double scale = 1, double left = 0, double top = 0) const {
    photo::ProbedFace face{};
    face.presence = 1000;
    face.corners = {photo::Point{200, 230}, {416, 230}, {200, 480}, {416, 480}};
    face.mesh = std::make_shared<const photo::FaceMesh>(mesh);
    return {face.Moved(left, top, scale, scale)};
  }

  photo::FaceMesh mesh;

 private:
  // Along the upper lid and back along the lower one.
  void Eye(size_t number, double x, const int (&ring)[16]) {
    for (int i = 0; i < 16; ++i) {
      const bool corner = i % 8 == 0;
      const double along = i <= 8 ? -20 + 5 * i : 20 - 5 * (i - 8);
      Set(ring[i], x + along, corner ? 272 : i < 8 ? 262 : 282);
    }
    mesh.irises[number] = {
        photo::PlacePoint{x + 0.5, 272.5}, {x + 10.7, 272.5}, {x + 0.5, 262.3}, {x - 9.7, 272.5}, {x + 0.5, 282.7}};
  }
};

inline photo::Image FlatPicture(uint8_t blue, uint8_t green, uint8_t red) {
  photo::Image picture(kFlatSide, kFlatSide);
  for (size_t i = 0; i < picture.bgr.size(); i += 3) {
    picture.bgr[i] = blue, picture.bgr[i + 1] = green, picture.bgr[i + 2] = red;
  }
  return picture;
}

// Colours the pixels for which where(x, y) holds.
template <typename Where>
void Paint(photo::Image* picture, uint8_t blue, uint8_t green, uint8_t red, Where where) {
  for (int y = 0; y < picture->height; ++y) {
    for (int x = 0; x < picture->width; ++x) {
      if (!where(x, y)) continue;
      uint8_t* p = picture->At(x, y);
      p[0] = blue, p[1] = green, p[2] = red;
    }
  }
}

}  // namespace qx::test

#endif  // QX_TESTS_SUPPORT_FLAT_FACE_H
