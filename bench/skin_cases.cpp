#include <cmath>
#include <cstdlib>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "beauty/retouch_skin.h"
#include "beauty/skin/skin_layer.h"
#include "beauty/skin/smooth_skin.h"
#include "beauty/spots/median_fill_spots.h"
#include "beauty/spots/spot_mask.h"
#include "bench/cases.h"

namespace qx::bench {
namespace {

constexpr int32_t kWidth = 1200, kHeight = 1525;
constexpr double kStrength = 2;
constexpr double kGoalMilliseconds = 60;

// The crop of a face 500 pixels wide, without meaning: skin with 60 spots on it, features and coarse hair.
struct Portrait {
  Portrait() : image(kHeight, kWidth, CV_8UC3, cv::Scalar(200, 190, 180)), filled(image.size(), CV_8UC3) {
    constexpr double kPi = 3.14159265358979;
    const auto disc = [this](double x, double y, double width, double height, const cv::Scalar& colour) {
      cv::ellipse(image, cv::Point(At(x), At(y) + 100), cv::Size(Length(width), Length(height)), 0, 0, 360, colour, -1);
    };
    cv::theRNG().state = 1;
    cv::Mat hair(image.size() / 4, CV_8UC3);
    cv::randu(hair, 0, 120);
    cv::resize(hair, image, image.size(), 0, 0, cv::INTER_NEAREST);
    disc(0, 90, 40, 60, {120, 150, 200});
    disc(0, 0, 44, 56, {125, 155, 205});
    for (const int side : {-1, 1}) {
      disc(20 * side, -18, 12, 3, {30, 35, 45});
      disc(20 * side, -8, 9, 4, {70, 60, 60});
    }
    disc(0, 30, 16, 5, {100, 90, 190});
    for (int i = 0; i < 60; ++i) {
      disc(std::cos(i * 2.4) * (12 + i % 24), 2 + std::sin(i * 2.4) * (12 + i % 30), 0.6, 0.6, {70, 90, 140});
    }
    cv::Mat noise(image.size(), CV_8UC3);
    cv::randu(noise, 0, 3);
    image += noise;

    const auto point = [](double x, double y) { return Point{At(x), At(y) + 100}; };
    const Point corners[] = {point(-50, -50), point(50, -50), point(-50, 50), point(50, 50)};
    std::copy(std::begin(corners), std::end(corners), landmarks.FaceBox());
    landmarks.Eyes()[0] = point(-20, -8);
    landmarks.Eyes()[1] = point(20, -8);
    Point* attributes = landmarks.Attributes();
    std::fill_n(attributes, kAttributeCount, point(0, 30));
    const DensePoint top[] = {kLeftBrowOuterEnd,  kLeftBrowTopOuter,  kLeftBrowTopMiddle, kLeftBrowTopInner,
                              kLeftBrowInnerEnd,  kRightBrowInnerEnd, kRightBrowTopInner, kRightBrowTopMiddle,
                              kRightBrowTopOuter, kRightBrowOuterEnd};
    for (int i = 0; i < 10; ++i) attributes[top[i]] = point(-36 + 8 * i, -18);
    for (int i = kOutlineLeftEnd; i <= kOutlineRightEnd; ++i) {
      const double angle = (i - kOutlineLeftEnd) * kPi / 20;
      attributes[i] = point(-40 * std::cos(angle), -10 + 60 * std::sin(angle));
    }
    if (BuildLabTables(&tables) != Status::kOk || BuildLevelTable(&tables) != Status::kOk) std::abort();
  }

  // Hundredths of the face's side from the middle, in pixels of the crop.
  static int32_t Length(double hundredths) { return static_cast<int32_t>(std::lround(hundredths * 5)); }
  static int32_t At(double hundredths) { return kWidth / 2 + Length(hundredths); }

  void Fill() {
    SpotMask spots;
    BuildSpotMask(View(), &landmarks, landmarks.Attributes(), &spots);
    MedianFillSpots(&spots, View(), 20, filled.data);
    box = cv::Rect(spots.left, spots.top, spots.right - spots.left, spots.bottom - spots.top);
  }
  void Smooth() {
    SkinLayer layer;
    const Point* eyes = landmarks.Eyes();
    SmoothSkin(&tables, View(), &landmarks, &eyes[0], &eyes[1], &layer);
    BlendSkinLayer(&layer, View(), kStrength, filled.data);
  }
  ImageView View() const { return {image.data, kWidth, kHeight, 3}; }

  cv::Mat image, filled;
  cv::Rect box;  // where spots are looked for
  LandmarkSet landmarks;
  LabTables tables;
};

}  // namespace

void AddSkinCases(Table* table) {
  const auto portrait = std::make_shared<Portrait>();
  portrait->Fill();
  if (cv::norm(portrait->image, portrait->filled) == 0) std::abort();  // no spots, nothing timed
  const auto face = std::make_shared<const cv::Mat>(portrait->image(portrait->box).clone());
  const auto out = std::make_shared<cv::Mat>(face->size(), CV_8UC3);
  const auto pixels = static_cast<double>(face->total());
  const auto retouched = std::make_shared<cv::Mat>();
  const auto stage = [=] {
    portrait->image.copyTo(*retouched);
    RetouchSkin({retouched->data, kWidth, kHeight, 3}, kStrength, &portrait->landmarks, portrait->filled.data);
  };
  table->Add({"skin, 1200 x 1525", 0, stage, "", {}, kGoalMilliseconds});
  table->Add({"skin, spots found and filled", pixels, [=] { portrait->Fill(); }, "OpenCV medianBlur(21)",
              [=] { cv::medianBlur(*face, *out, 21); }, 1.0});
  // The blur reaches 4 pixels of a quarter of the size to each side.
  table->Add({"skin, smoothed", pixels, [=] { portrait->Smooth(); }, "OpenCV bilateralFilter",
              [=] { cv::bilateralFilter(*face, *out, 33, 30, 16); }, 1.0});
}

}  // namespace qx::bench
