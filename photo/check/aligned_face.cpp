#include "photo/check/aligned_face.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "photo/base/raster.h"
#include "photo/check/colour.h"

namespace qx::photo {
namespace {

// Eye centres, nose tip, mouth corners.
constexpr PlacePoint kTargets[] = {{251, 272}, {364, 272}, {308, 336}, {262, 402}, {355, 402}};
constexpr int kHull[] = {127, 234, 93,  132, 58,  172, 136, 150, 149, 176, 148, 152, 377, 400, 378, 379, 365,
                         397, 288, 361, 323, 454, 356, 70,  63,  105, 66,  107, 336, 296, 334, 293, 300};

// Averages along a row: target pixel i covers source pixels i / scale to (i + 1) / scale.
struct Share {
  int32_t first = 0;
  std::vector<float> weights;
};

std::vector<Share> Shares(int32_t source, int32_t target) {
  std::vector<Share> shares(static_cast<size_t>(target));
  const double step = static_cast<double>(source) / target;
  for (int32_t i = 0; i < target; ++i) {
    Share& share = shares[static_cast<size_t>(i)];
    const double from = i * step, to = std::min<double>(source, (i + 1) * step);
    share.first = std::min(static_cast<int32_t>(from), source - 1);
    for (int32_t s = share.first; s < source && (s == share.first || s < to); ++s) {
      const double covered = std::min(to, s + 1.0) - std::max(from, static_cast<double>(s));
      share.weights.push_back(static_cast<float>(std::max(covered, 0.0) / step));
    }
  }
  return shares;
}

// A part of the photograph, reduced by averaging; the mask is its last channel, 0 where there is none.
struct Reduced {
  Raster raster;
  PixelBox box;
  double scaleX = 1, scaleY = 1;

  Reduced(const Image& photograph, const Mask* person, const PixelBox& part, double scale) : box(part) {
    const auto size = [scale](int32_t n) {
      return scale >= 1 ? n : std::max(1, static_cast<int32_t>(std::lround(n * scale)));
    };
    raster = Raster(size(box.Width()), size(box.Height()), 4);
    scaleX = static_cast<double>(raster.width) / box.Width();
    scaleY = static_cast<double>(raster.height) / box.Height();
    const std::vector<Share> columns = Shares(box.Width(), raster.width), rows = Shares(box.Height(), raster.height);
    Floats line(static_cast<size_t>(raster.width) * 4);
    int32_t reduced = -1;  // the row in `line`: neighbouring rows of the raster share one
    for (int32_t y = 0; y < raster.height; ++y) {
      float* to = raster.At(0, y);
      std::fill_n(to, line.size(), 0.0F);
      const Share& share = rows[static_cast<size_t>(y)];
      for (size_t i = 0; i < share.weights.size(); ++i) {
        const int32_t row = box.top + share.first + static_cast<int32_t>(i);
        if (row != reduced) ReduceRow(photograph, person, row, columns, &line);
        reduced = row;
        for (size_t k = 0; k < line.size(); ++k) to[k] += share.weights[i] * line[k];
      }
    }
  }

  void ReduceRow(const Image& photograph, const Mask* person, int32_t y, const std::vector<Share>& columns,
                 Floats* line) const {
    float* to = line->data();
    const uint8_t* const pixels = photograph.At(box.left, y);
    const uint8_t* const covers = person ? person->Row(y) + box.left : nullptr;
    for (const Share& share : columns) {
      float sums[4] = {};
      const uint8_t* pixel = pixels + 3 * static_cast<size_t>(share.first);
      const uint8_t* cover = covers ? covers + share.first : nullptr;
      for (const float weight : share.weights) {
        for (size_t c = 0; c < 3; ++c) sums[c] += weight * static_cast<float>(pixel[c]);
        if (cover) sums[3] += weight * static_cast<float>(*cover++);
        pixel += 3;
      }
      to = std::copy_n(sums, 4, to);
    }
  }

