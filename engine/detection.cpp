#include "engine/detection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <tuple>

#include "base/exact_math.h"
#include "engine/windows.h"

namespace qx::face {
namespace {

double Sigmoid(double logit) {
  return 1 / (1 + exact::Exp(-std::clamp(logit, -100.0, 100.0)));
}

// A logit safely below that of any score of `threshold` or more.
double LogitBelow(double threshold) {
  if (!(threshold > 0)) return -std::numeric_limits<double>::infinity();
  return threshold < 1 ? exact::Log(threshold / (1 - threshold)) - 0.001 : 10;
}

Detection DecodeAnchor(const float* raw, Point anchor, double score) {
  const auto at = [raw, anchor](int i) { return anchor + (1.0 / kWindowSide) * Point{raw[i], raw[i + 1]}; };
  const Point centre = at(0);
  const double halfWidth = raw[2] / (2.0 * kWindowSide), halfHeight = raw[3] / (2.0 * kWindowSide);
  Detection found;
  found.score = score;
  found.box = {centre.x - halfWidth, centre.y - halfHeight, centre.x + halfWidth, centre.y + halfHeight};
  found.leftEye = at(4);
  found.rightEye = at(6);
  return found;
}

// Sum of detections weighted by their scores.
class WeightedMean {
 public:
  void Add(const Detection& d) {
    weight_ += d.score;
    leftTop_ = leftTop_ + d.score * Point{d.box.left, d.box.top};
    rightBottom_ = rightBottom_ + d.score * Point{d.box.right, d.box.bottom};
    leftEye_ = leftEye_ + d.score * d.leftEye;
    rightEye_ = rightEye_ + d.score * d.rightEye;
  }

  Detection Result(const Detection& best) const {
    const double scale = 1 / weight_;
    Detection mean = best;
    mean.box = {scale * leftTop_.x, scale * leftTop_.y, scale * rightBottom_.x, scale * rightBottom_.y};
    mean.leftEye = scale * leftEye_;
    mean.rightEye = scale * rightEye_;
    return mean;
  }

 private:
  double weight_ = 0;
  Point leftTop_, rightBottom_, leftEye_, rightEye_;
};

bool Better(const Detection& a, const Detection& b) {
  return std::make_tuple(-a.score, a.box.top, a.box.left, a.turn) <
         std::make_tuple(-b.score, b.box.top, b.box.left, b.turn);
}

}  // namespace

std::vector<Detection> DecodeAnchors(const float* boxes, const float* logits, double threshold) {
  const double lowest = LogitBelow(threshold);
  std::vector<Detection> found;
  for (int i = 0; i < kAnchors; ++i) {
    if (!(logits[i] >= lowest)) continue;
    const double score = Sigmoid(logits[i]);
    if (!(score >= threshold)) continue;
    const Point anchor{(i % kAnchorSide + 0.5) / kAnchorSide, (i / kAnchorSide + 0.5) / kAnchorSide};
    const Detection face = DecodeAnchor(boxes + static_cast<ptrdiff_t>(i) * kValuesPerAnchor, anchor, score);
    if (Area(face.box) > 0) found.push_back(face);
  }
  return found;
}

std::vector<Detection> SuppressWeighted(std::vector<Detection> detections, double overlap) {
  std::stable_sort(detections.begin(), detections.end(),
                   [](const Detection& a, const Detection& b) { return a.score > b.score; });
  std::vector<Detection> kept;
  while (!detections.empty()) {
    const Detection best = detections.front();
    WeightedMean mean;
    mean.Add(best);
    std::vector<Detection> rest;
    for (size_t i = 1; i < detections.size(); ++i) {
      if (IntersectionOverUnion(best.box, detections[i].box) > overlap) {
        mean.Add(detections[i]);
      } else {
        rest.push_back(detections[i]);
      }
    }
    kept.push_back(mean.Result(best));
    detections = std::move(rest);
  }
  return kept;
}

bool SameFace(const Box& a, const Box& b, double overlap) {
  constexpr double kMostly = 0.6;
  return IntersectionOverUnion(a, b) > overlap || IntersectionOverSmaller(a, b) > kMostly;
}

std::vector<Detection> KeepBest(std::vector<Detection> detections, double overlap) {
  std::sort(detections.begin(), detections.end(), Better);
  std::vector<Detection> kept;
  for (const Detection& candidate : detections) {
    const bool repeated = std::any_of(kept.begin(), kept.end(), [&](const Detection& better) {
      return SameFace(candidate.box, better.box, overlap);
    });
    if (!repeated) kept.push_back(candidate);
  }
  return kept;
}

}  // namespace qx::face
