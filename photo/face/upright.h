// Photographs turned so that a chosen face stands upright.
#ifndef QX_PHOTO_FACE_UPRIGHT_H
#define QX_PHOTO_FACE_UPRIGHT_H

#include <cstdint>
#include <optional>
#include <vector>

#include "photo/face/face_finder.h"

namespace qx::photo {

// The picture turned clockwise by that many quarter turns, 0 to 3. Exact.
Image TurnClockwise(const Image& image, int quarterTurns);
Mask TurnClockwise(const Mask& mask, int quarterTurns);

struct UprightPhotograph {
  Image image;
  int quarterTurns = 0;           // clockwise, that made it upright
  std::vector<ProbedFace> faces;  // in the upright photograph, in the engine's order there
  std::vector<size_t> persons;    // the chosen ones among them
  size_t facesFound = 0;          // in the photograph as it was
  int number = 0;                 // of the first chosen face there, from 1
};

// Chooses the face of that number (from 1, in the order of `idphoto inspect`), or the largest, and turns the photograph
// by the quarter turns that bring its eyes closest to level. Throws Failure when there is no such face.
UprightPhotograph MakeUpright(FaceProbe& probe, Image photograph, std::optional<int> number);

// The same for the two largest faces, the left one first. Throws Failure when there are fewer or they do not stand the
// same way up.
UprightPhotograph MakePairUpright(FaceProbe& probe, Image photograph);

// Takes the chosen persons' points anew from the photograph, which was retouched since; a face that is not found any
// more keeps its points.
void MeasureAgain(FaceProbe& probe, UprightPhotograph* upright);

}  // namespace qx::photo

#endif  // QX_PHOTO_FACE_UPRIGHT_H
