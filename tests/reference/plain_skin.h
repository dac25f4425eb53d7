// The skin retouch stage as it is defined, pixel by pixel, with nothing kept from one pixel to the next.
#ifndef QX_TESTS_REFERENCE_PLAIN_SKIN_H
#define QX_TESTS_REFERENCE_PLAIN_SKIN_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "base/image_view.h"
#include "beauty/skin/robust_colour_stats.h"
#include "beauty/skin/skin_box.h"
#include "face/landmark_set.h"

namespace qx::test {

using Bytes = std::vector<uint8_t>;

// Rows of pixels of `channels` bytes.
struct Picture {
  Picture(int w, int h, int c, uint8_t value = 0)
      : width(w), height(h), channels(c), bytes(static_cast<size_t>(w * h * c), value) {}
  ImageView View() const { return {bytes.data(), width, height, channels}; }
  MutableImage Mutable() { return {bytes.data(), width, height, channels}; }
  uint8_t& At(int x, int y, int c = 0) { return bytes[static_cast<size_t>((y * width + x) * channels + c)]; }
  uint8_t At(int x, int y, int c = 0) const { return bytes[static_cast<size_t>((y * width + x) * channels + c)]; }

  int width, height, channels;
  Bytes bytes;
};

// What the definitions share.
inline int Trunc(double v) {
  return static_cast<int>(v);
}
inline uint8_t Byte(double v) {
  return static_cast<uint8_t>(Trunc(v));
}
inline int Distance(Point a, Point b) {
  return Trunc(std::sqrt(std::pow(b.x - a.x, 2) + std::pow(b.y - a.y, 2)));
}

// The nine values around a pixel.
inline std::vector<int> Square(const Picture& p, int x, int y) {
  std::vector<int> values;
  for (int v = y - 1; v <= y + 1; ++v) {
    for (int u = x - 1; u <= x + 1; ++u) values.push_back(p.At(u, v));
  }
  return values;
}
inline int Least(const std::vector<int>& values) {
  return *std::min_element(values.begin(), values.end());
}
inline int Sum(const std::vector<int>& values) {
  int sum = 0;
  for (const int v : values) sum += v;
  return sum;
}

struct Extent {
  int minX, maxX, minY, maxY;
};
inline Extent ExtentOf(const std::vector<Point>& points) {
  Extent e = {points[0].x, points[0].x, points[0].y, points[0].y};
  for (const Point p : points) {
    e = {std::min(e.minX, p.x), std::max(e.maxX, p.x), std::min(e.minY, p.y), std::max(e.maxY, p.y)};
  }
  return e;
}

struct PlainSpots {
  Picture mask;
  int top, bottom, left, right;
};
PlainSpots PlainSpotMask(const Picture& image, const LandmarkSet& landmarks);
Picture PlainMedianFill(const PlainSpots& spots, const Picture& source, double kernelSize);

Picture PlainHalfLab(const Picture& image);
Picture PlainRegion(int width, int height, Point eye0, Point eye1, SkinBox* box);
ColourModel PlainStats(const Bytes& patch, double k);
Picture PlainScore(const Picture& lab, const ColourModel& model, const SkinBox& box, const Picture& region);
void PlainRefine(const SkinBox& box, int rounds, Picture* score);
Picture PlainColourMask(const Picture& image, const Point* corners, int faces, const Point* eye0, const Point* eye1,
                        SkinBox* boxes);
Picture PlainWeightMap(const Picture& image, const Point* corners, int faces, int outWidth, int outHeight);
void PlainGaussian(double sigma, const SkinBox* box, const Picture& mask, Picture* image);  // null box: everywhere
Picture PlainUpsample(const Picture& small, int width, int height);
Picture PlainResize(const Picture& mask, int width, int height);

// The whole stage on an image whose sizes are 4 or more.
Picture PlainRetouch(const Picture& image, double strength, LandmarkSet landmarks);

}  // namespace qx::test

#endif  // QX_TESTS_REFERENCE_PLAIN_SKIN_H
