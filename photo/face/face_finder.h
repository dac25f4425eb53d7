// The faces of a photograph, found and described once.
#ifndef QX_PHOTO_FACE_FACE_FINDER_H
#define QX_PHOTO_FACE_FACE_FINDER_H

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/base/pixel_view.h"
#include "photo/face/face_mesh.h"
#include "qx_face_sdk.h"

namespace qx {
class FaceEngine;
}

namespace qx::photo {

// All that the face engine tells of one face. Points are pixels of the picture at hand; left is left as one looks at
// it.
struct ProbedFace {
  std::array<Point, 4> corners;      // top-left, top-right, bottom-left, bottom-right of the face's own upright frame,
                                     // clamped to the picture
  int32_t score;                     // of the detector, in thousandths
  int32_t presence;                  // of a face, by the landmark model, in thousandths
  int32_t tag;                       // the engine's own, handed back when the face is described again
  int32_t fineRoll;                  // the turn but for whole quarters, in hundredths of a degree, clockwise positive
  int32_t leftEye, rightEye, mouth;  // openness; an eye below 100 counts as closed
  std::array<Point, QX_FACE_KEY_POINTS> keyPoints;
  std::array<Point, QX_FACE_LANDMARKS> landmarks;
  std::array<Point, QX_FACE_ATTRIBUTE_POINTS> densePoints;
  std::shared_ptr<const FaceMesh> mesh;  // null where the engine tells none

  // Turn of the line through the eyes, in degrees, clockwise positive, above -180 up to 180; 0 is upright. Finer than
  // the points, which are whole pixels: they only say which quarter it is.
  double Roll() const;
  // Mean length of the box's two upper and lower sides, in pixels.
  double Width() const;
  // The upright box around the corners.
  FaceBox Box() const;
  // The same face in another picture of the photograph: each point moved by (-left, -top) and then scaled, rounded to
  // the nearest pixel.
  ProbedFace Moved(double left, double top, double scaleX, double scaleY) const;
};

// One picture at a time. Costly to make: keep one for many photographs.
class FaceFinder {
 public:
  FaceFinder();  // throws Failure when the engine cannot load
  ~FaceFinder();
  FaceFinder(FaceFinder&&) noexcept;

  // In the engine's order, best first; empty when there is no face. Throws Failure when memory is short.
  std::vector<ProbedFace> Find(const PixelView& picture);

  // Describes a face anew whose box and tag are known, say from a smaller picture. Throws Failure when memory is short.
  // False when the engine does not see a face there; `face` stays as it is then.
  bool Refine(const Image& picture, ProbedFace* face);

 private:
  std::unique_ptr<FaceEngine> engine_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_FACE_FACE_FINDER_H
