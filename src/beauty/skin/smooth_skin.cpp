#include "beauty/skin/smooth_skin.h"

#include <cstring>

#include "beauty/skin/face_weight_map.h"
#include "beauty/skin/masked_gaussian.h"
#include "beauty/skin/resize_mask.h"
#include "beauty/skin/skin_box.h"
#include "beauty/skin/skin_colour_mask.h"

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
void SampleImage(const ImageView& image, const MutableImage& small) {
  uint8_t* out = small.pixels;
  for (int32_t y = 0; y < small.height; ++y) {
    const uint8_t* pixel = image.Row(y * 4);
    for (int32_t x = 0; x < small.width; ++x, pixel += 12, out += 3) std::memcpy(out, pixel, 3);
  }
}

// Every second value of every second row of the mask at half size, where that is less than the one that is there.
void CapBySkin(const ImageView& half, const MutableImage& mask) {
  uint8_t* value = mask.pixels;
  for (int32_t y = 0; y < mask.height; ++y) {
    const uint8_t* skin = half.Row(y * 2);
    for (int32_t x = 0; x < mask.width; ++x, skin += 2, ++value) *value = std::min(*value, *skin);
  }
}

// The skin mask at half size and the box around it.
struct SkinMask {
  SkinBox box;
  ByteBuffer half;
  ByteBuffer weights;  // the feature map at a quarter of the size, capped by the mask once it is complete

  // False when a step fails.
  bool Build(const LabTables& tables, const ImageView& image, const Point* halfCorners, const Point* eye0,
             const Point* eye1) {
    return half.Allocate(ImageBytes(image.width / 2, image.height / 2, 1)) &&
           BuildSkinColourMask(tables, image, halfCorners, kFaces, eye0, eye1, &box, half.data()) == Status::kOk &&
           BuildFaceWeightMap(image, halfCorners, kFaces, image.width / 4, image.height / 4, &weights) == Status::kOk;
  }
};

// Leaves the layer without its mask when memory is short.
void SmoothLayer(const LabTables& tables, const ImageView& image, double radius, SkinMask* skin, SkinLayer* layer) {
  const int32_t width = image.width / 4, height = image.height / 4;  // 1 or more, as there is a feature map
  ByteBuffer small;
  if (!small.Allocate(ImageBytes(width, height, 3))) return;
  const MutableImage sampled = {small.data(), width, height, 3}, weights = {skin->weights.data(), width, height, 1};
  SampleImage(image, sampled);
  CapBySkin({skin->half.data(), image.width / 2, image.height / 2, 1}, weights);
  if (MaskedGaussian(tables, sampled, radius, &skin->box, kFaces, weights.pixels) != Status::kOk) return;
  UpsampleLayer(small.data(), {layer->image.data(), image.width, image.height, 3});
  layer->mask = ResizeMask(weights, image.width, image.height);
}

}  // namespace

Status SmoothSkin(const LabTables* tables, const ImageView& image, LandmarkSet* landmarks, const Point* eye0,
                  const Point* eye1, SkinLayer* layer) {
  const bool noImage = image.pixels == nullptr || image.width < 0 || image.height < 0;
  if (tables == nullptr || noImage || eye0 == nullptr || eye1 == nullptr) return Status::kBadArgument;
  Point* box = landmarks->FaceBox();
  if (TruncatedDistance(box[0], box[1]) <= kTooSmall) return Status::kOk;
  Point corners[kCornerCount], halfCorners[kCornerCount];
  for (int i = 0; i < kCornerCount; ++i) {
    box[i] = {ClampCoordinate(box[i].x, image.width), ClampCoordinate(box[i].y, image.height)};
    corners[i] = box[i];
    halfCorners[i] = {WrapToInt16(corners[i].x / 2), WrapToInt16(corners[i].y / 2)};
  }
  SkinMask skin;
  if (!skin.Build(*tables, image, halfCorners, eye0, eye1)) return Status::kOk;
  if (!layer->image.Allocate(image.Bytes())) return Status::kOk;
  SmoothLayer(*tables, image, SmoothingRadius(corners, kFaces, 0.5), &skin, layer);
  return Status::kOk;
}

}  // namespace qx
