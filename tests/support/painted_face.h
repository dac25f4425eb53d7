// A face painted on noise, and where its parts are.
#ifndef QX_TESTS_PHOTO_PAINTED_FACE_H
#define QX_TESTS_PHOTO_PAINTED_FACE_H

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "photo/render/retouch.h"

namespace qx::photo {

// A face of 120 pixels between the eyes on noise of a few levels, with features, spots, a beard and spectacles painted
// on it, and where they are.
class PaintedFace {
 public:
  static constexpr int kUnit = 120;
  enum Part { kSkin, kLips, kBrows, kNose, kBeard, kRim, kSpots, kParts };

  PaintedFace() : image(620, 760), parts_(image.Pixels(), kParts) {
    std::mt19937 random(3);
    for (uint8_t& byte : image.bgr) byte = 235;
    Disc(0, 0.45, 1.15, 1.6, {120, 150, 200}, kSkin);
    for (const double side : {-1.0, 1.0}) {
      Disc(0.5 * side, 0, 0.24, 0.09, {60, 50, 50}, kParts);
      Disc(0.5 * side, -0.33, 0.36, 0.05, {95, 120, 168}, kBrows);
      Disc(0.13 * side, 0.62, 0.05, 0.035, {90, 110, 160}, kNose);
      for (const double y : {0.45, 0.75}) Disc(0.72 * side, y, 0.03, 0.03, {70, 80, 150}, kSpots);
    }
    Disc(0, 0.95, 0.42, 0.1, {116, 134, 196}, kLips);
    for (size_t i = 0; i < parts_.size(); ++i) {
      const double x = X(i), y = Y(i);
      if (std::abs(y - 0.24) < 0.025 && std::abs(x) < 0.9) {
        parts_[i] = kRim;
        Set(i, {45, 45, 45});
      }
      if (parts_[i] == kSkin && y > 1.2 && x * x < 0.7) {
        parts_[i] = kBeard;
        if (random() % 3 == 0) Set(i, {90, 115, 160});
      }
      const int noise = static_cast<int>(random() % 9) - 4;
      for (size_t c = 0; c < 3; ++c) image.bgr[3 * i + c] = static_cast<uint8_t>(image.bgr[3 * i + c] + noise);
    }
    Describe();
  }

  Image Retouched(double skin, bool keep) const {
    Retouch retouch;
    retouch.skin = skin;
    retouch.keepFeatures = keep;
    Image result = image;
    RetouchFace(face, retouch, &result);
    return result;
  }
  // Mean absolute difference from the painted face.
  double Change(const Image& other, Part part) const {
    double sum = 0, count = 0;
    ForEach(part, [&](size_t i) {
      for (size_t c = 3 * i; c < 3 * i + 3; ++c, ++count) sum += std::abs(image.bgr[c] - other.bgr[c]);
    });
    return sum / count;
  }
  // Mean level.
  static double Mean(const PaintedFace& painted, const Image& other, Part part) {
    double sum = 0, count = 0;
    painted.ForEach(part, [&](size_t i) { sum += other.bgr[3 * i + 1], ++count; });
    return sum / count;
  }
  // Variance of what a mean of 5 x 5 takes away, on the cheeks.
  double FineTexture(const Image& other) const {
    double sum = 0, count = 0;
    ForEach(kSkin, [&](size_t i) {
      if (std::abs(std::abs(X(i)) - 0.7) > 0.2 || std::abs(Y(i) - 0.6) > 0.08) return;
      const auto width = static_cast<ptrdiff_t>(other.width);
      double mean = 0;
      for (ptrdiff_t y = -2; y <= 2; ++y) {
        for (ptrdiff_t x = -2; x <= 2; ++x) {
          mean += other.bgr[static_cast<size_t>(static_cast<ptrdiff_t>(i) + y * width + x) * 3 + 1] / 25.0;
        }
      }
      sum += (other.bgr[3 * i + 1] - mean) * (other.bgr[3 * i + 1] - mean), ++count;
    });
    return sum / count;
  }

  Image image;
  ProbedFace face{};

 private:
  using Colour = std::array<uint8_t, 3>;

  static Point At(double x, double y) {
    return {static_cast<int32_t>(310 + x * kUnit), static_cast<int32_t>(300 + y * kUnit)};
  }
  double X(size_t i) const { return (static_cast<double>(i % static_cast<size_t>(image.width)) - 310) / kUnit; }
  double Y(size_t i) const { return (static_cast<double>(i / static_cast<size_t>(image.width)) - 300) / kUnit; }
  void Set(size_t i, const Colour& colour) { std::copy(colour.begin(), colour.end(), &image.bgr[3 * i]); }
  template <typename Work>
  void ForEach(Part part, Work work) const {
    for (size_t i = 0; i < parts_.size(); ++i) {
      if (parts_[i] == part) work(i);
    }
  }
  void Disc(double x, double y, double width, double height, const Colour& colour, Part part) {
    for (size_t i = 0; i < parts_.size(); ++i) {
      const double dx = (X(i) - x) / width, dy = (Y(i) - y) / height;
      if (dx * dx + dy * dy > 1) continue;
      Set(i, colour);
      parts_[i] = part;
    }
  }
  void Describe() {
    face.corners = {At(-1.2, -0.7), At(1.2, -0.7), At(-1.2, 1.7), At(1.2, 1.7)};
    face.keyPoints[0] = At(-0.5, 0);
    face.keyPoints[1] = At(0.5, 0);
    auto& p = face.densePoints;
    const auto ring = [&](const std::vector<int>& points, double x, double y, double width, double height) {
      for (size_t i = 0; i < points.size(); ++i) {
        const double angle = 3.14159265 * (1 + 2 * static_cast<double>(i) / static_cast<double>(points.size()));
        p[static_cast<size_t>(points[i])] = At(x + width * std::cos(angle), y + height * std::sin(angle));
      }
    };
    ring({0, 4, 2, 6, 1, 7, 3, 5}, -0.5, 0, 0.24, 0.09);
    ring({16, 20, 18, 22, 17, 23, 19, 21}, 0.5, 0, 0.24, 0.09);
    ring({8, 12, 10, 14, 9, 15, 11, 13}, -0.5, -0.33, 0.36, 0.05);
    ring({24, 28, 26, 30, 25, 31, 27, 29}, 0.5, -0.33, 0.36, 0.05);
    ring({45, 59, 51, 52, 47, 53, 54, 63, 46, 66, 58, 57, 48, 56, 55, 62}, 0, 0.95, 0.42, 0.1);
    for (const int i : {32, 36, 38, 40, 41, 44, 49, 50, 60, 61, 64, 65}) p[static_cast<size_t>(i)] = At(0, 0.5);
    p[42] = At(-0.22, 0.5), p[37] = At(-0.24, 0.57), p[33] = At(-0.14, 0.65), p[35] = At(0, 0.68);
    p[43] = At(0.22, 0.5), p[39] = At(0.24, 0.57), p[34] = At(0.14, 0.65);
    for (int i = 67; i <= 87; ++i) {
      const double angle = 3.14159265 * (i - 67) / 20;
      p[static_cast<size_t>(i)] = At(-1.12 * std::cos(angle), 0.2 + 1.8 * std::sin(angle));
    }
  }

  std::vector<Part> parts_;
};

}  // namespace qx::photo

#endif  // QX_TESTS_PHOTO_PAINTED_FACE_H
