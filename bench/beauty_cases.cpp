#include <cmath>
#include <cstdlib>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/ximgproc/edge_filter.hpp>
#include <vector>

#include "beauty/detail/boost_detail.h"
#include "beauty/pipeline.h"
#include "beauty/shape/contour_warp.h"
#include "beauty/shape/lens_warp.h"
#include "beauty/skin_tone.h"
#include "bench/cases.h"
#include "reference/plain_beauty.h"

namespace qx::bench {
namespace {

constexpr int32_t kColumns = 1200, kRows = 1525;  // of a crop of one face
constexpr int32_t kOpen = 200;                    // an eye that is not shut

// A crop with the points of a face of the usual size in it.
struct Scene {
  Scene() : image(kRows, kColumns, CV_8UC3), out(kRows, kColumns, CV_8UC3), outMask(kRows, kColumns, CV_8UC1) {
    cv::Mat small(kRows / 25, kColumns / 25, CV_8UC3), noise(kRows, kColumns, CV_8UC3);
    cv::theRNG().state = 2;
    cv::randu(small, 0, 240);
    cv::randu(noise, 0, 16);
    cv::resize(small, image, noise.size(), 0, 0, cv::INTER_CUBIC);
    image += noise;
    mask = cv::Mat::zeros(kRows, kColumns, CV_8UC1);
    cv::ellipse(mask, {600, 700}, {400, 550}, 0, 0, 360, 255, cv::FILLED);
    const auto region = [this](FaceRegion which, int32_t x, int32_t y, int32_t width, int32_t height) {
      const Point points[] = {{x - width / 2, y}, {x + width / 2, y}, {x, y - height / 2}, {x, y + height / 2}};
      std::copy(std::begin(points), std::end(points), set.Region(which));
      set.RegionValue(which) = kOpen;
    };
    region(FaceRegion::kLeftEye, 470, 640, 110, 36);
    region(FaceRegion::kRightEye, 730, 640, 110, 36);
    region(FaceRegion::kMouth, 600, 900, 190, 60);
    const std::pair<DensePoint, Point> outline[] = {{kNoseRoot, {600, 560}},   {kChin, {604, 1080}},
                                                    {kLeftCheek, {330, 760}},  {kLeftJaw, {400, 960}},
                                                    {kRightCheek, {870, 764}}, {kRightOfChin, {800, 962}}};
    for (const auto& [i, p] : outline) set.Attributes()[i] = p;
  }

  ImageView View() const { return {image.data, kColumns, kRows, 3}; }

  cv::Mat image, mask, out, outMask;
  LandmarkSet set;
};

using ScenePointer = std::shared_ptr<Scene>;

// Sizes of the pixels that a stage changes.
cv::Rect Changed(const cv::Mat& before, const cv::Mat& after, double* pixels) {
  cv::Mat difference, any;
  cv::absdiff(before, after, difference);
  cv::cvtColor(difference, any, cv::COLOR_BGR2GRAY);
  *pixels = cv::countNonZero(any);
  return cv::boundingRect(any);
}

void AddTone(const ScenePointer& scene, Table* table) {
  const auto tone = [=] { ApplySkinToneLut(scene->View(), 5, scene->out.data); };
  // OpenCV takes 8-bit L*u*v* from a table of 33 points an axis, too.
  table->Add({"colour lookup", static_cast<double>(scene->image.total()), tone, "OpenCV cvtColor to Luv",
              [=] { cv::cvtColor(scene->image, scene->out, cv::COLOR_BGR2Luv); }, 0, 12});
}

// Maps that move nothing far, as large as the rectangle that a stage visits.
struct Maps {
  explicit Maps(const cv::Rect& box) : x(box.size(), CV_32FC1), y(box.size(), CV_32FC1), out(box.size(), CV_8UC3) {
    for (int i = 0; i < box.height; ++i) {
      for (int j = 0; j < box.width; ++j) {
        x.at<float>(i, j) = static_cast<float>(box.x + j) + 3.3f * std::sin(static_cast<float>(i) / 40);
        y.at<float>(i, j) = static_cast<float>(box.y + i) + 3.3f * std::sin(static_cast<float>(j) / 40);
      }
    }
  }
  cv::Mat x, y, out;
};

std::function<void()> Remap(const ScenePointer& scene, const cv::Rect& box) {
  const auto maps = std::make_shared<Maps>(box);
  return [=] {
    scene->image.copyTo(scene->out);
    cv::remap(scene->image, maps->out, maps->x, maps->y, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
  };
}

void AddLens(const ScenePointer& scene, Table* table) {
  const auto warp = [=] {
    const Point* eye = scene->set.Region(FaceRegion::kLeftEye);
    if (LensWarp(scene->View(), FaceRegion::kLeftEye, eye, kOpen, 1, 2.0, scene->out.data) != Status::kOk) {
      std::abort();
    }
  };
  const double t = 110.0 / 36.0 / 3.0;
  const test::PlainLens lens = {470, 640, static_cast<float>(std::sqrt(((t - 1) * 2 + 1) * t) * 2.0 * 0.6), 165, true};
  const double disc = 3.14159265 * 165 * 165;
  const auto plain = [=] { test::PlainLensWarp(scene->image.data, kColumns, kRows, lens, scene->out.data); };
  table->Add({"lens warp of an eye", disc, warp, "functions at every pixel", plain, 0.2, 0});
  const cv::Rect box(470 - 165, 640 - 165, 331, 331);
  table->Add({"lens warp, whole call", disc, warp, "OpenCV remap and a copy", Remap(scene, box), 0, 0});
}

void AddContour(const ScenePointer& scene, Table* table) {
  const auto warp = [=] {
    if (ContourWarp(scene->View(), scene->mask.data, scene->set.Attributes(), 4, scene->out.data,
                    scene->outMask.data) != Status::kOk) {
      std::abort();
    }
  };
  warp();
  double pixels = 0;
  const cv::Rect box = Changed(scene->image, scene->out, &pixels);
  table->Add({"contour warp with its mask", pixels, warp, "OpenCV remap and a copy", Remap(scene, box), 0, 25});
}

void AddDetail(const ScenePointer& scene, Table* table) {
  const cv::Rect box(400, 570, 136, 136);  // around an eye
  const auto patch = std::make_shared<cv::Mat>(scene->image(box).clone());
  const auto boosted = std::make_shared<cv::Mat>(patch->size(), CV_8UC3);
  const auto filtered = std::make_shared<cv::Mat>();
  const auto guided = [=] {
    cv::Mat grey;
    cv::cvtColor(*patch, grey, cv::COLOR_BGR2GRAY);
    cv::ximgproc::guidedFilter(grey, *patch, *filtered, 8, 0.04 * 255 * 255);
  };
  table->Add({"detail boost around an eye", static_cast<double>(box.area()),
              [=] {
                BoostDetail({patch->data, patch->cols, patch->rows, 3}, boosted->data);
              },
              "OpenCV guidedFilter", guided, 1.0, 0});
}

}  // namespace

void AddBeautyCases(Table* table) {
  const auto scene = std::make_shared<Scene>();
  AddTone(scene, table);
  AddLens(scene, table);
  AddContour(scene, table);
  AddDetail(scene, table);
  const BeautyParams params = {{2, 2, 1, 4, 0, 1, 3}};
  table->Add({"all stages but skin",
              0,
              [=] { RunBeautyPipeline(scene->View(), scene->set, params, scene->outMask.data, scene->out.data); },
              "",
              {},
              0,
              0});
}

}  // namespace qx::bench
