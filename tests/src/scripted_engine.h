// A face engine that finds what a test tells it and writes down every call.
#ifndef QX_TESTS_SRC_SCRIPTED_ENGINE_H
#define QX_TESTS_SRC_SCRIPTED_ENGINE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/image_view.h"
#include "base/point.h"
#include "qx_face_sdk.h"
#include "qx_idp.h"

namespace qx::test {

struct ScriptedFace {
  int32_t corners[8] = {10, 10, 60, 10, 10, 60, 60, 60};
  int32_t tag = 0;
  Point keyPoints[QX_FACE_KEY_POINTS] = {};
  Point landmarks[QX_FACE_LANDMARKS] = {};
  Point attributes[QX_FACE_ATTRIBUTE_POINTS] = {};
  int32_t regionValues[3] = {200, 210, 220};  // left eye, right eye, mouth
};

struct ScriptedEngine {
  std::vector<std::vector<ScriptedFace>> detections;  // what each detection finds; the last repeats
  int shortFrom = INT32_MAX;                          // this detection and later ones tell that memory is short
  bool refuse[3] = {};                                // detector, landmarker, third analysis cannot be created
  std::vector<std::string> calls;                     // since the last Reset
  int openLists = 0;                                  // face lists not given back
  int openInstances = 0;
  std::vector<uint8_t> grey;  // image of the last detection

  void Reset() { *this = ScriptedEngine(); }
};

// The engine behind the sixteen functions of this program.
ScriptedEngine& Script();

// A level face: eye corners `eyeDistance` apart around (x, y), mouth below so that the centre of the face is (x, y).
// Whole numbers come out for an even distance.
ScriptedFace LevelFace(int32_t x, int32_t y, int32_t eyeDistance);
// A level face with all the points that retouching reads where a face has them; outer eye corners eyeDistance apart.
ScriptedFace DetailedFace(int32_t x, int32_t y, int32_t eyeDistance);
// The same face in a photograph of `height` rows that is turned by 90 degrees clockwise.
ScriptedFace TurnClockwise(const ScriptedFace& face, int32_t height);

struct HandleDeleter {
  void operator()(IdpHandle* handle) const { QX_IDP_DeleteHandle(handle); }
};
struct ResultDeleter {
  void operator()(IDPResult* result) const { QX_IDP_DeleteIDPResult(result); }
};
using HandlePtr = std::unique_ptr<IdpHandle, HandleDeleter>;
using ResultPtr = std::unique_ptr<IDPResult, ResultDeleter>;

// Resets the script and creates a handle on it.
HandlePtr FreshHandle();

// A photograph with noise in it, so that no two pixels are alike by chance of layout.
struct Photo {
  Photo(int32_t imageWidth, int32_t imageHeight, int32_t imageChannels = 3);
  IdpImage Image() { return {pixels.data(), channels, height, width}; }
  ImageView View() const { return {pixels.data(), width, height, channels}; }
  const uint8_t* At(int32_t x, int32_t y) const;
  Photo TurnedClockwise() const;

  int32_t width, height, channels;
  std::vector<uint8_t> pixels;
};

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

#endif  // QX_TESTS_SRC_SCRIPTED_ENGINE_H
