#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "reference/plain_skin.h"

namespace qx::test {
namespace {

Picture SmoothGrey(const Picture& image) {
  Picture grey(image.width, image.height, 1);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      grey.At(x, y) =
          static_cast<uint8_t>((image.At(x, y, 2) * 299 + image.At(x, y, 1) * 587 + image.At(x, y) * 114 + 500) / 1000);
    }
  }
  Picture smooth = grey;
  constexpr int kWeights[] = {22, 104, 22, 104, 496, 104, 22, 104, 22};
  for (int y = 1; y < image.height - 1; ++y) {
    for (int x = 1; x < image.width - 1; ++x) {
      const std::vector<int> v = Square(grey, x, y);
      int sum = 500;
      for (size_t i = 0; i < 9; ++i) sum += kWeights[i] * v[i];
      smooth.At(x, y) = static_cast<uint8_t>(sum / 1000);
    }
  }
  return smooth;
}

Picture Gradient(const Picture& p) {
  Picture magnitude(p.width, p.height, 1);
  for (int y = 0; y < p.height; ++y) {
    for (int x = 0; x < p.width; ++x) {
      const auto difference = [](int i, int n, const auto& value) -> float {
        if (n == 1) return 0;
        if (i == 0) return static_cast<float>(value(1) - value(0));
        if (i == n - 1) return static_cast<float>(value(i) - value(i - 1));
        return static_cast<float>(value(i + 1) - value(i - 1)) * 0.5f;
      };
      const float gx = difference(x, p.width, [&](int i) { return p.At(i, y); });
      const float gy = difference(y, p.height, [&](int i) { return p.At(x, i); });
      magnitude.At(x, y) = static_cast<uint8_t>(std::min(std::sqrt(gx * gx + gy * gy), 255.0f));
    }
  }
  return magnitude;
}

// By the even-odd rule; a point on an edge is inside.
bool InPolygon(const std::vector<Point>& polygon, Point p) {
  bool inside = false;
  for (size_t i = 1; i < polygon.size(); ++i) {
    const Point a = polygon[i - 1], b = polygon[i];
    const int cross = (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
    if (cross == 0 && p.x >= std::min(a.x, b.x) && p.x <= std::max(a.x, b.x) && p.y >= std::min(a.y, b.y) &&
        p.y <= std::max(a.y, b.y)) {
      return true;
    }
    if ((a.y > p.y) != (b.y > p.y) && (cross > 0) == (b.y > a.y)) inside = !inside;
  }
  return inside;
}

std::vector<Point> Pick(const Point* points, const std::vector<int>& indices) {
  std::vector<Point> picked;
  for (const int i : indices) picked.push_back(points[i]);
  return picked;
}

void RemoveFeatures(const Point* points, Picture* mask) {
  std::vector<Point> groups[] = {Pick(points, {37, 40, 39, 34, 35, 33, 37}), Pick(points, {45, 59, 62, 45}),
                                 Pick(points, {46, 63, 66, 46})};
  for (Point& p : groups[0]) p.y += std::abs(points[47].y - points[35].y) / 4;
  Picture seen(mask->width, mask->height, 1);
  for (int y = 0; y < mask->height; ++y) {
    for (int x = 0; x < mask->width; ++x) {
      if (mask->At(x, y) == 0 || seen.At(x, y) != 0) continue;
      std::vector<Point> group;
      const std::function<void(int, int)> grow = [&](int u, int v) {
        if (u < 0 || v < 0 || u >= mask->width || v >= mask->height) return;
        if (mask->At(u, v) == 0 || seen.At(u, v) != 0) return;
        seen.At(u, v) = 1;
        group.push_back({u, v});
        for (int i = 0; i < 9; ++i) grow(u + i % 3 - 1, v + i / 3 - 1);
      };
      grow(x, y);
      const Extent g = ExtentOf(group);
      for (const auto& feature : groups) {
        const Extent f = ExtentOf(feature);
        if (std::max(g.minX, f.minX) <= std::min(g.maxX, f.maxX) &&
            std::max(g.minY, f.minY) <= std::min(g.maxY, f.maxY)) {
          for (const Point p : group) mask->At(p.x, p.y) = 0;
        }
      }
    }
  }
}

}  // namespace

