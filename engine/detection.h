// From the raw values of the detection network to faces: decoding and suppression of repeated finds.
#ifndef QX_ENGINE_DETECTION_H
#define QX_ENGINE_DETECTION_H

#include <vector>

#include "engine/geometry.h"

namespace qx::face {

// A face as the network sees it. Units are those of the frame at hand: 0 to 1 of a window, or pixels of the photograph.
struct Detection {
  double score = 0;  // 0 to 1
  Box box;           // brow to chin, square in the upright frame
  Point leftEye;     // left and right with the face upright
  Point rightEye;
  int turn = 0;
};

constexpr int kAnchorSide = 48;  // anchors stand at the centres of a grid of that many cells on a side
constexpr int kAnchors = kAnchorSide * kAnchorSide;
constexpr int kValuesPerAnchor = 16;  // box centre, width, height, then six points; (x, y) in window cells

// Decodes the anchors whose score is at least `threshold`, in the order of the anchors, in 0 to 1 of the window.
// boxes: kAnchors * kValuesPerAnchor values relative to the anchor; logits: kAnchors values.
std::vector<Detection> DecodeAnchors(const float* boxes, const float* logits, double threshold);

// Weighted non-maximum suppression (Bazarevsky et al., "BlazeFace", 2019): each group of detections that overlap
// its best one by more than `overlap` (intersection over union) becomes their mean, weighted by score, with the best
// score. Best first.
std::vector<Detection> SuppressWeighted(std::vector<Detection> detections, double overlap);

// Whether two boxes are of one face: intersection over union above `overlap`, or one lies mostly in the other.
bool SameFace(const Box& a, const Box& b, double overlap);

// Keeps the best detection of every face, best first; equal scores in the order of top, left and turn.
std::vector<Detection> KeepBest(std::vector<Detection> detections, double overlap);

}  // namespace qx::face

#endif  // QX_ENGINE_DETECTION_H
