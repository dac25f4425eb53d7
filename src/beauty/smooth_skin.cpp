#include "beauty/smooth_skin.h"

#include <cstring>

#include "beauty/face_weight_map.h"
#include "beauty/masked_gaussian.h"
#include "beauty/resize_mask.h"
#include "beauty/skin_box.h"
#include "beauty/skin_colour_mask.h"
#include "beauty/upsample_layer.h"

namespace qx {
namespace {

constexpr int32_t kTooSmall = 50;
constexpr int kFaces = 1;

int32_t ClampCoordinate(int32_t v, int32_t extent) {
  if (v < 0) return 0;
  return v >= extent ? WrapToInt16(extent - 1) : v;
}

// Pixels of blur at a quarter of the size, by the longest first side of the faces.
double SmoothingRadius(const Point* corners, int32_t faceCount, double scale) {
  int32_t longest = 0;
  for (int32_t f = 0; f < faceCount; ++f) {
    longest = std::max(longest, TruncatedDistance(corners[4 * f], corners[4 * f + 1]));
  }
  return std::clamp(longest / 50, 2, 8) * scale;
}

// Every fourth pixel of every fourth row.
void SampleImage(const uint8_t* bgr, int32_t width, int32_t smallWidth, int32_t smallHeight, uint8_t* out) {
  for (int32_t y = 0; y < smallHeight; ++y) {
    const uint8_t* row = bgr + static_cast<size_t>(y) * 4 * static_cast<size_t>(width) * 3;
    for (int32_t x = 0; x < smallWidth; ++x, row += 12, out += 3) std::memcpy(out, row, 3);
  }
}

// Every second value of every second row of the mask at half size, where that is less than the one that is there.
void CapBySkin(const uint8_t* halfMask, int32_t halfWidth, int32_t smallWidth, int32_t smallHeight, uint8_t* mask) {
  for (int32_t y = 0; y < smallHeight; ++y) {
    const uint8_t* row = halfMask + static_cast<size_t>(y) * 2 * static_cast<size_t>(halfWidth);
    for (int32_t x = 0; x < smallWidth; ++x, row += 2, ++mask) *mask = std::min(*mask, *row);
  }
}

// The skin mask at half size and the box around it. False when a step fails.
struct SkinMask {
  SkinBox box;
  ByteBuffer half;
  ByteBuffer weights;  // the feature map at a quarter of the size, capped by the mask once it is complete

  bool Build(const LabTables& tables, const uint8_t* bgr, int32_t width, int32_t height, const Point* halfCorners,
             const Point* eye0, const Point* eye1) {
    return half.Allocate(ImageBytes(width / 2, height / 2, 1)) &&
           BuildSkinColourMask(tables, bgr, width, height, halfCorners, kFaces, eye0, eye1, &box, half.data()) == 0 &&
           BuildFaceWeightMap(bgr, width, height, halfCorners, kFaces, width / 4, height / 4, &weights) == 0;
  }
};

// 0, or -3 without the layer's mask.
int SmoothLayer(const LabTables& tables, const uint8_t* bgr, int32_t width, int32_t height, double radius,
                SkinMask* skin, SkinLayer* layer) {
  const int32_t smallWidth = width / 4, smallHeight = height / 4;  // 1 or more, as there is a feature map
  ByteBuffer small;
  if (!small.Allocate(ImageBytes(smallWidth, smallHeight, 3))) return -3;
  SampleImage(bgr, width, smallWidth, smallHeight, small.data());
  CapBySkin(skin->half.data(), width / 2, smallWidth, smallHeight, skin->weights.data());
  const int status =
      MaskedGaussian(tables, small.data(), smallWidth, smallHeight, radius, &skin->box, kFaces, skin->weights.data());
  if (status != 0) return status;
  UpsampleLayer(small.data(), width, height, layer->image.data());
  layer->mask = ResizeMask(skin->weights.data(), smallWidth, smallHeight, width, height);
  return layer->mask ? 0 : -3;
}

}  // namespace

bool SmoothSkin(const LabTables* tables, const uint8_t* bgr, int32_t width, int32_t height, LandmarkSet* landmarks,
                const Point* eye0, const Point* eye1, SkinLayer* layer) {
  if (tables == nullptr || bgr == nullptr || width < 0 || height < 0 || eye0 == nullptr || eye1 == nullptr) {
    return false;
  }
  Point* box = landmarks->FaceBox();
  if (TruncatedDistance(box[0], box[1]) <= kTooSmall) return true;
  Point corners[kCornerCount], halfCorners[kCornerCount];
  for (int i = 0; i < kCornerCount; ++i) {
    box[i] = {ClampCoordinate(box[i].x, width), ClampCoordinate(box[i].y, height)};
    corners[i] = box[i];
    halfCorners[i] = {WrapToInt16(corners[i].x / 2), WrapToInt16(corners[i].y / 2)};
  }
  SkinMask skin;
  if (!skin.Build(*tables, bgr, width, height, halfCorners, eye0, eye1)) return true;
  if (!layer->image.Allocate(ImageBytes(width, height, 3))) return true;
  SmoothLayer(*tables, bgr, width, height, SmoothingRadius(corners, kFaces, 0.5), &skin, layer);
  return true;
}

}  // namespace qx
