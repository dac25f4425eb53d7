#include "reference/plain_beauty.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "beauty/skin_tone.h"

namespace qx::test {
namespace {

size_t At(int32_t x, int32_t y, int32_t width, int32_t channels = 1) {
  return static_cast<size_t>((int64_t{y} * width + x) * channels);
}

float Area(Point a, Point b, Point c) {
  const double cross = (static_cast<double>(b.x) - a.x) * (static_cast<double>(c.y) - a.y) -
                       (static_cast<double>(c.x) - a.x) * (static_cast<double>(b.y) - a.y);
  return static_cast<float>(std::fabs(cross) * 0.5);
}

bool IsInside(const Point* v, Point p) {
  const float difference = Area(v[0], v[1], v[2]) - (Area(p, v[0], v[1]) + Area(p, v[1], v[2]) + Area(p, v[2], v[0]));
  return difference > -0.0001f && difference < 0.0001f;
}

// The input coordinate at output position p for the values that the three vertices have there: Mi inverse(Mo) p with
// one division.
double Map(const Point* out, const double* v, Point p) {
  const auto minor = [out](int i, int j) {
    return static_cast<double>(out[i].x) * out[j].y - static_cast<double>(out[j].x) * out[i].y;
  };
  const auto dx = [out](int i, int j) { return static_cast<double>(out[i].x) - out[j].x; };
  const auto dy = [out](int i, int j) { return static_cast<double>(out[i].y) - out[j].y; };
  const double determinant = dx(1, 0) * dy(2, 0) - dx(2, 0) * dy(1, 0);
  return ((v[0] * dy(1, 2) + v[1] * dy(2, 0) + v[2] * dy(0, 1)) * p.x +
          (v[0] * dx(2, 1) + v[1] * dx(0, 2) + v[2] * dx(1, 0)) * p.y +
          (v[0] * minor(1, 2) + v[1] * minor(2, 0) + v[2] * minor(0, 1))) /
         determinant;
}

std::vector<double> BoxSum(std::vector<double> values, int32_t width, int32_t height) {
  constexpr int32_t r = 8;
  // Along one line of n elements, `stride` apart.
  const auto pass = [](double* line, int32_t n, int32_t stride) {
    std::vector<double> cumulative(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
      const double v = line[int64_t{i} * stride];
      cumulative[static_cast<size_t>(i)] = i == 0 ? v : cumulative[static_cast<size_t>(i - 1)] + v;
    }
    for (int32_t i = 0; i < n; ++i) {
      const double upTo = cumulative[static_cast<size_t>(std::min(i + r, n - 1))];
      line[int64_t{i} * stride] = i > r ? upTo - cumulative[static_cast<size_t>(i - r - 1)] : upTo;
    }
  };
  for (int32_t x = 0; x < width; ++x) pass(values.data() + x, height, width);
  for (int32_t y = 0; y < height; ++y) pass(values.data() + At(0, y, width), width, 1);
  return values;
}

// Functions in single precision: the double ones, rounded once.
template <double (*kFunction)(double)>
float Single(float x) {
  return static_cast<float>(kFunction(static_cast<double>(x)));
}
constexpr auto Exp = Single<::exp>, Log = Single<::log>, Sin = Single<::sin>, Tan = Single<::tan>,
               Asin = Single<::asin>, Atan = Single<::atan>;

}  // namespace

void PlainTone(const uint8_t* image, size_t pixels, int32_t strength, uint8_t* out) {
  const double s = strength / 10.0, t = 1.0 - s;
  for (size_t i = 0; i < pixels; ++i, image += 3, out += 3) {
    for (int c = 0; c < 3; ++c) {  // red, green, blue
      int sum = 0;
      for (int corner = 0; corner < 8; ++corner) {
        int entry = 0, weight = 1;
        for (int axis = 0; axis < 3; ++axis) {
          const int value = image[2 - axis], upper = (corner >> axis) & 1;
          entry = entry * 32 + std::min((value >> 3) + upper, 31);
          weight *= upper == 1 ? value & 7 : 8 - (value & 7);
        }
        sum += SkinToneLut[entry * 3 + c] * weight;
      }
      out[2 - c] = static_cast<uint8_t>(TruncToInt32(image[2 - c] * t + (sum >> 9) * s));
    }
  }
}

void PlainLensWarp(const uint8_t* image, int32_t width, int32_t height, const PlainLens& lens, uint8_t* out) {
  std::copy_n(image, At(0, height, width, 3), out);
  const float spread = -(lens.radius * lens.radius / Log(0.03f));
  const auto cx = static_cast<float>(lens.centreX), cy = static_cast<float>(lens.centreY);
  const auto reach = static_cast<int32_t>(lens.radius) + 1;
  for (int32_t y = std::max(lens.centreY - reach, 0); y < std::min(lens.centreY + reach + 1, height); ++y) {
    for (int32_t x = std::max(lens.centreX - reach, 0); x < std::min(lens.centreX + reach + 1, width); ++x) {
      const float dx = static_cast<float>(x) - cx, dy = static_cast<float>(y) - cy;
      const float r = std::sqrt(dx * dx + dy * dy);
      if (r > lens.radius) continue;
      const float e = Exp(r * r / spread);
      const float slope = e * (spread / lens.amount * 0.5f / r);
      const auto theta = static_cast<float>(1.570796326795 - static_cast<double>(Atan(slope)));
      const auto refracted = static_cast<float>(static_cast<double>(Sin(theta)) / 1.3333333333333333);
      const float delta = Tan(theta - Asin(refracted));
      if (!(static_cast<double>(std::fabs(delta)) >= 1e-6)) continue;
      const float shift = (Exp(-(r * r) / spread) * lens.amount + lens.radius) * delta;
      const float s = lens.magnify ? r - shift : r + shift;
      const float sx = s * dx / r + cx, sy = s * dy / r + cy;
      uint8_t* to = out + At(x, y, width, 3);
      if (sx < 0 || sx >= static_cast<float>(width - 1) || sy < 0 || sy >= static_cast<float>(height - 1)) {
        std::fill_n(to, 3, uint8_t{0});
        continue;
      }
      const auto ix = static_cast<int32_t>(sx), iy = static_cast<int32_t>(sy);
      const float fx = sx - static_cast<float>(ix), fy = sy - static_cast<float>(iy);
      for (size_t c = 0; c < 3; ++c) {
        const auto p = [&](int v, int u) { return static_cast<float>(image[At(ix + u, iy + v, width, 3) + c]); };
        to[c] = static_cast<uint8_t>((p(1, 1) * fx + p(1, 0) * (1 - fx)) * fy +
                                     (p(0, 1) * fx + p(0, 0) * (1 - fx)) * (1 - fy));
      }
    }
  }
}

void PlainContourWarp(const ContourMesh& mesh, const uint8_t* image, int32_t width, int32_t height, int32_t channels,
                      uint8_t* out, int32_t rowStep) {
  std::copy_n(image, At(0, height, width, channels), out);
  for (const auto& triangle : kContourTriangleVertices) {
    Point in[3], to[3];
    double inX[3], inY[3];
    for (int i = 0; i < 3; ++i) {
      in[i] = mesh.input[triangle[i]];
      to[i] = mesh.output[triangle[i]];
      inX[i] = in[i].x;
      inY[i] = in[i].y;
    }
    if (Area(in[0], in[1], in[2]) == 0 || Area(to[0], to[1], to[2]) == 0) continue;
    const auto [left, right] = std::minmax({to[0].x, to[1].x, to[2].x});
    const auto [top, bottom] = std::minmax({to[0].y, to[1].y, to[2].y});
    for (int32_t y = std::max(top, 0); y < std::min(bottom, height); ++y) {
      if (y % rowStep != 0) continue;
      for (int32_t x = std::max(left, 0); x < std::min(right, width); ++x) {
        if (!IsInside(to, {x, y})) continue;
        const double sx = Map(to, inX, {x, y}), sy = Map(to, inY, {x, y});
        const auto x0 = static_cast<int32_t>(sx), y0 = static_cast<int32_t>(sy);
        const double fx = sx - x0, fy = sy - y0;
        for (int32_t c = 0; c < channels; ++c) {
          const auto p = [&](int u, int v) {
            const int32_t px = std::clamp(x0 + u, 0, width - 1), py = std::clamp(y0 + v, 0, height - 1);
            return image[At(px, py, width, channels) + static_cast<size_t>(c)];
          };
          out[At(x, y, width, channels) + static_cast<size_t>(c)] = static_cast<uint8_t>(TruncToInt32(
              p(0, 0) * (1 - fx) * (1 - fy) + p(0, 1) * (1 - fx) * fy + p(1, 0) * fx * (1 - fy) + p(1, 1) * fx * fy));
        }
      }
    }
  }
}

void PlainBoost(const uint8_t* patch, int32_t width, int32_t height, uint8_t* out) {
  const size_t n = At(0, height, width);
  const std::vector<double> counts = BoxSum(std::vector<double>(n, 1.0), width, height);
  const auto mean = [&](const std::vector<double>& v) {
    std::vector<double> sums = BoxSum(v, width, height);
    for (size_t i = 0; i < n; ++i) sums[i] = sums[i] / counts[i];
    return sums;
  };
  std::vector<double> guide(n), square(n), input(n), product(n), a(n), b(n);
  for (size_t i = 0; i < n; ++i) {
    guide[i] = (0.587 * patch[i * 3 + 1] + 0.299 * patch[i * 3] + 0.114 * patch[i * 3 + 2]) / 255;
    square[i] = guide[i] * guide[i];
  }
  const auto meanI = mean(guide), corrII = mean(square);
  for (size_t c = 0; c < 3; ++c) {
    for (size_t i = 0; i < n; ++i) {
      input[i] = patch[i * 3 + c] / 255.0;
      product[i] = guide[i] * input[i];
    }
    const auto meanP = mean(input), corrIp = mean(product);
    for (size_t i = 0; i < n; ++i) {
      a[i] = (corrIp[i] - meanI[i] * meanP[i]) / (corrII[i] - meanI[i] * meanI[i] + 0.04);
      b[i] = meanP[i] - a[i] * meanI[i];
    }
    const auto meanA = mean(a), meanB = mean(b);
    for (size_t i = 0; i < n; ++i) {
      const double q = meanA[i] * guide[i] + meanB[i], x = patch[i * 3 + c];
      const double v = (x * 3.0 / 255 - q * 2.0) * 255 * 0.4 + x * 0.6;
      out[i * 3 + c] = static_cast<uint8_t>(v > 255 ? 255 : !(v > 0) ? 0 : static_cast<int>(v));
    }
  }
}

}  // namespace qx::test
