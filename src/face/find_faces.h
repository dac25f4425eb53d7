#ifndef QX_FACE_FIND_FACES_H
#define QX_FACE_FIND_FACES_H

#include <cstdint>
#include <memory>

#include "base/image_view.h"
#include "base/status.h"
#include "face/face_engine.h"
#include "face/face_record.h"

namespace qx {

// The faces of one photograph, in the order of the face engine. They hold no crop, so one finding serves as many cuts
// as are wanted.
struct FoundFaces {
  std::unique_ptr<FoundFace[]> faces;
  int32_t count = 0;
};

// What the caller has a use for. Faces that it has none for are counted but not described.
enum class FacesWanted { kAny, kTwo };

// Finds and describes the faces of a photograph of 1 or 3 channels.
// kOk: one or more are found, exactly two where kTwo is wanted. kNoFace; kTooFewFaces, kTooManyFaces: not the two that
// are wanted; kMemoryShort: here or in the engine. `found` is empty but for kOk.
Status FindFaces(const ImageView& photograph, FacesWanted wanted, FaceEngine* engine, FoundFaces* found);

}  // namespace qx

#endif  // QX_FACE_FIND_FACES_H
