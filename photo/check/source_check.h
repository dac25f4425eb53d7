// What is measured on a person of the photograph from which a document is made: all that a new background, cut and size
// cannot mend.
#ifndef QX_PHOTO_CHECK_SOURCE_CHECK_H
#define QX_PHOTO_CHECK_SOURCE_CHECK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "photo/base/image.h"
#include "photo/check/aligned_face.h"
#include "photo/check/measure.h"
#include "photo/check/measures.h"
#include "photo/face/face_finder.h"

namespace qx::photo {

// One face with what measuring needs of its photograph, which may be gone by then.
struct SourceFace {
  int32_t width = 0, height = 0;  // of the picture
  ProbedFace face;
  std::optional<AlignedFace> aligned;  // nothing for a face without a mesh, or collapsed to a point
};
// `picture`: the photograph or a part of it, where the face is; the eyes some 100 pixels apart if it has so many.
SourceFace LookAtSource(const Image& picture, const ProbedFace& face);

// What became of the photograph in the document.
struct SourceUse {
  bool straightened = false;  // turned until the head stood straight
  double turnedBy = 0;        // degrees, clockwise, beyond that
  double enlargement = 1;     // pixels of the document for one of the photograph, along a side
  double eyeDistance = 0;     // in pixels of the photograph
};

// Pose, gaze, eyes, mouth, light, colours, sharpness and number of pixels, in the order of MeasureId.
std::vector<Measure> MeasureSource(const SourceFace& source, const SourceUse& use, const MeasureOptions& options);

// Of a background that is kept. `person`: of the picture's size.
std::vector<Measure> MeasureKeptBackground(const Image& picture, const ProbedFace& face, const Mask& person,
                                           const MeasureOptions& options);

// Why measures failed, in their order: none twice, nor one that another one says too.
std::vector<std::string> ReasonsOf(const std::vector<Measure>& measures);

}  // namespace qx::photo

#endif  // QX_PHOTO_CHECK_SOURCE_CHECK_H
