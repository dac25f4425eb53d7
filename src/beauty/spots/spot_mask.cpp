#include "beauty/spots/spot_mask.h"

#include <algorithm>
#include <cstring>

#include "beauty/spots/face_outline.h"
#include "beauty/spots/feature_spots.h"
#include "beauty/spots/spot_edges.h"

namespace qx {
namespace {

constexpr int32_t kDark = 60;  // hair and pupils: no block begins there

// The detected face inside the image. The last column and row are left out.
Window FaceWindow(const Point* corners, int32_t width, int32_t height) {
  const auto [minX, maxX] = std::minmax({corners[0].x, corners[1].x, corners[2].x, corners[3].x});
  const auto [minY, maxY] = std::minmax({corners[0].y, corners[1].y, corners[2].y, corners[3].y});
  return {std::clamp(minX, 0, width - 1), std::clamp(minY, 0, height - 1), std::clamp(maxX, 0, width - 1),
          std::clamp(maxY, 0, height - 1)};
}

void SetBounds(const Window& face, int32_t width, int32_t height, SpotMask* spots) {
  const int64_t faceWidth = face.right - face.left, faceHeight = face.bottom - face.top;
  spots->top = static_cast<int32_t>(std::max<int64_t>(face.top - faceHeight / 4, 0));
  spots->bottom = static_cast<int32_t>(std::min<int64_t>(height, face.top + 5 * faceHeight / 4));
  spots->left = static_cast<int32_t>(std::max<int64_t>(face.left - faceWidth / 10, 0));
  spots->right = static_cast<int32_t>(std::min<int64_t>(width, face.left + 11 * faceWidth / 10));
}

// Turns each byte of a plane into the union of `count` bytes, every second one from it on, to the right or downward.
// What lies outside the plane counts as 0.
void UniteAlongRows(int32_t count, WindowPlane* plane) {
  const auto width = static_cast<int32_t>(plane->window.Width());
  for (int32_t y = plane->window.top; y < plane->window.bottom; ++y) {
    uint8_t* row = plane->Row(y);
    for (int32_t have = 1; have < count;) {
      const int32_t step = std::min(have, count - have);
      for (int32_t x = 0; x + 2 * step < width; ++x) row[x] = static_cast<uint8_t>(row[x] | row[x + 2 * step]);
      have += step;
    }
  }
}
void UniteAlongColumns(int32_t count, WindowPlane* plane) {
  const size_t width = plane->window.Width();
  for (int32_t have = 1; have < count;) {
    const int32_t step = std::min(have, count - have);
    for (int32_t y = plane->window.top; y + 2 * step < plane->window.bottom; ++y) {
      uint8_t* row = plane->Row(y);
      const uint8_t* other = plane->Row(y + 2 * step);
      for (size_t x = 0; x < width; ++x) row[x] = static_cast<uint8_t>(row[x] | other[x]);
    }
    have += step;
  }
}

// Square blocks whose border, looked at in every second pixel, has no edge on it.
class ClosedBlocks {
 public:
  // side: of the blocks, without the border. False when memory is short.
  bool Prepare(const WindowPlane& edges, int32_t side) {
    side_ = side;
    if (!along_.Allocate(edges.window) || !down_.Allocate(edges.window)) return false;
    const size_t bytes = edges.window.Width() * edges.window.Height();
    std::memcpy(along_.bytes.data(), edges.bytes.data(), bytes);
    std::memcpy(down_.bytes.data(), edges.bytes.data(), bytes);
    const int32_t probes = (side + 3) >> 1;
    UniteAlongRows(probes, &along_);
    UniteAlongColumns(probes, &down_);
    return true;
  }

  // The block whose first pixel is (x, y), which is not on the rim of the plane. Border pixels outside the plane are
  // outside the image as well: they count as its own rim, which has no edges.
  bool IsClosed(int32_t x, int32_t y) const {
    const Window& w = along_.window;
    const int32_t farX = x + side_ + 1, farY = y + side_ + 1;
    if ((along_.At(x - 1, y - 1) | down_.At(x - 1, y - 1)) != 0) return false;
    if (farY < w.bottom && along_.At(x - 1, farY) != 0) return false;
    return farX >= w.right || down_.At(farX, y - 1) == 0;
  }

