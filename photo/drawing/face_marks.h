// What was measured in a face, drawn at its places.
#ifndef QX_PHOTO_DRAWING_FACE_MARKS_H
#define QX_PHOTO_DRAWING_FACE_MARKS_H

#include <vector>

#include "photo/check/check.h"
#include "photo/drawing/labels.h"
#include "photo/drawing/marks.h"

namespace qx::photo {

// Outlines of eyes and mouth, where the head and the eyes point, what is wrong at the eyes, and the darker cheek. Gives
// back the labels of these and of the background. Nothing without the points of a face, and for
// documents of two persons.
std::vector<Label> DrawFaceMarks(const Image& photograph, const PhotoCheck& check, const Frame& frame);

}  // namespace qx::photo

#endif  // QX_PHOTO_DRAWING_FACE_MARKS_H
