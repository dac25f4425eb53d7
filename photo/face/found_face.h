// A face in the records of the library's inner functions.
#ifndef QX_PHOTO_FACE_FOUND_FACE_H
#define QX_PHOTO_FACE_FOUND_FACE_H

#include "face/face_record.h"
#include "photo/face/face_finder.h"

namespace qx::photo {

// What the library's crop run knows of a face before it cuts anything.
FoundFace ToFoundFace(const ProbedFace& face);

}  // namespace qx::photo

#endif  // QX_PHOTO_FACE_FOUND_FACE_H
