#ifndef QX_FACE_FACE_RECORD_H
#define QX_FACE_FACE_RECORD_H

#include <cstdint>

#include "base/buffer.h"
#include "base/point.h"

namespace qx {

inline constexpr int kKeyPointCount = 11;
inline constexpr int kLandmarkCount = 38;
inline constexpr int kAttributeCount = 88;
inline constexpr int kCornerCount = 4;

// Those of the landmarks that are read one by one. Left and right are those of the image of an upright face.
enum Landmark {
  kLeftEyeOuterCorner = 0,  // the four points that span the left eye
  kLeftEyeInnerCorner = 1,
  kRightEyeInnerCorner = 8,  // the four points that span the right eye
  kRightEyeOuterCorner = 9,
  kMouthLeftEnd = 16,
  kMouthRightEnd = 17,
  kMouthTop = 19,
  kMouthBottom = 20,
};
enum KeyPoint { kLeftEyeCentre = 0, kRightEyeCentre = 1 };

// The points that describe a face, all in one frame of reference.
struct FacePoints {
  Point keyPoints[kKeyPointCount];    // by KeyPoint; the line between the eyes gives the face's angle
  Point landmarks[kLandmarkCount];    // by Landmark
  Point attributes[kAttributeCount];  // the dense description: eyes, brows, nose, mouth, outline
  Point faceBox[kCornerCount];        // corners of the detected face
};

// What the engine tells of one face of a photograph. A field that it does not write is zero.
struct FoundFace {
  FacePoints source;  // in pixels of the photograph; faceBox clamped to it

  int32_t alignInfoA = 0, alignInfoB = 0, alignInfoC = 0;  // from the landmark engine, for the third engine
  int32_t alignOutD = 0, alignOutE = 0;
  int32_t alignOutF = 0, alignOutG = 0, alignOutH = 0;  // region values of the eyes and the mouth
};

// A face and its crop. A field that no step wrote yet is zero.
struct FaceRecord : FoundFace {
  FaceRecord() = default;
  explicit FaceRecord(const FoundFace& found) : FoundFace(found) {}

  FacePoints crop;  // in pixels of the crop, not clamped; faceBox stays zero in a two-face crop

  double rotCos = 0, rotSin = 0;  // quarter turn of the crop, each 0, 1 or -1; rotSin's sign differs between the modes
  int32_t naturalWidth = 0, naturalHeight = 0;  // two-face crop: size at the scale of the photograph
  int32_t cropWidth = 0, cropHeight = 0;        // may be 0 or below: an empty crop
  double scale = 0;                             // two-face crop: source pixels in a crop pixel
  double originX = 0, originY = 0;              // single crop: source position of the crop's first pixel, whole numbers
  double centreX = 0, centreY = 0;              // centre of the face in the photograph
  double offsetX = 0, offsetY = 0;              // centre of the face in the crop

  ByteBuffer cropImage;  // cropWidth * cropHeight * 3
  ByteBuffer cropMask;   // cropWidth * cropHeight: 1 inside the photograph, 0 outside
  ByteBuffer fgMask;     // cropWidth * cropHeight, absent until a person mask is set
  ByteBuffer fgColour;   // cropWidth * cropHeight * 3, absent until a person mask is set

  bool HasCrop() const { return cropImage && cropMask; }
};

}  // namespace qx

#endif  // QX_FACE_FACE_RECORD_H
