#include "photo/person/head_crop.h"

#include <algorithm>
#include <cmath>

#include "photo/base/raster.h"

namespace qx::photo {
namespace {

constexpr double kMostFaceWidth = 250, kLeastFaceWidth = 24;  // pixels
constexpr double kMostPixels = 6e5;
constexpr double kAside = 1.1, kAbove = 1.25, kBelow = 0.9;  // what the crop shows beyond the faces, in face widths
constexpr double kHairEnds = 0.55, kBodyBegins = 0.85;       // in face widths below the chin
constexpr double kReach = 0.5;                               // of the distances, in face widths

PixelBox BoxAround(const Image& picture, const std::vector<FaceBox>& faces, double faceWidth) {
  double left = 1e9, top = 1e9, right = -1e9, bottom = -1e9;
  for (const FaceBox& face : faces) {
    left = std::min(left, face.left - kAside * faceWidth);
    top = std::min(top, face.top - kAbove * faceWidth);
    right = std::max(right, face.right + kAside * faceWidth);
    bottom = std::max(bottom, face.bottom + kBelow * faceWidth);
  }
  const auto clip = [](double v, int32_t size) { return static_cast<int32_t>(std::clamp(v, 0.0, 1.0 * size)); };
  return {clip(std::floor(left), picture.width), clip(std::floor(top), picture.height),
          clip(std::ceil(right), picture.width), clip(std::ceil(bottom), picture.height)};
}

}  // namespace

bool CropHeads(const Image& picture, const Mask& mask, const std::vector<FaceBox>& faces, HeadCrop* crop) {
  double faceWidth = 0;
  for (const FaceBox& face : faces) faceWidth = std::max(faceWidth, face.Width());
  if (!(faceWidth >= kLeastFaceWidth)) return false;
  const PixelBox box = BoxAround(picture, faces, faceWidth);
  if (box.Width() <= 0 || box.Height() <= 0) return false;
  const double pixels = static_cast<double>(box.Width()) * box.Height();
  const double scale = std::min({1.0, kMostFaceWidth / faceWidth, std::sqrt(kMostPixels / pixels)});
  const int width = std::max(1, static_cast<int>(std::lround(box.Width() * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(box.Height() * scale)));
  crop->box = box;
  crop->colours = ResamplePart(picture, box, width, height);
  crop->mask = ResamplePart(mask, box, width, height);
  const double toX = static_cast<double>(width) / box.Width(), toY = static_cast<double>(height) / box.Height();
  for (const FaceBox& face : faces) {
    crop->faces.push_back({(face.left - box.left) * toX, (face.top - box.top) * toY, (face.right - box.left) * toX,
                           (face.bottom - box.top) * toY});
  }
  crop->faceWidth = faceWidth * toX;
  crop->depth = SignedDistance(AtLeastHalf(crop->mask, {0, 0, width, height}), kReach * crop->faceWidth + 1);
  return true;
}

void HeadCrop::HairZone(int y, float* zone) const {
  int x = 0;
  for (size_t i = 0; i < faces.size(); ++i) {
    // A pixel belongs to the face that it is nearest to, left and right.
    int end = mask.width;
    if (i + 1 < faces.size()) {
      const double middle = (faces[i].left + faces[i].right + faces[i + 1].left + faces[i + 1].right) / 4;
      end = static_cast<int>(std::clamp(middle, static_cast<double>(x), static_cast<double>(mask.width)));
    }
    const double below = (y + 0.5 - faces[i].bottom) / faceWidth;
    const double share = std::clamp((kBodyBegins - below) / (kBodyBegins - kHairEnds), 0.0, 1.0);
    std::fill(zone + x, zone + end, static_cast<float>(share));
    x = end;
  }
}

}  // namespace qx::photo
