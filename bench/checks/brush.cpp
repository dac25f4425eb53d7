#include "bench/checks/brush.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "photo/check/colour.h"

namespace qx::bench::checks {

using photo::Image;
using photo::PlacePoint;

cv::Mat Wrap(Image& picture) {
  return {picture.height, picture.width, CV_8UC3, picture.bgr.data()};
}

double Smooth(double from, double to, double x) {
  const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

double Light(uint8_t byte) {
  return photo::LinearLight(byte);
}

uint8_t ByteOf(double light) {
  const double c = std::clamp(light, 0.0, 1.0);
  const double value = c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1 / 2.4) - 0.055;
  return static_cast<uint8_t>(std::lround(255 * value));
}

void Relight(Image* picture, const std::function<Colour(PlacePoint)>& factors) {
  for (int y = 0; y < picture->height; ++y) {
    for (int x = 0; x < picture->width; ++x) {
      const Colour factor = factors(Centre(x, y));
      uint8_t* pixel = picture->At(x, y);
      for (size_t c = 0; c < 3; ++c) pixel[c] = ByteOf(Light(pixel[c]) * factor[c]);
    }
  }
}

Image Warp(const Image& picture, const std::function<PlacePoint(PlacePoint)>& from) {
  cv::Mat2f map(picture.height, picture.width);
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const PlacePoint p = from(Centre(x, y));
      map(y, x) = {static_cast<float>(p.x - 0.5), static_cast<float>(p.y - 0.5)};
    }
  }
  Image source = picture, warped(picture.width, picture.height);
  cv::remap(Wrap(source), Wrap(warped), map, {}, cv::INTER_CUBIC, cv::BORDER_REPLICATE);
  return warped;
}

cv::Mat1f Cover(const Image& picture, const Line& polygon, double softness) {
  constexpr int kShift = 8;
  cv::Mat1b filled(picture.height, picture.width, uint8_t{0});
  std::vector<cv::Point> points;
  for (const PlacePoint p : polygon) {
    const auto fixed = [](double v) { return static_cast<int>(std::lround((v - 0.5) * (1 << kShift))); };
    points.emplace_back(fixed(p.x), fixed(p.y));
  }
  cv::fillPoly(filled, std::vector<std::vector<cv::Point>>{points}, cv::Scalar(255), cv::LINE_AA, kShift);
  cv::Mat1f cover;
  filled.convertTo(cover, CV_32F, 1.0 / 255);
  if (softness > 0) cv::GaussianBlur(cover, cover, {}, softness);
  return cover;
}

namespace {

void Mix(uint8_t* pixel, double share, double value) {
  *pixel = static_cast<uint8_t>(std::lround(*pixel + share * (value - *pixel)));
}

}  // namespace

void Lay(Image* picture, const cv::Mat1f& cover, const Colour& colour, double opacity) {
  for (int y = 0; y < picture->height; ++y) {
    for (int x = 0; x < picture->width; ++x) {
      for (size_t c = 0; c < 3; ++c) Mix(picture->At(x, y) + c, opacity * cover(y, x), colour[c]);
    }
  }
}

void LayPicture(Image* picture, const cv::Mat1f& cover, const Image& over) {
  for (int y = 0; y < picture->height; ++y) {
    for (int x = 0; x < picture->width; ++x) {
      for (size_t c = 0; c < 3; ++c) Mix(picture->At(x, y) + c, cover(y, x), over.At(x, y)[c]);
    }
  }
}

Line Ellipse(PlacePoint centre, double aside, double above, double turn) {
  constexpr int kCorners = 64;
  Line line;
  for (int i = 0; i < kCorners; ++i) {
    const double angle = 2 * CV_PI * i / kCorners;
    const double x = aside * std::cos(angle), y = above * std::sin(angle);
    line.push_back(
        {centre.x + x * std::cos(turn) - y * std::sin(turn), centre.y + x * std::sin(turn) + y * std::cos(turn)});
  }
  return line;
}

}  // namespace qx::bench::checks