  // Bilinear between the middles of pixels at a place of the photograph, edges being whole numbers.
  void At(PlacePoint p, float* channels) const {
    Sample(raster, (p.x - box.left) * scaleX, (p.y - box.top) * scaleY, channels);
  }
};

// The part of the photograph that a part of the square shows, a pixel wider on all sides; empty where it shows none.
PixelBox PartShown(const PixelBox& aligned, const Similarity& back, const Image& photograph) {
  double left = 1e9, top = 1e9, right = -1e9, bottom = -1e9;
  for (const double x : {aligned.left - 1.0, 1.0 * aligned.right}) {
    for (const double y : {aligned.top - 1.0, 1.0 * aligned.bottom}) {
      const PlacePoint p = back({x, y});
      left = std::min(left, p.x), right = std::max(right, p.x);
      top = std::min(top, p.y), bottom = std::max(bottom, p.y);
    }
  }
  const auto clip = [](double v, int32_t size) { return static_cast<int32_t>(std::clamp(v, 0.0, 1.0 * size)); };
  return {clip(std::floor(left) - 1, photograph.width), clip(std::floor(top) - 1, photograph.height),
          clip(std::ceil(right) + 1, photograph.width), clip(std::ceil(bottom) + 1, photograph.height)};
}

uint8_t ToByte(float value) {
  return static_cast<uint8_t>(std::clamp(value, 0.0F, 255.0F) + 0.5F);
}

// Fills that part of the square alone.
void FillSquare(const Image& photograph, const Mask* person, const Similarity& back, double scale, const PixelBox& part,
                AlignedFace* face) {
  face->picture = Image(kAlignedSide, kAlignedSide);
  std::fill(face->picture.bgr.begin(), face->picture.bgr.end(), uint8_t{0});
  face->inside = Region(kAlignedSide, kAlignedSide);
  if (person) face->person = Mask(kAlignedSide, kAlignedSide, 0);
  face->luminance = Bytes(face->picture.Pixels());
  std::fill(face->luminance.begin(), face->luminance.end(), uint8_t{0});
  const PixelBox box = PartShown(part, back, photograph);
  if (box.Width() <= 0 || box.Height() <= 0) return;
  const Reduced reduced(photograph, person, box, scale);
  for (int32_t y = part.top; y < part.bottom; ++y) {
    for (int32_t x = part.left; x < part.right; ++x) {
      const PlacePoint p = back({1.0 * x, 1.0 * y});
      if (!(p.x >= 0 && p.y >= 0 && p.x < photograph.width && p.y < photograph.height)) continue;
      float channels[4];
      reduced.At(p, channels);
      uint8_t* pixel = face->picture.At(x, y);
      std::transform(channels, channels + 3, pixel, ToByte);
      face->inside.At(x, y) = 1;
      if (person) face->person.Row(y)[x] = ToByte(channels[3]);
      face->luminance[face->inside.First(y) + static_cast<size_t>(x)] = Luminance(pixel);
    }
  }
}

// The points and what measures look at around them: the widest blur reaches furthest.
PixelBox AroundPoints(const FaceMesh& mesh) {
  constexpr double kReach = 40;
  PixelBox box{kAlignedSide, kAlignedSide, 0, 0};
  const auto whole = [](double v) { return static_cast<int32_t>(std::clamp(v, 0.0, 1.0 * kAlignedSide)); };
  for (const PlacePoint& p : mesh.points) {
    box = {std::min(box.left, whole(p.x - kReach)), std::min(box.top, whole(p.y - kReach)),
           std::max(box.right, whole(p.x + kReach)), std::max(box.bottom, whole(p.y + kReach))};
  }
  return box;
}

FaceMesh MoveMesh(const FaceMesh& mesh, const Similarity& to) {
  FaceMesh moved = mesh;
  for (PlacePoint& p : moved.points) p = to(p);
  for (auto& iris : moved.irises) std::transform(iris.begin(), iris.end(), iris.begin(), to);
  for (double& z : moved.depth) z *= to.Scale();
  return moved;
}

}  // namespace

double Similarity::Scale() const {
  return std::sqrt(a * a + b * b);
}

Similarity Similarity::Inverse() const {
  const double square = a * a + b * b;
  Similarity back{a / square, -b / square, 0, 0};
  const PlacePoint origin = back({x0, y0});
  back.x0 = -origin.x;
  back.y0 = -origin.y;
  return back;
}

std::optional<Similarity> AlignPoints(const std::array<PlacePoint, 5>& points) {
  PlacePoint from, to;
  for (size_t i = 0; i < points.size(); ++i) {
    from = {from.x + points[i].x / 5, from.y + points[i].y / 5};
    to = {to.x + kTargets[i].x / 5, to.y + kTargets[i].y / 5};
  }
  double real = 0, imaginary = 0, square = 0;
  for (size_t i = 0; i < points.size(); ++i) {
    const PlacePoint p{points[i].x - from.x, points[i].y - from.y};
    const PlacePoint q{kTargets[i].x - to.x, kTargets[i].y - to.y};
    real += p.x * q.x + p.y * q.y;
    imaginary += p.x * q.y - p.y * q.x;
    square += p.x * p.x + p.y * p.y;
  }
  constexpr double kCollapsed = 1;  // square pixels
  if (!(square > kCollapsed)) return std::nullopt;
  Similarity similarity{real / square, imaginary / square, 0, 0};
  if (!(similarity.Scale() > 1e-6)) return std::nullopt;
  const PlacePoint moved = similarity(from);
  similarity.x0 = to.x - moved.x;
  similarity.y0 = to.y - moved.y;
  return similarity;
}

std::optional<AlignedFace> Align(const Image& photograph, const FaceMesh& mesh, const Mask* person, bool faceAlone) {
  const auto eyes = EyeCentres(mesh);
  const std::optional<Similarity> to = AlignPoints({eyes[0], eyes[1], mesh[4], mesh[61], mesh[291]});
  if (!to) return std::nullopt;
  AlignedFace face;
  face.toAligned = to->Scale();
  face.mesh = MoveMesh(mesh, *to);
  face.eyes = EyeCentres(face.mesh);
  face.eyeDistance = Distance(face.eyes[0], face.eyes[1]);
  face.eyesToChin = Distance(face.EyeMiddle(), face.mesh[152]);
  face.eyesToMouth = Distance(face.EyeMiddle(), Middle(face.mesh[13], face.mesh[14]));
  if (!(face.eyeDistance >= 1 && face.eyesToChin >= 1)) return std::nullopt;
  const PixelBox part = faceAlone ? AroundPoints(face.mesh) : PixelBox{0, 0, kAlignedSide, kAlignedSide};
  FillSquare(photograph, person, to->Inverse(), face.toAligned, part, &face);
  face.hull = FillPolygon(ConvexHull(Pick(face.mesh, kHull)), kAlignedSide, kAlignedSide);
  for (size_t i = 0; i < face.hull.bits.size(); ++i) face.hull.bits[i] &= face.inside.bits[i];
  return face;
}

std::array<PlacePoint, 2> EyeCentres(const FaceMesh& mesh) {
  return {Middle(mesh[33], mesh[133]), Middle(mesh[362], mesh[263])};
}

Region FillPolygon(const std::vector<PlacePoint>& polygon, int32_t width, int32_t height) {
  Region region(width, height);
  std::vector<double> crossings;
  for (int32_t y = 0; y < height; ++y) {
    crossings.clear();
    for (size_t i = 0; i < polygon.size(); ++i) {
      const PlacePoint a = polygon[i], b = polygon[(i + 1) % polygon.size()];
      if ((a.y <= y) == (b.y <= y)) continue;
      crossings.push_back(a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y));
    }
    std::sort(crossings.begin(), crossings.end());
    for (size_t i = 0; i + 1 < crossings.size(); i += 2) {
      const double from = std::clamp(std::ceil(crossings[i]), 0.0, 1.0 * width);
      const double to = std::clamp(std::floor(crossings[i + 1]) + 1, 0.0, 1.0 * width);
      for (auto x = static_cast<int32_t>(from); x < static_cast<int32_t>(to); ++x) region.At(x, y) = 1;
    }
  }
  return region;
}

