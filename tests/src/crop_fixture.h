// Crops of photographs in which a scripted engine finds faces.
#ifndef QX_TESTS_SRC_CROP_FIXTURE_H
#define QX_TESTS_SRC_CROP_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "src/scripted_engine.h"

namespace qx::test {

struct Crop {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<uint8_t> image;
  std::vector<uint8_t> mask;
};
// Reads a crop through the exports; fails the test when they refuse.
Crop ReadCrop(IDPResult* result, int32_t index);

// A handle on a fresh script and a result to crop into.
class CropTest : public ::testing::Test {
 protected:
  int32_t Run(Photo photo, std::vector<ScriptedFace> faces, int32_t mode = IDP_CROP_SINGLE) {
    Script().detections = {std::move(faces)};
    const IdpImage image = photo.Image();
    return QX_IDP_RoughCrop(handle.get(), &image, mode, result.get());
  }

  HandlePtr handle = FreshHandle();
  ResultPtr result{QX_IDP_CreateIDPResult()};
};

struct Place {
  double x, y;
};
// Every step-th pixel of a crop is the photograph's bilinear sample at place(column, row), and white outside.
void ExpectCropped(const Photo& photo, const Crop& crop, int32_t step,
                   const std::function<Place(int32_t, int32_t)>& place);

}  // namespace qx::test

#endif  // QX_TESTS_SRC_CROP_FIXTURE_H
