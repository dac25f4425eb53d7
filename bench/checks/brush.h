// What several defects are painted with.
#ifndef QX_BENCH_CHECKS_BRUSH_H
#define QX_BENCH_CHECKS_BRUSH_H

#include <array>
#include <functional>
#include <opencv2/core.hpp>
#include <vector>

#include "photo/base/geometry.h"
#include "photo/base/image.h"

namespace qx::bench::checks {

using Colour = std::array<double, 3>;  // blue, green, red; 0 to 255
using Line = std::vector<photo::PlacePoint>;

// Both share the pixels.
cv::Mat Wrap(photo::Image& picture);
// The middle of a pixel.
inline photo::PlacePoint Centre(int x, int y) {
  return {x + 0.5, y + 0.5};
}
double Smooth(double from, double to, double x);  // 0 to 1

// Linear light, 0 to 1, of a byte, and the nearest byte of a light.
double Light(uint8_t byte);
uint8_t ByteOf(double light);

// Multiplies the light of each pixel by what the function says for its place, per channel.
void Relight(photo::Image* picture, const std::function<Colour(photo::PlacePoint)>& factors);
// Each pixel is taken from the place that the function says.
photo::Image Warp(const photo::Image& picture, const std::function<photo::PlacePoint(photo::PlacePoint)>& from);
// How much of each pixel a polygon covers, its edge softened by some pixels; 0 to 1.
cv::Mat1f Cover(const photo::Image& picture, const Line& polygon, double softness);
// Lays a colour over the picture.
void Lay(photo::Image* picture, const cv::Mat1f& cover, const Colour& colour, double opacity = 1);
// Lays another picture of the same size over it.
void LayPicture(photo::Image* picture, const cv::Mat1f& cover, const photo::Image& over);

Line Ellipse(photo::PlacePoint centre, double aside, double above, double turn = 0);

}  // namespace qx::bench::checks

#endif  // QX_BENCH_CHECKS_BRUSH_H
