// The sample photograph's person as documents want to see one, and with defects drawn in.
#ifndef QX_TESTS_SUPPORT_POSED_SAMPLE_H
#define QX_TESTS_SUPPORT_POSED_SAMPLE_H

#include <algorithm>
#include <cmath>
#include <vector>

#include "codec/codec.h"
#include "photo/check/aligned_face.h"
#include "photo/face/face_finder.h"
#include "support/test_files.h"

namespace qx::test {

inline photo::PlacePoint MiddleOf(const std::vector<photo::PlacePoint>& points) {
  photo::PlacePoint sum;
  for (const photo::PlacePoint& p : points) sum = {sum.x + p.x, sum.y + p.y};
  return {sum.x / static_cast<double>(points.size()), sum.y / static_cast<double>(points.size())};
}

// Fills a polygon, which is made larger around its middle first, with the colour of the cheek at that point.
inline void PaintSkin(std::vector<photo::PlacePoint> polygon, double wider, double higher, photo::PlacePoint cheek,
                      photo::Image* picture) {
  const photo::PlacePoint middle = MiddleOf(polygon);
  for (auto& p : polygon) p = {middle.x + wider * (p.x - middle.x), middle.y + higher * (p.y - middle.y)};
  const photo::Region region = photo::FillPolygon(polygon, picture->width, picture->height);
  const photo::Image before = *picture;
  const uint8_t* skin = before.At(static_cast<int32_t>(cheek.x), static_cast<int32_t>(cheek.y));
  for (int32_t y = 0; y < picture->height; ++y) {
    for (int32_t x = 0; x < picture->width; ++x) {
      if (region.At(x, y) != 0) std::copy_n(skin, 3, picture->At(x, y));
    }
  }
}

// Two and a half times as large as the sample, its laughing mouth painted over with a closed one.
inline photo::Image NeutralSample() {
  constexpr int kLips[] = {61, 185, 40, 39, 37, 0, 267, 269, 270, 409, 291, 375, 321, 405, 314, 17, 84, 181, 91, 146};
  photo::Image picture = Reread(ToVips(codec::ReadImage(QX_SAMPLE_PHOTO)).resize(2.5));
  const photo::FaceMesh mesh = *photo::FaceFinder().Find(picture).at(0).mesh;
  const std::vector<photo::PlacePoint> lips = photo::Pick(mesh, kLips);
  PaintSkin(lips, 1.25, 1.25, mesh[205], &picture);
  const photo::PlacePoint middle = MiddleOf(lips);
  const auto eyes = photo::EyeCentres(mesh);
  const double unit = photo::Distance(eyes[0], eyes[1]);
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) {
      const double u = (x - middle.x) / (0.42 * unit), v = (y - middle.y) / (0.16 * unit);
      if (u * u + v * v >= 1) continue;
      const uint8_t lip[] = {110, 105, 190}, between[] = {40, 35, 80};
      std::copy_n(std::abs(v) < 0.06 ? between : lip, 3, picture.At(x, y));
    }
  }
  return picture;
}

// Lids over both eyes, with a line of lashes.
inline void CloseEyes(photo::Image* picture) {
  constexpr int kEyes[2][16] = {{33, 246, 161, 160, 159, 158, 157, 173, 133, 155, 154, 153, 145, 144, 163, 7},
                                {362, 398, 384, 385, 386, 387, 388, 466, 263, 249, 390, 373, 374, 380, 381, 382}};
  const photo::FaceMesh mesh = *photo::FaceFinder().Find(*picture).at(0).mesh;
  for (const int eye : {0, 1}) {
    PaintSkin(photo::Pick(mesh, kEyes[eye]), 1.15, 1.6, mesh[eye == 0 ? 205 : 425], picture);
    const photo::PlacePoint from = mesh[kEyes[eye][0]], to = mesh[kEyes[eye][8]];
    const double width = to.x - from.x;
    for (double t = 0; t <= 1; t += 0.25 / width) {
      const double y = from.y + t * (to.y - from.y) + 0.48 * width * t * (1 - t);
      for (int row = 0; row < width / 20 + 1; ++row) {
        const uint8_t lash[] = {30, 30, 40};
        std::copy_n(lash, 3, picture->At(static_cast<int32_t>(from.x + t * width), static_cast<int32_t>(y) + row));
      }
    }
  }
}

}  // namespace qx::test

#endif  // QX_TESTS_SUPPORT_POSED_SAMPLE_H
