// Where the top of the skull lies under the hair, by the lengths of the face.
#ifndef QX_PHOTO_PLACE_CROWN_H
#define QX_PHOTO_PLACE_CROWN_H

namespace qx::photo {

// In pixels of the photograph, along the face however it leans.
struct FaceLengths {
  double betweenEyes = 0;  // from one eye's middle to the other's, a middle being that of the two corners
  double eyesToMouth = 0;  // from the middle between the eyes to the middle between the lips
  double eyesToChin = 0;
};

// From the crown, the top of the skull, to the chin: above 0 and at most `hair`, which is the length from the top of
// the hair to the chin, above 0 and of the same unit. Equal to `hair`, to the bit, unless hair stands higher above the
// face than skulls of its size reach, and where the lengths make no face.
//
// By the crowns of 130 frontal photographs, marked by hand: the eyes' middle to the chin times 1.919, and the distance
// between the eyes with that from their middle to the mouth times 1.716, each with a deviation of 4.4 %.
double CrownToChin(const FaceLengths& face, double hair);

}  // namespace qx::photo

#endif  // QX_PHOTO_PLACE_CROWN_H
