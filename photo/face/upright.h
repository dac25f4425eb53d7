// Photographs turned so that a chosen face stands upright.
#ifndef QX_PHOTO_FACE_UPRIGHT_H
#define QX_PHOTO_FACE_UPRIGHT_H

#include <cstdint>
#include <optional>
#include <vector>

#include "photo/base/failure.h"
#include "photo/base/photo_source.h"
#include "photo/face/face_finder.h"

namespace qx::photo {

// kNoFace.
Failure NoFace();

// The picture turned clockwise by that many quarter turns, 0 to 3. Exact.
Image TurnClockwise(Image image, int quarterTurns);
Mask TurnClockwise(Mask mask, int quarterTurns);

struct UprightPhotograph {
  Image image;
  int quarterTurns = 0;           // clockwise, that made it upright
  std::vector<ProbedFace> faces;  // in the upright photograph, in the engine's order there
  std::vector<size_t> persons;    // the chosen ones among them
  size_t facesFound = 0;          // in the photograph as it was
  int number = 0;                 // of the first chosen face there, from 1
};

// Chooses the face of that number (from 1, in the order of the finder), or the largest, and turns the photograph
// by the quarter turns that bring its eyes closest to level. Throws Failure when there is no such face.
UprightPhotograph MakeUpright(FaceFinder& finder, Image photograph, std::optional<int> number);

// The same for the two largest faces, the left one first. Throws Failure when there are fewer or they do not stand the
// same way up.
UprightPhotograph MakePairUpright(FaceFinder& finder, Image photograph);

// A photograph seen turned clockwise by that many quarter turns, 0 to 3. `source` must outlive it.
class TurnedSource : public PhotoSource {
 public:
  TurnedSource(PhotoSource* source, int quarterTurns) : source_(source), quarterTurns_(quarterTurns) {}

  int32_t Width() override { return quarterTurns_ % 2 == 1 ? source_->Height() : source_->Width(); }
  int32_t Height() override { return quarterTurns_ % 2 == 1 ? source_->Width() : source_->Height(); }
  Image Overview(int64_t leastPixels) override;
  Image Part(const PixelBox& box, int32_t width, int32_t height) override;

 private:
  PhotoSource* const source_;
  const int quarterTurns_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_FACE_UPRIGHT_H
