#include "photo/drawing/draw_faces.h"

#include <algorithm>
#include <array>
#include <string>

#include "photo/drawing/canvas.h"

namespace qx::photo {
namespace {

constexpr Ink kBlack{0, 0, 0}, kBox{60, 220, 60};
constexpr Ink kPointInks[] = {{0, 220, 255}, {255, 255, 60}, {255, 150, 255}};  // by PointSet

int Overlap(const PixelBox& a, const PixelBox& b) {
  const int width = std::min(a.right, b.right) - std::max(a.left, b.left);
  const int height = std::min(a.bottom, b.bottom) - std::max(a.top, b.top);
  return width > 0 && height > 0 ? width * height : 0;
}

// Puts the number beside its point where it covers the least of the points and numbers already there; `taken` grows.
void PlaceNumber(Canvas& canvas, Point point, int number, int size, int radius, Ink ink, std::vector<PixelBox>& taken) {
  const int digits = static_cast<int>(std::to_string(number).size());
  const int width = (kDigitWidth + 1) * size * digits, height = (kDigitHeight + 1) * size;
  PixelBox best;
  int lowest = -1;
  for (int ring = 1; ring <= 2; ++ring) {
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        if (dx == 0 && dy == 0) continue;
        const int gap = ring * (radius + 2 * size);
        const int left = point.x - width / 2 + dx * (width / 2 + gap);
        const int top = point.y - height / 2 + dy * (height / 2 + gap);
        const PixelBox box{left, top, left + width, top + height};
        int cost = 4 * (width * height - Overlap(box, {0, 0, canvas.Width(), canvas.Height()})) + ring - 1;
        for (const PixelBox& other : taken) cost += 2 * Overlap(box, other);
        if (lowest < 0 || cost < lowest) {
          lowest = cost;
          best = box;
        }
      }
    }
  }
  canvas.Number(best.left, best.top, number, size, ink);
  taken.push_back(best);
}

template <size_t N>
std::vector<Point> Scaled(const std::array<Point, N>& points, int factor) {
  std::vector<Point> scaled;
  scaled.reserve(N);
  for (const Point& p : points) scaled.push_back({p.x * factor + factor / 2, p.y * factor + factor / 2});
  return scaled;
}

std::vector<Point> PointsOf(const ProbedFace& face, PointSet set, int factor) {
  switch (set) {
    case PointSet::kKey: return Scaled(face.keyPoints, factor);
    case PointSet::kLandmarks: return Scaled(face.landmarks, factor);
    default: return Scaled(face.densePoints, factor);
  }
}

void DrawBox(Canvas& canvas, const ProbedFace& face, int number, int factor, int size) {
  const std::vector<Point> corners = Scaled(face.corners, factor);
  const int radius = (size + 1) / 2;
  canvas.Line(corners[0], corners[1], 2 * radius, kBox);
  for (const auto& [from, to] : {std::pair(0, 2), std::pair(1, 3), std::pair(2, 3)}) {
    canvas.Line(corners[static_cast<size_t>(from)], corners[static_cast<size_t>(to)], radius, kBox);
  }
  canvas.Number(corners[0].x + 4 * size, corners[0].y + 4 * size, number, 2 * size, kBox);
}

// The factor that makes a face of this width wide enough for its numbers, within a picture of moderate size.
int Enlargement(const Image& photograph, double faceWidth) {
  constexpr double kLegibleWidth = 600, kMostPixels = 40e6;
  const double pixels = static_cast<double>(photograph.width) * photograph.height;
  int factor = 1;
  while (factor < 8 && faceWidth * factor < kLegibleWidth && pixels * (factor + 1) * (factor + 1) <= kMostPixels) {
    ++factor;
  }
  return factor;
}

}  // namespace

Image DrawFaces(const Image& photograph, const std::vector<ProbedFace>& faces, PointSet points) {
  double narrowest = 0;
  for (const ProbedFace& face : faces) {
    if (narrowest == 0 || face.Width() < narrowest) narrowest = face.Width();
  }
  const int factor = faces.empty() ? 1 : Enlargement(photograph, narrowest);
  Canvas canvas(photograph, factor);
  const Ink ink = kPointInks[static_cast<size_t>(points)];
  for (size_t i = 0; i < faces.size(); ++i) {
    // The dense set leaves less room between its points.
    const double room = points == PointSet::kDense ? 500 : 300;
    const int size = std::clamp(static_cast<int>(faces[i].Width() * factor / room), 1, 4);
    DrawBox(canvas, faces[i], static_cast<int>(i + 1), factor, size);
    const std::vector<Point> places = PointsOf(faces[i], points, factor);
    std::vector<PixelBox> taken;
    for (const Point& p : places) {
      canvas.Dot(p, size + 1, kBlack);
      canvas.Dot(p, size, ink);
      taken.push_back({p.x - size - 1, p.y - size - 1, p.x + size + 2, p.y + size + 2});
    }
    for (size_t k = 0; k < places.size(); ++k) {
      PlaceNumber(canvas, places[k], static_cast<int>(k), size, size + 1, ink, taken);
    }
  }
  return canvas.Take();
}

}  // namespace qx::photo
