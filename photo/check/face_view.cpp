#include "photo/check/face_view.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/exact_math.h"

namespace qx::photo {

double Percentile(std::vector<double> values, double share) {
  if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
  const double place = share * static_cast<double>(values.size() - 1);
  const auto below = static_cast<size_t>(place);
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(below);
  std::nth_element(values.begin(), middle, values.end());
  if (below + 1 == values.size()) return *middle;
  const double above = *std::min_element(middle + 1, values.end());
  return *middle + (place - static_cast<double>(below)) * (above - *middle);
}

double ByteCounts::Percentile(double share) const {
  int32_t all = 0;
  for (const int32_t n : counts_) all += n;
  if (all == 0) return std::numeric_limits<double>::quiet_NaN();
  const double place = share * (all - 1);
  const auto below = static_cast<int32_t>(place);
  const auto valueAt = [this](int32_t rank) {
    int value = 0;
    for (int32_t before = counts_[0]; before <= rank;) before += counts_[static_cast<size_t>(++value)];
    return value;
  };
  const double value = valueAt(below);
  return below + 1 == all ? value : value + (place - below) * (valueAt(below + 1) - value);
}

PixelBox SquareAround(PlacePoint centre, double side) {
  // Places are whole numbers in the middle of a pixel, half a pixel from its edge.
  const auto clip = [](double v) {
    return static_cast<int32_t>(std::clamp(std::floor(v + 1), 0.0, 1.0 * kAlignedSide));
  };
  return {clip(centre.x - side / 2), clip(centre.y - side / 2), clip(centre.x + side / 2), clip(centre.y + side / 2)};
}

bool ArePointsInside(const FaceView& view, std::initializer_list<int> points) {
  return std::all_of(points.begin(), points.end(), [&view](int index) {
    const PlacePoint p = view.mesh[index];
    return p.x >= 0 && p.y >= 0 && p.x <= view.width && p.y <= view.height;
  });
}

std::optional<std::array<double, 3>> MedianColour(const AlignedFace& face, const std::vector<PixelBox>& boxes,
                                                  const Region& region) {
  std::array<ByteCounts, 3> channels;
  bool any = false;
  for (const PixelBox& box : boxes) {
    ForEachPixel(box, region, [&](int32_t x, int32_t y) {
      const uint8_t* pixel = face.picture.At(x, y);
      for (size_t c = 0; c < 3; ++c) channels[c].Add(pixel[c]);
      any = true;
    });
  }
  if (!any) return std::nullopt;
  return std::array<double, 3>{channels[0].Percentile(0.5), channels[1].Percentile(0.5), channels[2].Percentile(0.5)};
}

std::array<PixelBox, 2> Cheeks(const AlignedFace& face) {
  const double side = 0.3 * face.eyeDistance;
  return {SquareAround(face.mesh[205], side), SquareAround(face.mesh[425], side)};
}

Floats Blur(const Floats& plane, int32_t width, int32_t height, double sigma) {
  const auto reach = static_cast<int32_t>(std::ceil(4 * sigma));
  std::vector<float> weights;
  double sum = 0;
  for (int32_t i = -reach; i <= reach; ++i) sum += exact::Exp(-0.5 * i * i / (sigma * sigma));
  for (int32_t i = -reach; i <= reach; ++i) {
    weights.push_back(static_cast<float>(exact::Exp(-0.5 * i * i / (sigma * sigma)) / sum));
  }
  const auto row = [width](auto& p, int32_t y) {
    return p.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
  };
  Floats between(plane.size()), blurred(plane.size());
  for (int32_t y = 0; y < height; ++y) {
    float* to = row(between, y);
    std::fill_n(to, width, 0.0F);
    for (int32_t i = -reach; i <= reach; ++i) {
      const float* from = row(plane, std::clamp(y + i, 0, height - 1));
      const float weight = weights[static_cast<size_t>(i + reach)];
      for (int32_t x = 0; x < width; ++x) to[x] += weight * from[x];
    }
  }
  Floats line(static_cast<size_t>(width) + 2 * static_cast<size_t>(reach));
  for (int32_t y = 0; y < height; ++y) {
    const float* from = row(between, y);
    for (int32_t x = -reach; x < width + reach; ++x) {
      line[static_cast<size_t>(x + reach)] = from[std::clamp(x, 0, width - 1)];
    }
    float* to = row(blurred, y);
    std::fill_n(to, width, 0.0F);
    for (size_t i = 0; i < weights.size(); ++i) {
      const float* shifted = line.data() + i;
      for (int32_t x = 0; x < width; ++x) to[x] += weights[i] * shifted[x];
    }
  }
  return blurred;
}

}  // namespace qx::photo
