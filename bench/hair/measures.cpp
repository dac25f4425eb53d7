#include "bench/hair/measures.h"

#include <cmath>
#include <opencv2/imgproc.hpp>

namespace qx::bench::hair {
namespace {

constexpr float kNothing = 0.5f / 255;  // less than this of a pixel is nothing in bytes

cv::Mat Crop(const photo::Mask& mask, const photo::PixelBox& box) {
  cv::Mat alpha(box.Height(), box.Width(), CV_32F);
  for (int y = 0; y < alpha.rows; ++y) {
    const uint8_t* row = mask.Row(box.top + y) + box.left;
    for (int x = 0; x < alpha.cols; ++x) alpha.at<float>(y, x) = static_cast<float>(row[x]) / 255;
  }
  return alpha;
}

cv::Mat Crop(const Scene& scene, const photo::PixelBox& box, Channel channel) {
  cv::Mat values(box.Height(), box.Width(), CV_32F);
  for (int y = 0; y < values.rows; ++y) {
    for (int x = 0; x < values.cols; ++x) {
      values.at<float>(y, x) = scene.person.At(box.left + x, box.top + y)[channel];
    }
  }
  return values;
}

cv::Mat GradientMagnitude(const cv::Mat& alpha) {
  constexpr double kSigma = 1.4;
  constexpr int kRadius = 5;
  cv::Mat smooth(1, 2 * kRadius + 1, CV_32F), slope(1, 2 * kRadius + 1, CV_32F);
  double power = 0;
  for (int i = -kRadius; i <= kRadius; ++i) {
    const double bell = std::exp(-i * i / (2 * kSigma * kSigma));
    smooth.at<float>(0, i + kRadius) = static_cast<float>(bell);
    slope.at<float>(0, i + kRadius) = static_cast<float>(i * bell);
  }
  // Of unit energy, as the benchmark's own filter is.
  power = cv::norm(smooth) * cv::norm(slope);
  slope /= power;
  cv::Mat across, down, magnitude;
  cv::sepFilter2D(alpha, across, CV_32F, slope, smooth, {-1, -1}, 0, cv::BORDER_REPLICATE);
  cv::sepFilter2D(alpha, down, CV_32F, smooth, slope, {-1, -1}, 0, cv::BORDER_REPLICATE);
  cv::magnitude(across, down, magnitude);
  return magnitude;
}

cv::Mat LargestPiece(const cv::Mat& open) {
  cv::Mat labels, statistics, centres;
  const int count = cv::connectedComponentsWithStats(open, labels, statistics, centres, 4, CV_32S);
  int largest = 0, most = 0;
  for (int i = 1; i < count; ++i) {
    const int area = statistics.at<int>(i, cv::CC_STAT_AREA);
    if (area > most) most = area, largest = i;
  }
  if (largest == 0) return cv::Mat::zeros(open.size(), CV_8U);
  return labels == largest;
}

// Degrees of connectivity are taken by tenths of alpha.
double ConnectivityError(const cv::Mat& alpha, const cv::Mat& truth) {
  cv::Mat level(alpha.size(), CV_32F, cv::Scalar(-1));
  for (int step = 1; step <= 10; ++step) {
    const double threshold = 0.1 * step;
    const cv::Mat both = (alpha >= threshold - 1e-6) & (truth >= threshold - 1e-6);
    const cv::Mat piece = LargestPiece(both);
    level.setTo(0.1 * (step - 1), (level < 0) & (piece == 0));
  }
  level.setTo(1, level < 0);
  double sum = 0;
  auto degree = [](float value, float at) { return value - at >= 0.15f ? 1 - (value - at) : 1.0f; };
  for (int y = 0; y < alpha.rows; ++y) {
    for (int x = 0; x < alpha.cols; ++x) {
      const float at = level.at<float>(y, x);
      sum += std::fabs(degree(alpha.at<float>(y, x), at) - degree(truth.at<float>(y, x), at));
    }
  }
  return sum;
}

// Distance of each pixel, in pixels, from the nearest of those that are marked.
cv::Mat DistanceFrom(const cv::Mat& marked) {
  cv::Mat distance;
  cv::distanceTransform(marked == 0, distance, cv::DIST_L2, cv::DIST_MASK_5);
  return distance;
}

double MeanLeft(const cv::Mat& alpha, const cv::Mat& truth, double reach) {
  const cv::Mat near = (truth < kNothing) & (DistanceFrom(truth >= kNothing) <= reach);
  return cv::mean(alpha, near)[0];
}

// Hair beyond what an opening by a disc leaves of the person, and hair that is partly transparent.
cv::Mat LooseHair(const cv::Mat& truth, const cv::Mat& hair, double faceWidth) {
  const int radius = std::max(1, static_cast<int>(std::lround(0.04 * faceWidth)));
  const cv::Mat disc = cv::getStructuringElement(cv::MORPH_ELLIPSE, {2 * radius + 1, 2 * radius + 1});
  const cv::Mat solid = truth > 0.5;
  cv::Mat compact;
  cv::morphologyEx(solid, compact, cv::MORPH_OPEN, disc);
  const cv::Mat loose = (compact == 0) | (truth < 0.95);
  return loose & (hair > 0.5 * truth) & (truth >= kNothing);
}

double HairLost(const cv::Mat& alpha, const cv::Mat& truth, const cv::Mat& hair, double faceWidth) {
  const cv::Mat loose = LooseHair(truth, hair, faceWidth);
  cv::Mat kept;
  cv::min(alpha, truth, kept);
  const double all = cv::mean(truth, loose)[0];
  return all > 0 ? 1 - cv::mean(kept, loose)[0] / all : 0;
}

// Nearer to the true outline than that, in pixels.
cv::Mat Outline(const cv::Mat& truth, double reach) {
  return (DistanceFrom(truth > 0.5) <= reach) & (DistanceFrom(truth <= 0.5) <= reach);
}

}  // namespace

photo::PixelBox Surroundings(const Scene& scene) {
  const double width = scene.face.Width();
  auto at = [](double place, int size) { return std::clamp(static_cast<int>(std::lround(place)), 0, size); };
  return {at(scene.face.left - 1.1 * width, scene.person.width), at(scene.face.top - 1.25 * width, scene.person.height),
          at(scene.face.right + 1.1 * width, scene.person.width),
          at(scene.face.bottom + 0.9 * width, scene.person.height)};
}

MaskErrors Compare(const Scene& scene, const photo::Mask& mask) {
  const photo::PixelBox box = Surroundings(scene);
  const cv::Mat alpha = Crop(mask, box), truth = Crop(scene, box, kAlpha), hair = Crop(scene, box, kHair);
  const double width = scene.face.Width();
  MaskErrors errors;
  errors.sad = cv::norm(alpha, truth, cv::NORM_L1);
  errors.mse = cv::norm(alpha, truth, cv::NORM_L2SQR) / static_cast<double>(alpha.total());
  errors.gradient = cv::norm(GradientMagnitude(alpha), GradientMagnitude(truth), cv::NORM_L2SQR);
  errors.connectivity = ConnectivityError(alpha, truth);
  errors.left = MeanLeft(alpha, truth, 0.15 * width);
  errors.hairLost = HairLost(alpha, truth, hair, width);
  return errors;
}

photo::Image LayOver(const photo::Image& colours, const photo::Mask& mask, Colour behind) {
  const float under[] = {behind.b, behind.g, behind.r};
  photo::Image laid = colours;
  for (size_t i = 0; i < laid.bgr.size(); ++i) {
    const float share = static_cast<float>(mask.values[i / 3]) / 255;
    const float level = share * static_cast<float>(colours.bgr[i]) + (1 - share) * under[i % 3];
    laid.bgr[i] = static_cast<uint8_t>(static_cast<int>(level + 0.5f));
  }
  return laid;
}

photo::Image TrueOver(const Scene& scene, Colour behind) {
  const float under[] = {behind.b, behind.g, behind.r};
  photo::Image laid(scene.person.width, scene.person.height);
  for (size_t i = 0; i < laid.bgr.size(); ++i) {
    const float* person = scene.person.values.data() + i / 3 * kLayerChannels;
    const float level = person[i % 3] + (1 - person[kAlpha]) * under[i % 3];
    laid.bgr[i] = static_cast<uint8_t>(static_cast<int>(std::clamp(level, 0.0f, 255.0f) + 0.5f));
  }
  return laid;
}

ColourErrors Compare(const Scene& scene, const photo::Mask& mask, const photo::Image& colours) {
  const photo::PixelBox box = Surroundings(scene);
  const cv::Rect part(box.left, box.top, box.Width(), box.Height());
  const cv::Mat band = Outline(Crop(scene, box, kAlpha), 0.25 * scene.face.Width());
  auto error = [&](Colour behind) {
    photo::Image laid = LayOver(colours, mask, behind), truth = TrueOver(scene, behind);
    const cv::Mat a(laid.height, laid.width, CV_8UC3, laid.bgr.data());
    const cv::Mat b(truth.height, truth.width, CV_8UC3, truth.bgr.data());
    cv::Mat difference;
    cv::absdiff(a(part), b(part), difference);
    const cv::Scalar mean = cv::mean(difference, band);
    return (mean[0] + mean[1] + mean[2]) / 3;
  };
  return {error(kStudioBlue), error({255, 255, 255})};
}

}  // namespace qx::bench::hair
