#include <cmath>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/checks/brush.h"
#include "bench/checks/defects.h"
#include "photo/base/resize.h"

namespace qx::bench::checks {
namespace {

using photo::Image;
using photo::MeasureId;

// Lengths are meant in the standard's aligned face, whose eyes are that far apart.
constexpr double kAlignedEyes = 113;

Image Blurred(const Portrait& portrait, double sigma) {
  Image picture = portrait.picture;
  const double pixels = sigma * portrait.eyeDistance / kAlignedEyes;
  cv::GaussianBlur(Wrap(picture), Wrap(picture), {}, pixels, pixels, cv::BORDER_REPLICATE);
  return picture;
}

// Sideways. The kernel's ends are fractions of pixels.
Image Moved(const Portrait& portrait, double length) {
  Image picture = portrait.picture;
  const double pixels = length * portrait.eyeDistance / kAlignedEyes;
  const int reach = static_cast<int>(std::ceil(pixels / 2));
  cv::Mat1f kernel(1, 2 * reach + 1);
  for (int i = -reach; i <= reach; ++i) {
    const double from = std::max(i - 0.5, -pixels / 2), to = std::min(i + 0.5, pixels / 2);
    kernel(0, i + reach) = static_cast<float>(std::max(0.0, to - from) / pixels);
  }
  cv::filter2D(Wrap(picture), Wrap(picture), -1, kernel, {-1, -1}, 0, cv::BORDER_REPLICATE);
  return picture;
}

Image Resized(const Image& picture, double scale) {
  const photo::Rectangle all{0, 0, 1.0 * picture.width, 1.0 * picture.height};
  const auto size = [scale](int32_t n) { return std::max(1, static_cast<int32_t>(std::lround(n * scale))); };
  return photo::ResizeLanczos(picture, all, size(picture.width), size(picture.height));
}

// As if the eyes had been that many pixels apart.
Image Enlarged(const Portrait& portrait, double eyes) {
  const Image small = Resized(portrait.picture, std::min(1.0, eyes / portrait.eyeDistance));
  const photo::Rectangle all{0, 0, 1.0 * small.width, 1.0 * small.height};
  return photo::ResizeLanczos(small, all, portrait.picture.width, portrait.picture.height);
}

Image Compressed(Image picture, int quality) {
  std::vector<uint8_t> file;
  cv::imencode(".jpg", Wrap(picture), file, {cv::IMWRITE_JPEG_QUALITY, quality});
  const cv::Mat decoded = cv::imdecode(file, cv::IMREAD_COLOR);
  decoded.copyTo(Wrap(picture));
  return picture;
}

}  // namespace

std::vector<Defect> CameraDefects() {
  std::vector<Defect> defects;
  const auto add = [&defects](const char* name, const std::string& strength, MeasureId own, Expected expected,
                              std::function<Image(const Portrait&)> make) {
    defects.push_back({name, strength, {own}, expected, std::move(make)});
  };
  for (const auto& [sigma, expected] : {std::pair(0.5, Expected::kPass),
                                        {1.5, Expected::kEither},
                                        {2.5, Expected::kReport},
                                        {4.0, Expected::kReport}}) {
    add("blur", cv::format("sigma %.1f of 113", sigma), MeasureId::kSharpness, expected,
        [s = sigma](const Portrait& p) { return Blurred(p, s); });
  }
  for (const auto& [length, expected] :
       {std::pair(3, Expected::kPass), {9, Expected::kReport}, {18, Expected::kReport}}) {
    add("moved while taken", cv::format("%d of 113", length), MeasureId::kSharpness, expected,
        [l = length](const Portrait& p) { return Moved(p, l); });
  }
  for (const auto& [eyes, expected] :
       {std::pair(70, Expected::kPass), {45, Expected::kEither}, {30, Expected::kEither}, {20, Expected::kReport}}) {
    add("enlarged", cv::format("from eyes %d px apart", eyes), MeasureId::kSharpness, expected,
        [e = eyes](const Portrait& p) { return Enlarged(p, e); });
  }
  for (const auto& [eyes, expected] :
       {std::pair(100, Expected::kPass), {70, Expected::kReport}, {20, Expected::kReport}}) {
    add("small", cv::format("eyes %d px apart", eyes), MeasureId::kInterEyeDistance, expected,
        [e = eyes](const Portrait& p) { return Resized(p.picture, std::min(1.0, e / p.eyeDistance)); });
  }
  for (const auto& [quality, expected] : {std::pair(95, Expected::kPass),
                                          {75, Expected::kPass},
                                          {45, Expected::kEither},
                                          {30, Expected::kEither},
                                          {10, Expected::kReport}}) {
    add("JPEG", cv::format("quality %d", quality), MeasureId::kCompressionArtifacts, expected,
        [q = quality](const Portrait& p) { return Compressed(p.picture, q); });
  }
  add("JPEG, then reduced", "quality 10, 0.8", MeasureId::kCompressionArtifacts, Expected::kUnseen,
      [](const Portrait& p) { return Resized(Compressed(p.picture, 10), 0.8); });
  return defects;
}

}  // namespace qx::bench::checks
