#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/cases.h"
#include "crop/resample.h"
#include "face/grey_convert.h"

namespace qx::bench {
namespace {

// A photograph of 12 megapixels without meaning: smooth, with noise.
std::shared_ptr<const cv::Mat> MakePhotograph() {
  cv::Mat small(75, 100, CV_8UC3), photograph, noise(3000, 4000, CV_8UC3);
  cv::theRNG().state = 1;
  cv::randu(small, 0, 240);
  cv::randu(noise, 0, 16);
  cv::resize(small, photograph, noise.size(), 0, 0, cv::INTER_CUBIC);
  return std::make_shared<const cv::Mat>(photograph + noise);
}

using Photograph = std::shared_ptr<const cv::Mat>;

void AddGrey(const std::string& name, const cv::Mat& bgr, Table* table) {
  const auto source = std::make_shared<const cv::Mat>(bgr.clone());
  const auto grey = std::make_shared<cv::Mat>(bgr.size(), CV_8UC1);
  table->Add({name, static_cast<double>(bgr.total()),
              [=] {
                GreyConvert({source->data, source->cols, source->rows, 3}, grey->data);
              },
              "OpenCV cvtColor", [=] { cv::cvtColor(*source, *grey, cv::COLOR_BGR2GRAY); }, 1.0});
}

// An upright crop of width x height: its pixel (j, i) lies at x = (j cos + i sin) scale + x0, y = (i cos - j sin) scale
// + y0 in the photograph.
struct Placement {
  int32_t width, height;
  double scale, cos, sin, x0, y0;
};

struct Crop {
  explicit Crop(const Placement& p)
      : image(static_cast<size_t>(p.width * p.height * 3)), mask(static_cast<size_t>(p.width * p.height)) {}
  std::vector<uint8_t> image, mask;
};

void Render(const cv::Mat& photograph, const Placement& p, Crop* crop) {
  const ImageView view = {photograph.data, photograph.cols, photograph.rows, 3};
  const auto along = [&p](double turn, double origin) {
    return [=](int32_t k) { return (k * p.scale) * turn + origin; };
  };
  CropSampling sampling;
  sampling.turned = p.cos == 0;
  const bool built = sampling.turned ? sampling.columns.Build(p.width, view.height, along(-p.sin, p.y0)) &&
                                           sampling.rows.Build(p.height, view.width, along(p.sin, p.x0))
                                     : sampling.columns.Build(p.width, view.width, along(p.cos, p.x0)) &&
                                           sampling.rows.Build(p.height, view.height, along(p.cos, p.y0));
  if (!built) std::abort();
  ResampleCrop(view, sampling, crop->image.data(), crop->mask.data());
}

double Pixels(const Placement& p) {
  return static_cast<double>(p.width) * p.height;
}

void AddCopy(const std::string& name, const Photograph& photograph, const Placement& p, double goal, Table* table) {
  const auto crop = std::make_shared<Crop>(p);
  const auto copyRows = [=] {
    const size_t stride = static_cast<size_t>(p.width) * 3;
    for (int i = 0; i < p.height; ++i) {
      std::memcpy(crop->image.data() + static_cast<size_t>(i) * stride, photograph->ptr(1000 + i, 1500), stride);
    }
  };
  table->Add({name, Pixels(p), [=] { Render(*photograph, p, crop.get()); }, "memcpy of as many rows", copyRows, goal});
}

void AddScaled(const std::string& name, const Photograph& photograph, const Placement& p, Table* table) {
  const auto crop = std::make_shared<Crop>(p);
  const auto warped = std::make_shared<cv::Mat>(p.height, p.width, CV_8UC3);
  const cv::Mat matrix = (cv::Mat_<double>(2, 3) << p.cos * p.scale, p.sin * p.scale, p.x0,  //
                          -p.sin * p.scale, p.cos * p.scale, p.y0);
  const auto warp = [=] {
    cv::warpAffine(*photograph, *warped, matrix, warped->size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                   cv::BORDER_CONSTANT, cv::Scalar::all(255));
  };
  table->Add({name, Pixels(p), [=] { Render(*photograph, p, crop.get()); }, "OpenCV warpAffine", warp, 1.0});
}

}  // namespace

void AddKernelCases(Table* table) {
  const Photograph photograph = MakePhotograph();
  AddGrey("grey, 640 x 480", (*photograph)(cv::Rect(500, 500, 640, 480)), table);
  AddGrey("grey, 4000 x 3000", *photograph, table);
  AddCopy("crop, source scale, upright", photograph, {960, 1220, 1, 1, 0, 1500, 1000}, 1.5, table);
  AddCopy("crop, source scale, half turn", photograph, {960, 1220, 1, -1, 0, 2800, 2600}, 1.5, table);
  AddCopy("crop, source scale, quarter turn", photograph, {960, 1220, 1, 0, 1, 1500, 2600}, 1.5, table);
  AddScaled("crop, scale 1, between pixels", photograph, {960, 1220, 1, 1, 0, 1500.5, 1000.3}, table);
  AddScaled("crop, scale 1.2, upright", photograph, {800, 1017, 1.2, 1, 0, 1500, 1000}, table);
  AddScaled("crop, scale 1.25, upright", photograph, {800, 1017, 1.25, 1, 0, 1500, 1000}, table);
  AddScaled("crop, scale 1.2, half turn", photograph, {800, 1017, 1.2, -1, 0, 2800, 2600}, table);
  AddScaled("crop, scale 1.2, quarter turn", photograph, {800, 1017, 1.2, 0, 1, 1500, 2600}, table);
  AddScaled("crop, scale 2.5, upright", photograph, {800, 1017, 2.5, 1, 0, 1500, 100}, table);
  AddScaled("crop, scale 2.5, quarter turn", photograph, {800, 1017, 2.5, 0, 1, 1000, 2600}, table);
}

}  // namespace qx::bench
