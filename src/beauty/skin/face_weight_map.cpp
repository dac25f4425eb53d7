#include "beauty/skin/face_weight_map.h"

#include <algorithm>
#include <cstdlib>

#include "base/buffer.h"
#include "beauty/skin/resize_mask.h"
#include "beauty/skin/skin_box.h"

namespace qx {
namespace {

constexpr double kFaceSide = 30.0;  // pixels of the face's first side, at half size, in the scaled grey image
constexpr uint8_t kFlat = 255;

// A face of a few pixels in a large image would be scaled up to gigabytes.
constexpr uint64_t kMostPixels = 1 << 28;

// How the largest face lies.
struct Pose {
  double scale;
  bool turned;  // its first side is the vertical one
};

Pose FindPose(const Point* corners, int32_t faceCount) {
  int32_t longest = 0;
  bool turned = false;
  for (int32_t f = 0; f < faceCount; ++f, corners += 4) {
    const int32_t side = TruncatedDistance(corners[0], corners[1]);
    if (f > 0 && side <= longest) continue;
    longest = side;
    turned = std::abs(int64_t{corners[1].x} - corners[0].x) < std::abs(int64_t{corners[2].x} - corners[0].x);
  }
  return {kFaceSide / longest, turned};
}

// Grey of the rows that scaling to scaledHeight rows reads; the others are left as they are.
void GreyRows(const ImageView& image, int32_t scaledHeight, uint8_t* grey) {
  const double step = static_cast<double>(image.height) / scaledHeight;
  const auto columns = static_cast<size_t>(image.width);
  int32_t done = -1;
  for (int32_t y = 0; y < scaledHeight; ++y) {
    const BilinearPosition rows = BilinearPosition::At(y, step, image.height);
    for (int32_t row = std::max(rows.first, done + 1); row <= rows.second; ++row) {
      const uint8_t* from = image.Row(row);
      uint8_t* to = grey + static_cast<size_t>(row) * columns;
      for (size_t x = 0; x < columns; ++x) {
        to[x] = static_cast<uint8_t>((from[x * 3 + 1] * 16 + from[x * 3] * 5 + from[x * 3 + 2] * 11) >> 5);
      }
      done = row;
    }
  }
}

// A face's rectangle, a tenth wider on each side, in the scaled image.
SkinBox ScaledBox(const Point* corners, int32_t width, int32_t height, double scale) {
  const auto [minX, maxX] = std::minmax({corners[0].x, corners[1].x, corners[2].x, corners[3].x});
  const auto [minY, maxY] = std::minmax({corners[0].y, corners[1].y, corners[2].y, corners[3].y});
  const int32_t marginX = TruncToInt32((maxX - minX) * 0.1), marginY = TruncToInt32((maxY - minY) * 0.1);
  const auto scaled = [scale](int32_t v) { return TruncToInt32(v * scale); };
  return {scaled(std::max(2 * (minX - marginX), 0)), scaled(std::max(2 * (minY - marginY), 0)),
          scaled(std::min(width, 2 * (maxX + marginX))), scaled(std::min(height, 2 * (maxY + marginY)))};
}

// A plane of bytes as the 3 x 3 operators see it.
struct Plane {
  const uint8_t* bytes;
  size_t stride;