PlainSpots PlainSpotMask(const Picture& image, const LandmarkSet& landmarks) {
  const int W = image.width, H = image.height;
  const Point* c = landmarks.FaceBox();
  Extent box = ExtentOf({c, c + 4});
  box = {std::clamp(box.minX, 0, W - 1), std::clamp(box.maxX, 0, W - 1), std::clamp(box.minY, 0, H - 1),
         std::clamp(box.maxY, 0, H - 1)};
  const int w = box.maxX - box.minX, h = box.maxY - box.minY;
  PlainSpots spots = {Picture(W, H, 1), std::max(box.minY - h / 4, 0), std::min(H, box.minY + 5 * h / 4),
                      std::max(box.minX - w / 10, 0), std::min(W, box.minX + 11 * w / 10)};
  const Picture grey = SmoothGrey(image);
  Picture face(w, h, 1);
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) face.At(x, y) = grey.At(box.minX + x, box.minY + y);
  }
  double shares[256] = {};
  for (const uint8_t v : Gradient(face).bytes) shares[v] += 1;
  int lo = 0, hi = 0;
  double cumulative = 0;
  for (int i = 255; i >= 0; --i) {
    cumulative = 0;
    for (int k = 0; k <= i; ++k) cumulative += shares[k] / (w * h);
    if (cumulative > 0.86) lo = i;
    if (cumulative > 0.98) hi = i;
  }
  const Picture magnitude = Gradient(grey);
  Picture band(W, H, 1), edges(W, H, 1);
  for (size_t i = 0; i < band.bytes.size(); ++i) {
    band.bytes[i] = magnitude.bytes[i] >= lo && magnitude.bytes[i] <= hi ? 255 : 0;
  }
  for (int y = 1; y < H - 1; ++y) {
    for (int x = 1; x < W - 1; ++x) edges.At(x, y) = Sum(Square(band, x, y)) > 0 ? 255 : 0;
  }
  const Point* points = landmarks.Attributes();
  const Extent all = ExtentOf({points, points + 88});
  const int m = (all.maxX - all.minX) / 100, s = std::min(w, h) / 8;
  std::vector<int> indices = {8, 12, 10, 14, 9, 24, 28, 26, 30, 25};
  for (int i = 87; i >= 67; --i) indices.push_back(i);
  indices.push_back(8);
  const std::vector<Point> outline = Pick(points, indices);
  const auto probe = [&](int r, int k) { return edges.At(std::clamp(k, 0, W - 1), std::clamp(r, 0, H - 1)) != 0; };
  for (int r = spots.top + 1; r <= spots.bottom - 2; ++r) {
    for (int k = spots.left + 1; k <= spots.right - 2; ++k) {
      bool closed = grey.At(k, r) > 60;
      for (int t = 0; t < (s + 3) >> 1 && closed; ++t) {
        const int o = 2 * t - 1;
        closed = !probe(r - 1, k + o) && !probe(r + s + 1, k + o) && !probe(r + o, k - 1) && !probe(r + o, k + s + 1);
      }
      const bool forehead = k >= all.minX - m && k <= all.maxX + m && r <= all.minY + m;
      if (!closed || (!forehead && !InPolygon(outline, {k, r}))) continue;
      for (int y = r; y < r + s; ++y) {
        for (int x = k; x < k + s; ++x) {
          const int u = std::min(x, W - 1), v = std::min(y, H - 1);
          spots.mask.At(u, v) = edges.At(u, v);
        }
      }
    }
  }
  RemoveFeatures(points, &spots.mask);
  return spots;
}

Picture PlainMedianFill(const PlainSpots& spots, const Picture& source, double kernelSize) {
  Picture out = source;
  int n = Trunc(kernelSize);
  n += n % 2 == 0 ? 1 : 0;
  const int half = n / 2;
  for (int y = spots.top + half; y < spots.bottom - half; ++y) {
    for (int x = spots.left + half; x < spots.right - half; ++x) {
      if (spots.mask.At(x, y) != 255) continue;
      uint8_t median[3];
      for (int c = 0; c < 3; ++c) {
        Bytes values;
        for (int i = 0; i < n * n; ++i) values.push_back(out.At(x - half + i % n, y - half + i / n, c));
        std::sort(values.begin(), values.end());
        median[c] = values[static_cast<size_t>(n * n / 2)];
      }
      if (median[0] == 0 && median[1] == 0 && median[2] == 0) continue;
      for (int c = 0; c < 3; ++c) {
        out.At(x, y, c) = Byte(std::clamp(0.9 * median[c] + 0.1 * out.At(x, y, c), 0.0, 255.0));
      }
    }
  }
  return out;
}

}  // namespace qx::test