 private:
  int32_t side_ = 0;
  WindowPlane along_, down_;  // the probes to the right of a pixel, and below it, united
};

// Copies the edges of every block that begins on a bright pixel inside the outline and is closed.
class BlockMarker {
 public:
  BlockMarker(const SpotEdges& edges, const FaceOutline& outline, int32_t side, int32_t width, SpotMask* spots)
      : edges_(edges), outline_(outline), side_(side), width_(width), spots_(*spots) {}

  // False when memory is short.
  bool Run() {
    const Window& w = edges_.edges.window;
    if (!blocks_.Prepare(edges_.edges, side_) || !inside_.Allocate(w.Width()) || !begun_.Allocate(w.Width())) {
      return false;
    }
    std::fill_n(begun_.data(), w.Width(), -side_);
    for (int32_t y = spots_.top + 1; y < w.bottom; ++y) MarkRow(y);
    return true;
  }

 private:
  // Blocks overlap, so a row keeps, for each column, the last row in which a block above it or on it began.
  void MarkRow(int32_t y) {
    const Window& w = edges_.edges.window;
    const bool begins = y < spots_.bottom - 1;
    if (begins) outline_.FillRow(y, w.left, static_cast<int32_t>(w.Width()), inside_.data());
    const uint8_t* grey = edges_.grey.Row(y);
    const uint8_t* edge = edges_.edges.Row(y);
    uint8_t* mask = spots_.mask.data() + static_cast<size_t>(y) * static_cast<size_t>(width_);
    int32_t covered = 0;  // columns from here on that a block of this row covers
    for (int32_t x = spots_.left + 1; x < w.right; ++x) {
      const auto column = static_cast<size_t>(x - w.left);
      if (begins && x < spots_.right - 1 && inside_[column] != 0 && grey[column] > kDark && blocks_.IsClosed(x, y)) {
        covered = side_;
      }
      if (covered > 0) {
        --covered;
        begun_[column] = y;
      }
      if (y - begun_[column] < side_) mask[x] = edge[column];
    }
  }

  const SpotEdges& edges_;
  const FaceOutline& outline_;
  int32_t side_, width_;
  SpotMask& spots_;
  ClosedBlocks blocks_;
  ByteBuffer inside_;
  Buffer<int32_t> begun_;
};

Status MarkSpots(const ImageView& image, const Window& face, const Point* points, SpotMask* spots) {
  const auto side = static_cast<int32_t>(std::min(face.Width(), face.Height()) / 8);
  if (side == 0) return Status::kOk;  // blocks would be empty
  const auto reach = [side](int32_t end, int32_t extent) {
    return static_cast<int32_t>(std::min(int64_t{end} + side, int64_t{extent}));
  };
  const Window wanted = {spots->left, spots->top, reach(spots->right, image.width), reach(spots->bottom, image.height)};
  SpotEdges edges;
  const Status status = BuildSpotEdges(image, face, wanted, &edges);
  if (status != Status::kOk) return status;
  if (!BlockMarker(edges, FaceOutline(points), side, image.width, spots).Run()) return Status::kMemoryShort;
  return RemoveFeatureSpots(points, wanted, {spots->mask.data(), image.width, image.height, 1});
}

}  // namespace

Status BuildSpotMask(const ImageView& image, const LandmarkSet* landmarks, const Point* points, SpotMask* spots) {
  if (image.pixels == nullptr || image.width < 0 || image.height < 0 || landmarks == nullptr) {
    return Status::kBadArgument;
  }
  if (!spots->mask.AllocateZeroed(image.Pixels())) return Status::kMemoryShort;
  if (image.Empty()) return Status::kOk;
  const Window face = FaceWindow(landmarks->FaceBox(), image.width, image.height);
  SetBounds(face, image.width, image.height, spots);
  return MarkSpots(image, face, points, spots);
}

}  // namespace qx
