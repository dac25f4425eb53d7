#include "photo/person/head_crop.h"

#include <algorithm>
#include <cmath>

#include "photo/base/raster.h"
#include "photo/person/hair.h"

namespace qx::photo {
namespace {

constexpr double kLeastFaceWidth = 24;  // pixels
constexpr double kMostPixels = 5e5;
constexpr double kAside = 0.9, kAbove = 1.1, kBelow = 0.9;  // what the crop shows beyond the faces, in face widths
constexpr double kHairEnds = 0.55, kBodyBegins = 0.85;      // in face widths below the chin
constexpr double kReach = 0.5;                              // of the distances, in face widths

double Widest(const std::vector<FaceBox>& faces) {
  double width = 0;
  for (const FaceBox& face : faces) width = std::max(width, face.Width());
  return width;
}

// Where faces lie in a picture of the window, of that many pixels, from left to right.
std::vector<FaceBox> Seen(const std::vector<FaceBox>& faces, const Rectangle& window, int width, int height) {
  const double x = width / window.width, y = height / window.height;
  std::vector<FaceBox> seen;
  for (const FaceBox& face : faces) {
    seen.push_back({(face.left - window.left) * x, (face.top - window.top) * y, (face.right - window.left) * x,
                    (face.bottom - window.top) * y});
  }
  std::stable_sort(seen.begin(), seen.end(),
                   [](const FaceBox& a, const FaceBox& b) { return a.left + a.right < b.left + b.right; });
  return seen;
}

PixelBox BoxWithin(const Rectangle& wanted, const Image& picture) {
  const auto clip = [](double v, int32_t size) { return static_cast<int32_t>(std::clamp(v, 0.0, 1.0 * size)); };
  return {clip(std::floor(wanted.left), picture.width), clip(std::floor(wanted.top), picture.height),
          clip(std::ceil(wanted.Right()), picture.width), clip(std::ceil(wanted.Bottom()), picture.height)};
}

}  // namespace

Rectangle HeadSurroundings(const std::vector<FaceBox>& persons) {
  const double faceWidth = Widest(persons);
  double left = 1e9, top = 1e9, right = -1e9, bottom = -1e9;
  for (const FaceBox& face : persons) {
    left = std::min(left, face.left - kAside * faceWidth);
    top = std::min(top, face.top - kAbove * faceWidth);
    right = std::max(right, face.right + kAside * faceWidth);
    bottom = std::max(bottom, face.bottom + kBelow * faceWidth);
  }
  return {left, top, right - left, bottom - top};
}

std::optional<HeadCrop> CropHeads(const PersonMap& map, const Image& picture, const Rectangle& window,
                                  const std::vector<FaceBox>& faces, const std::vector<FaceBox>& others) {
  const std::vector<FaceBox> inPicture = Seen(faces, window, picture.width, picture.height);
  const double faceWidth = Widest(inPicture);
  if (!(faceWidth >= kLeastFaceWidth)) return std::nullopt;
  const PixelBox box = BoxWithin(HeadSurroundings(inPicture), picture);
  if (box.Width() <= 0 || box.Height() <= 0) return std::nullopt;
  const double pixels = static_cast<double>(box.Width()) * box.Height();
  const double scale = std::min({1.0, kHairFaceWidth / faceWidth, std::sqrt(kMostPixels / pixels)});
  const int width = std::max(1, static_cast<int>(std::lround(box.Width() * scale)));
  const int height = std::max(1, static_cast<int>(std::lround(box.Height() * scale)));
  HeadCrop crop;
  const double x = window.width / picture.width, y = window.height / picture.height;
  crop.window = {window.left + box.left * x, window.top + box.top * y, box.Width() * x, box.Height() * y};
  crop.colours = ResamplePart(picture, box, width, height);
  crop.mask = RefineMask(map, crop.colours, crop.window);
  crop.faces = Seen(faces, crop.window, width, height);
  crop.others = Seen(others, crop.window, width, height);
  crop.faceWidth = Widest(crop.faces);
  crop.depth = SignedDistance(AtLeastHalf(crop.mask, {0, 0, width, height}), kReach * crop.faceWidth + 1);
  return crop;
}

void HairZone(const std::vector<FaceBox>& faces, double faceWidth, int y, int width, float* zone) {
  int x = 0;
  for (size_t i = 0; i < faces.size(); ++i) {
    // A pixel belongs to the face that it is nearest to, left and right.
    int end = width;
    if (i + 1 < faces.size()) {
      const double middle = (faces[i].left + faces[i].right + faces[i + 1].left + faces[i + 1].right) / 4;
      end = static_cast<int>(std::clamp(middle, static_cast<double>(x), static_cast<double>(width)));
    }
    const double below = (y + 0.5 - faces[i].bottom) / faceWidth;
    const double share = std::clamp((kBodyBegins - below) / (kBodyBegins - kHairEnds), 0.0, 1.0);
    std::fill(zone + x, zone + end, static_cast<float>(share));
    x = end;
  }
}

}  // namespace qx::photo