  const uint8_t* Row(int32_t y) const { return bytes + static_cast<size_t>(y) * stride; }
};

uint8_t EdgeWeight(int32_t sum) {
  return static_cast<uint8_t>(std::min((255 - std::min(std::abs(sum), 255)) * 3 / 2, 255));
}

// Calls `value(rows, x)` with the three rows around every pixel that lies `margin` or more inside the box, and writes
// what it answers. The box lies in the plane.
template <typename Value>
void Filter3x3(const Plane& plane, const SkinBox& box, int32_t margin, uint8_t* out, Value value) {
  for (int32_t y = box.top + margin; y < box.bottom - margin; ++y) {
    const uint8_t* rows[3] = {plane.Row(y - 1), plane.Row(y), plane.Row(y + 1)};
    uint8_t* to = out + static_cast<size_t>(y) * plane.stride;
    for (int32_t x = box.left + margin; x < box.right - margin; ++x) to[x] = value(rows, x);
  }
}

void WeighEdges(const Plane& grey, const SkinBox& box, bool turned, uint8_t* out) {
  if (turned) {
    Filter3x3(grey, box, 1, out, [](const uint8_t* const* r, int32_t x) {
      return EdgeWeight(r[0][x - 1] - r[0][x + 1] + 2 * (r[1][x - 1] - r[1][x + 1]) + r[2][x - 1] - r[2][x + 1]);
    });
  } else {
    Filter3x3(grey, box, 1, out, [](const uint8_t* const* r, int32_t x) {
      return EdgeWeight(r[0][x - 1] - r[2][x - 1] + 2 * (r[0][x] - r[2][x]) + r[0][x + 1] - r[2][x + 1]);
    });
  }
}

uint8_t Minimum(const uint8_t* const* r, int32_t x) {
  uint8_t least = 255;
  for (int i = 0; i < 3; ++i) least = std::min({least, r[i][x - 1], r[i][x], r[i][x + 1]});
  return least;
}

uint8_t MeanAboveZero(const uint8_t* const* r, int32_t x) {
  int sum = 0;
  for (int i = 0; i < 3; ++i) sum += r[i][x - 1] + r[i][x] + r[i][x + 1];
  return static_cast<uint8_t>(std::max(1, sum / 9));
}

}  // namespace

Status BuildFaceWeightMap(const ImageView& image, const Point* corners, int32_t faceCount, int32_t outWidth,
                          int32_t outHeight, ByteBuffer* map) {
  const int32_t width = image.width, height = image.height;
  const Pose pose = FindPose(corners, faceCount);
  const int32_t scaledWidth = TruncToInt32(width * pose.scale), scaledHeight = TruncToInt32(height * pose.scale);
  if (image.Empty() || scaledWidth < 1 || scaledHeight < 1 || outWidth < 1 || outHeight < 1) {
    return Status::kBadArgument;
  }
  const uint64_t bytes = ImageBytes(scaledWidth, scaledHeight, 1);
  if (bytes > kMostPixels) return Status::kBadArgument;
  ByteBuffer a, b;
  {
    ByteBuffer grey;
    if (!grey.Allocate(image.Pixels())) return Status::kMemoryShort;
    GreyRows(image, scaledHeight, grey.data());
    b = ResizeMask({grey.data(), width, height, 1}, scaledWidth, scaledHeight);
  }
  if (!b || !a.Allocate(bytes)) return Status::kMemoryShort;
  const auto forEachBox = [&](auto&& work) {
    for (int32_t f = 0; f < faceCount; ++f) {
      work(ClipBox(ScaledBox(corners + 4 * f, width, height, pose.scale), scaledWidth, scaledHeight));
    }
  };
  // Each step reads one buffer and writes the other, what it does not reach being filled beforehand.
  const auto stride = static_cast<size_t>(scaledWidth);
  FillBytes(a.data(), kFlat, bytes);
  forEachBox([&](const SkinBox& box) { WeighEdges({b.data(), stride}, box, pose.turned, a.data()); });
  FillBytes(b.data(), 0, bytes);
  forEachBox([&](const SkinBox& box) { Filter3x3({a.data(), stride}, box, 1, b.data(), Minimum); });
  FillBytes(a.data(), kFlat, bytes);
  forEachBox([&](const SkinBox& box) { Filter3x3({b.data(), stride}, box, 2, a.data(), MeanAboveZero); });
  FillBytes(b.data(), kFlat, bytes);
  forEachBox([&](const SkinBox& box) { Filter3x3({a.data(), stride}, box, 2, b.data(), MeanAboveZero); });
  *map = ResizeMask({b.data(), scaledWidth, scaledHeight, 1}, outWidth, outHeight);
  return *map ? Status::kOk : Status::kMemoryShort;
}

}  // namespace qx
