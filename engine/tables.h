// Tables of points: which points of the 468-point face mesh make up what the engine hands out.
//
// The mesh is the canonical face mesh of the landmark network (Kartynnik et al., "Real-time Facial Surface Geometry
// from Monocular Video on Mobile GPUs", 2019). Indices are 0 to 467. "Left" is the left of the image with the face
// upright, so the person's right.
#ifndef QX_ENGINE_TABLES_H
#define QX_ENGINE_TABLES_H

#include <array>
#include <cstdint>

#include "qx_face_sdk.h"

namespace qx::face {

constexpr int kMeshPoints = 468;
constexpr int kIrisPoints = 5;  // centre, then four of the rim

// The mesh points whose depth is handed on: by the first 33 a head's pose is found, the others are the ends and the
// middle of the mouth.
extern const std::array<int16_t, QX_FACE_DEPTH_POINTS> kDepthPoints;

// An output point: the mean of two mesh points, which are the same one for a single point.
struct PointRule {
  constexpr PointRule(int16_t single) : first(single), second(single) {}
  constexpr PointRule(int16_t a, int16_t b) : first(a), second(b) {}
  int16_t first;
  int16_t second;
};

// Rings of the eyelids, whose means are the eye centres.
extern const std::array<int16_t, 16> kLeftEyeRing;
extern const std::array<int16_t, 16> kRightEyeRing;

// Key points 2 to 10 (0 and 1 are the eye centres): 2 nose tip; 3, 4 mouth corners; 5, 6 brows; 7 nose root;
// 8 nose base; 9 mouth; 10 chin.
constexpr int kEyeCentres = 2;
extern const std::array<PointRule, 9> kKeyPointRules;

// 0 to 7 left eye and 8 to 15 right eye: outer and inner corner (of the right one inner and outer), middle of the
// upper and lower lid, two more of the upper lid, two more of the lower lid, each from left to right;
// 16 to 20 mouth: corners, centre, upper and lower lip; 21 to 25 and 26 to 30 brows; 31 to 37 nose.
extern const std::array<PointRule, 38> kLandmarkRules;

// 0 to 7 left eye; 8 to 15 left brow; 16 to 23 right eye; 24 to 31 right brow; 32 to 44 nose; 45 to 66 mouth;
// 67 to 87 outline, from the left temple over the chin to the right.
extern const std::array<PointRule, 88> kAttributeRules;

// Three pairs across the opening of an eye (upper lid, lower lid) and its corners.
struct EyeGaps {
  std::array<std::array<int16_t, 2>, 3> lids;
  std::array<int16_t, 2> corners;
};
extern const EyeGaps kLeftEyeGaps;
extern const EyeGaps kRightEyeGaps;

constexpr int kLeftEyeCorner = 33;    // outer corner of the left eye
constexpr int kRightEyeCorner = 263;  // outer corner of the right eye
constexpr int kChin = 152;
constexpr int kUpperLip = 13, kLowerLip = 14;  // inner edges
constexpr int kMouthLeft = 61, kMouthRight = 291;

// Mesh points that the refining parts of the landmark network replace, in the order of their outputs.
extern const std::array<int16_t, 80> kLipsSubset;
extern const std::array<int16_t, 71> kLeftEyeSubset;
extern const std::array<int16_t, 71> kRightEyeSubset;

}  // namespace qx::face

#endif  // QX_ENGINE_TABLES_H
