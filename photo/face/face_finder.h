// Everything the face engine says about the faces of a photograph, points included.
//
// The library keeps the points to itself, so the engine is asked directly, with the same grey picture, settings,
// retry and order of calls as a crop run: what is shown here is what the crops were made from.
#ifndef QX_PHOTO_FACE_FACE_FINDER_H
#define QX_PHOTO_FACE_FACE_FINDER_H

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "qx_face_sdk.h"

namespace qx::photo {

struct ProbedFace {
  std::array<Point, 4> corners;      // top-left, top-right, bottom-left, bottom-right of the face's own upright frame,
                                     // clamped to the photograph
  int32_t score;                     // of the detector, in thousandths
  int32_t presence;                  // of a face, by the landmark model, in thousandths
  int32_t leftEye, rightEye, mouth;  // openness; an eye below 100 counts as closed. Left as one looks at it
  std::array<Point, QX_FACE_KEY_POINTS> keyPoints;
  std::array<Point, QX_FACE_LANDMARKS> landmarks;
  std::array<Point, QX_FACE_ATTRIBUTE_POINTS> densePoints;

  // Turn of the line through the eyes, in degrees, clockwise positive, above -180 up to 180; 0 is upright.
  double Roll() const;
  // Mean length of the box's two upper and lower sides, in pixels.
  double Width() const;
};

class FaceProbe {
 public:
  FaceProbe();  // throws Failure when the engine cannot load
  // In the engine's order, which is also that of the crops; empty when there is no face.
  std::vector<ProbedFace> Probe(const Image& photograph);

 private:
  template <void (*Release)(void*)>
  struct Releaser {
    void operator()(void* instance) const { Release(instance); }
  };
  std::unique_ptr<void, Releaser<FaceDetectorRelease>> detector_;
  std::unique_ptr<void, Releaser<LandmarkerRelease>> landmarker_;
  std::unique_ptr<void, Releaser<FaceAttrRelease>> analyser_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_FACE_FACE_FINDER_H