std::vector<PlacePoint> ConvexHull(std::vector<PlacePoint> points) {
  std::sort(points.begin(), points.end(),
            [](PlacePoint a, PlacePoint b) { return a.x < b.x || (a.x == b.x && a.y < b.y); });
  const auto turnsLeft = [](PlacePoint o, PlacePoint a, PlacePoint b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x) > 0;
  };
  std::vector<PlacePoint> hull;
  for (int pass = 0; pass < 2; ++pass) {  // one way along the lower side, the other way along the upper one
    const size_t start = hull.size();
    for (const PlacePoint p : points) {
      while (hull.size() >= start + 2 && !turnsLeft(hull[hull.size() - 2], hull.back(), p)) hull.pop_back();
      hull.push_back(p);
    }
    if (!hull.empty()) hull.pop_back();
    std::reverse(points.begin(), points.end());
  }
  return hull;
}

Region Erode(const Region& region, int32_t before, int32_t after) {
  Region rows(region.width, region.height), eroded(region.width, region.height);
  for (int32_t y = 0; y < region.height; ++y) {
    const uint8_t* from = region.Row(y);
    uint8_t* to = rows.Row(y);
    int32_t last = -after - before - 1;  // the last pixel outside that was seen
    for (int32_t i = 0; i < region.width + after; ++i) {
      if (i < region.width && from[i] == 0) last = i;
      if (i >= after) to[i - after] = last < i - after - before;
    }
  }
  std::vector<int32_t> last(static_cast<size_t>(region.width), -after - before - 1);
  for (int32_t i = 0; i < region.height + after; ++i) {
    if (i < region.height) {
      const uint8_t* from = rows.Row(i);
      for (size_t x = 0; x < last.size(); ++x) last[x] = from[x] == 0 ? i : last[x];
    }
    if (i < after) continue;
    uint8_t* to = eroded.Row(i - after);
    for (size_t x = 0; x < last.size(); ++x) to[x] = last[x] < i - after - before;
  }
  return eroded;
}

}  // namespace qx::photo
