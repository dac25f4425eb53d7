// A face engine that finds what a test tells it and writes down every call.
#ifndef QX_TESTS_SRC_SCRIPTED_ENGINE_H
#define QX_TESTS_SRC_SCRIPTED_ENGINE_H

#include <cstdint>
#include <memory>
#include <string>
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

}  // namespace qx::test

#endif  // QX_TESTS_SRC_SCRIPTED_ENGINE_H
