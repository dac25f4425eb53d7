// The adjustments of a finished photograph of 1000 x 1300, beside what OpenCV takes for a change of the same kind.
#include <algorithm>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <random>

#include "bench/cases.h"
#include "photo/render/adjust.h"

namespace qx::bench {
namespace {

constexpr int32_t kWidth = 1000, kHeight = 1300;

// Shades that run into each other, with noise that the sharpening takes for detail in places.
photo::Image MakePhotograph() {
  photo::Image image(kWidth, kHeight);
  std::mt19937 random(1);
  for (int32_t y = 0; y < kHeight; ++y) {
    for (int32_t x = 0; x < kWidth; ++x) {
      for (int32_t c = 0; c < 3; ++c) {
        const auto noise = static_cast<int32_t>(random() >> 29);
        image.At(x, y)[c] = static_cast<uint8_t>(60 + (x * 7 + y * 3) / 40 % 150 + 15 * c + noise);
      }
    }
  }
  return image;
}

}  // namespace

void AddAdjustCases(Table* table) {
  constexpr double kPixels = 1.0 * kWidth * kHeight;
  const auto photograph = std::make_shared<const photo::Image>(MakePhotograph());
  const auto work = std::make_shared<photo::Image>(*photograph);
  const auto theirs = std::make_shared<cv::Mat>(kHeight, kWidth, CV_8UC3);
  const auto other = std::make_shared<cv::Mat>(kHeight, kWidth, CV_8UC3);
  std::copy(photograph->bgr.begin(), photograph->bgr.end(), theirs->data);
  const photo::Adjustment colours{2, 3, 4, 2, -1, 0, false}, sharpness{0, 0, 0, 0, 0, 5, false};
  const auto adjust = [=](const photo::Adjustment& adjustment) {
    std::copy(photograph->bgr.begin(), photograph->bgr.end(), work->bgr.begin());
    photo::Adjust(adjustment, {}, work.get());
  };
  table->Add({"adjustment, colours", kPixels, [=] { adjust(colours); }, "OpenCV, to Lab and back",
              [=] {
                cv::cvtColor(*theirs, *other, cv::COLOR_BGR2Lab);
                cv::cvtColor(*other, *other, cv::COLOR_Lab2BGR);
              },
              0.6});
  table->Add({"adjustment, sharpness", kPixels, [=] { adjust(sharpness); }, "OpenCV, Gaussian and weighted sum",
              [=] {
                cv::GaussianBlur(*theirs, *other, {5, 5}, 1);
                cv::addWeighted(*theirs, 1.75, *other, -0.75, 0, *other);
              },
              2});
}

}  // namespace qx::bench
