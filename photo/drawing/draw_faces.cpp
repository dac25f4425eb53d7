#include "photo/drawing/draw_faces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string>

namespace qx::photo {
namespace {

struct Colour {
  uint8_t blue, green, red;
};
constexpr Colour kBlack{0, 0, 0}, kBox{60, 220, 60};
constexpr Colour kPointColours[] = {{0, 220, 255}, {255, 255, 60}, {255, 150, 255}};  // by PointSet

// Digits 0 to 9, seven rows of five pixels, the leftmost in bit 4: no font needs to be installed.
constexpr int kDigitWidth = 5, kDigitHeight = 7;
constexpr uint8_t kDigits[10][kDigitHeight] = {
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}, {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}};

// A picture to draw on. Everything is clipped to it.
class Canvas {
 public:
  Canvas(const Image& photograph, int factor) {
    image_.width = photograph.width * factor;
    image_.height = photograph.height * factor;
    image_.bgr.resize(static_cast<size_t>(image_.width) * static_cast<size_t>(image_.height) * 3);
    for (int y = 0; y < image_.height; ++y) {
      const uint8_t* row = photograph.bgr.data() + Offset(photograph.width, 0, y / factor);
      for (int x = 0; x < image_.width; ++x) {
        std::copy_n(row + Offset(0, x / factor, 0), 3, image_.bgr.data() + Offset(image_.width, x, y));
      }
    }
  }

  void Fill(int left, int top, int width, int height, Colour colour) {
    for (int y = std::max(top, 0); y < std::min(top + height, image_.height); ++y) {
      for (int x = std::max(left, 0); x < std::min(left + width, image_.width); ++x) {
        uint8_t* pixel = image_.bgr.data() + Offset(image_.width, x, y);
        pixel[0] = colour.blue;
        pixel[1] = colour.green;
        pixel[2] = colour.red;
      }
    }
  }

  // A square of side 2 * radius + 1 around a place.
  void Dot(Point at, int radius, Colour colour) {
    Fill(at.x - radius, at.y - radius, 2 * radius + 1, 2 * radius + 1, colour);
  }

  void Line(Point from, Point to, int radius, Colour colour) {
    const int steps = std::max({std::abs(to.x - from.x), std::abs(to.y - from.y), 1});
    for (int i = 0; i <= steps; ++i) {
      const double t = static_cast<double>(i) / steps;
      Dot({static_cast<int32_t>(std::lround(from.x + t * (to.x - from.x))),
           static_cast<int32_t>(std::lround(from.y + t * (to.y - from.y)))},
          radius, colour);
    }
  }

  // Digits of `size` times 5x7 pixels with a dark rim of `size` pixels.
  void Number(int left, int top, int number, int size, Colour colour) {
    for (const bool rim : {true, false}) {
      int x = left;
      for (const char c : std::to_string(number)) {
        Digit(x, top, c - '0', size, rim, colour);
        x += (kDigitWidth + 1) * size;
      }
    }
  }

  Image Take() { return std::move(image_); }
  int Width() const { return image_.width; }
  int Height() const { return image_.height; }

 private:
  static size_t Offset(int width, int x, int y) {
    return 3 * (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x));
  }

  void Digit(int left, int top, int digit, int size, bool rim, Colour colour) {
    for (int y = 0; y < kDigitHeight; ++y) {
      for (int x = 0; x < kDigitWidth; ++x) {
        if ((kDigits[digit][y] >> (kDigitWidth - 1 - x) & 1) == 0) continue;
        const int border = rim ? size : 0;
        Fill(left + x * size - border, top + y * size - border, size + 2 * border, size + 2 * border,
             rim ? kBlack : colour);
      }
    }
  }

  Image image_;
};

struct Box {
  int left, top, width, height;
};

int Overlap(const Box& a, const Box& b) {
  const int width = std::min(a.left + a.width, b.left + b.width) - std::max(a.left, b.left);
  const int height = std::min(a.top + a.height, b.top + b.height) - std::max(a.top, b.top);
  return width > 0 && height > 0 ? width * height : 0;
}

// Puts the number beside its point where it covers the least of the points and numbers already there; `taken` grows.
void PlaceNumber(Canvas& canvas, Point point, int number, int size, int radius, Colour colour,
                 std::vector<Box>& taken) {
  const int digits = static_cast<int>(std::to_string(number).size());
  const int width = (kDigitWidth + 1) * size * digits, height = (kDigitHeight + 1) * size;
  Box best{};
  int lowest = -1;
  for (int ring = 1; ring <= 2; ++ring) {
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        if (dx == 0 && dy == 0) continue;
        const int gap = ring * (radius + 2 * size);
        const Box box{point.x - width / 2 + dx * (width / 2 + gap), point.y - height / 2 + dy * (height / 2 + gap),
                      width, height};
        const Box canvasBox{0, 0, canvas.Width(), canvas.Height()};
        int cost = 4 * (width * height - Overlap(box, canvasBox)) + ring - 1;
        for (const Box& other : taken) cost += 2 * Overlap(box, other);
        if (lowest < 0 || cost < lowest) {
          lowest = cost;
          best = box;
        }
      }
    }
  }
  canvas.Number(best.left, best.top, number, size, colour);
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
  const Colour colour = kPointColours[static_cast<size_t>(points)];
  for (size_t i = 0; i < faces.size(); ++i) {
    // The dense set leaves less room between its points.
    const double room = points == PointSet::kDense ? 500 : 300;
    const int size = std::clamp(static_cast<int>(faces[i].Width() * factor / room), 1, 4);
    DrawBox(canvas, faces[i], static_cast<int>(i + 1), factor, size);
    const std::vector<Point> places = PointsOf(faces[i], points, factor);
    std::vector<Box> taken;
    for (const Point& p : places) {
      canvas.Dot(p, size + 1, kBlack);
      canvas.Dot(p, size, colour);
      taken.push_back({p.x - size - 1, p.y - size - 1, 2 * size + 3, 2 * size + 3});
    }
    for (size_t k = 0; k < places.size(); ++k) {
      PlaceNumber(canvas, places[k], static_cast<int>(k), size, size + 1, colour, taken);
    }
  }
  return canvas.Take();
}

}  // namespace qx::photo
