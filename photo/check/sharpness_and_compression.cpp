#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "base/exact_math.h"
#include "photo/check/colour.h"
#include "photo/check/face_view.h"

namespace qx::photo {
namespace {

// The face's part of the aligned picture, with so much around it that the widest blur stays inside.
PixelBox BoxOf(const Region& region) {
  PixelBox box{region.width, region.height, 0, 0};
  ForEachPixel(kAllAligned, region, [&box](int32_t x, int32_t y) {
    box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x + 1), std::max(box.bottom, y + 1)};
  });
  return box;
}

double Square(double v) {
  return v * v;
}

// The brightness of a region and what is around it.
struct Part {
  PixelBox box;
  Floats luma;
  int32_t width = 0, height = 0;
};

std::optional<Part> PartOf(const AlignedFace& face, const Region& region) {
  constexpr int32_t kReach = 16;  // of the widest blur
  PixelBox box = BoxOf(region);
  if (box.Width() <= 0) return std::nullopt;
  box = {std::max(0, box.left - kReach), std::max(0, box.top - kReach), std::min(kAlignedSide, box.right + kReach),
         std::min(kAlignedSide, box.bottom + kReach)};
  Part part{box, {}, box.Width(), box.Height()};
  for (int32_t y = box.top; y < box.bottom; ++y) {
    for (int32_t x = box.left; x < box.right; ++x) {
      part.luma.push_back(static_cast<float>(Luma(face.picture.At(x, y))));
    }
  }
  return part;
}

// Fine detail against coarse detail, which hangs on neither light nor contrast: the root mean squares of two bands of
// a pyramid (P. Burt and E. Adelson, "The Laplacian Pyramid as a Compact Image Code", 1983) over each other, of blurs
// by 1, 2 and 4 pixels.
template <typename BlurBy>
double FineByCoarse(const Part& part, const Region& region, BlurBy blur) {
  const Floats one = blur(1.0), two = blur(2.0), four = blur(4.0);
  double fine = 0, coarse = 0;
  ForEachPixel(part.box, region, [&](int32_t x, int32_t y) {
    const size_t i = static_cast<size_t>(y - part.box.top) * static_cast<size_t>(part.width) +
                     static_cast<size_t>(x - part.box.left);
    fine += Square(static_cast<double>(one[i]) - two[i]);
    coarse += Square(static_cast<double>(two[i]) - four[i]);
  });
  constexpr double kFlat = 1e-3;  // what rounding leaves of a picture without any detail
  return coarse > kFlat ? std::sqrt(fine / coarse) : std::nan("");
}

// Blurred along lines only, each step of which leads that many pixels aside and down: 0 or 1, or -1 down.
Floats BlurAlong(const Part& part, int32_t aside, int32_t down, double sigma) {
  const double step = std::sqrt(1.0 * (aside * aside + down * down));
  const auto reach = static_cast<int32_t>(std::ceil(4 * sigma / step));
  const int32_t stride = part.width + 2 * reach, rows = part.height + 2 * reach;
  Floats wide;  // borders go on
  wide.reserve(static_cast<size_t>(stride) * static_cast<size_t>(rows));
  for (int32_t y = 0; y < rows; ++y) {
    const int32_t row = std::clamp(y - reach, 0, part.height - 1);
    const float* from = part.luma.data() + static_cast<size_t>(row) * static_cast<size_t>(part.width);
    wide.insert(wide.end(), static_cast<size_t>(reach), from[0]);
    wide.insert(wide.end(), from, from + part.width);
    wide.insert(wide.end(), static_cast<size_t>(reach), from[part.width - 1]);
  }
  std::vector<float> weights;
  double sum = 0;
  const auto bell = [&](int32_t i) { return exact::Exp(-0.5 * Square(i * step / sigma)); };
  for (int32_t i = -reach; i <= reach; ++i) sum += bell(i);
  for (int32_t i = -reach; i <= reach; ++i) weights.push_back(static_cast<float>(bell(i) / sum));
  Floats blurred(part.luma.size());
  for (int32_t y = 0; y < part.height; ++y) {
    float* to = blurred.data() + static_cast<size_t>(y) * static_cast<size_t>(part.width);
    std::fill_n(to, part.width, 0.0F);
    for (int32_t i = -reach; i <= reach; ++i) {
      const float* from =
          wide.data() + static_cast<size_t>(y + reach + i * down) * static_cast<size_t>(stride) + reach + i * aside;
      const float weight = weights[static_cast<size_t>(i + reach)];
      for (int32_t x = 0; x < part.width; ++x) to[x] += weight * from[x];
    }
  }
  return blurred;
}

// The same along the lines of the direction in which there is least: a camera that was moved blurs only one.
double LeastAlongLines(const Part& part, const Region& region) {
  double least = std::numeric_limits<double>::infinity();
  for (const auto& [aside, down] : {std::pair(1, 0), {0, 1}, {1, 1}, {1, -1}}) {
    const double here =
        FineByCoarse(part, region, [&part, a = aside, d = down](double sigma) { return BlurAlong(part, a, d, sigma); });
    least = std::min(least, here);  // a direction without any detail stays out
  }
  return least;
}

// Steps at each of the eight phases of a line of `count` values whose neighbours differ by differences(i).
struct Phases {
  std::array<double, 8> sums{}, counts{};

  template <typename Difference>
  void Add(int32_t count, Difference difference) {
    for (int32_t i = 1; i + 2 < count; ++i) {
      const auto phase = static_cast<size_t>(i % 8);
      sums[phase] += std::max(0.0, 2 * difference(i) - difference(i - 1) - difference(i + 1));
      counts[phase] += 1;
    }
  }
  // Of the borders of the 8-pixel grid against the median of all phases.
  double Ratio() const {
    std::vector<double> means;
    for (size_t i = 0; i < 8; ++i) means.push_back(counts[i] > 0 ? sums[i] / counts[i] : 0);
    const double grid = means[7], median = Percentile(std::move(means), 0.5);
    // Drawn pictures without noise have next to no steps elsewhere, whatever their grid shows.
    constexpr double kLeastNoise = 0.05;  // grey levels
    return grid > 0 || median > 0 ? grid / std::max(median, kLeastNoise) : std::nan("");
  }
};

// A part of at most 512 x 512 pixels around a place whose sides lie on the grid.
PixelBox GridPart(const Image& photograph, double x, double y) {
  constexpr int32_t kMost = 512;
  const auto begin = [](double centre, int32_t size) {
    return static_cast<int32_t>(std::clamp(centre - kMost / 2.0, 0.0, std::max(0.0, 1.0 * size - kMost))) / 8 * 8;
  };
  const int32_t left = begin(x, photograph.width), top = begin(y, photograph.height);
  return {left, top, std::min(photograph.width, left + kMost), std::min(photograph.height, top + kMost)};
}

}  // namespace

void MeasureSharpness(const FaceView& view, MeasureList* list) {
  const AlignedFace& face = view.aligned;
  constexpr int32_t kRim = 4, kFromEdge = 16;  // black beyond the photograph's edge is no detail
  Region region = Erode(face.hull, kRim, kRim);
  const Region inner = Erode(face.inside, kFromEdge, kFromEdge);
  for (size_t i = 0; i < region.bits.size(); ++i) region.bits[i] &= inner.bits[i];
  const std::optional<Part> part = PartOf(face, region);
  const double sharpness =
      part ? FineByCoarse(*part, region,
                          [&part](double sigma) { return Blur(part->luma, part->width, part->height, sigma); })
           : std::nan("");
  const char* const advice = face.toAligned > 2 ? "the face is too small or not sharp: come closer"
                                                : "not sharp: focus on the eyes and hold the camera still";
  const Measure& measure = list->Judge(MeasureId::kSharpness, sharpness, advice);
  if (measure.state != MeasureState::kPassed) return;
  // Sharp faces have 0.49 and more, those moved by a twelfth of the eyes' distance 0.41 and less.
  constexpr double kMoved = 0.42, kPerhapsMoved = 0.45;
  const double least = LeastAlongLines(*part, region);
  if (least < kMoved) {
    list->Fail(MeasureId::kSharpness, "blurred in one direction: hold the camera and the head still");
  } else if (least < kPerhapsMoved || *measure.value < *measure.min) {
    list->Remark(MeasureId::kSharpness, "hardly sharp enough: look at the eyes at full size");
  }
}

void MeasureCompression(const Image& photograph, const std::vector<ProbedFace>& faces, MeasureList* list) {
  const FaceBox face = faces.empty() ? FaceBox{0, 0, 1.0 * photograph.width, 1.0 * photograph.height} : faces[0].Box();
  const PixelBox part = GridPart(photograph, (face.left + face.right) / 2, (face.top + face.bottom) / 2);
  constexpr int32_t kLeast = 64;
  if (part.Width() < kLeast || part.Height() < kLeast) {
    return list->NotAssessed(MeasureId::kCompressionArtifacts, "the photograph is too small");
  }
  const int32_t width = part.Width(), height = part.Height();
  Floats luma;
  luma.reserve(static_cast<size_t>(width) * static_cast<size_t>(height));
  for (int32_t y = part.top; y < part.bottom; ++y) {
    for (int32_t x = part.left; x < part.right; ++x) luma.push_back(static_cast<float>(Luma(photograph.At(x, y))));
  }
  const auto at = [&](int32_t x, int32_t y) {
    return static_cast<double>(luma[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)]);
  };
  Phases columns, rows;
  for (int32_t y = 0; y < height; ++y) {
    columns.Add(width, [&](int32_t x) { return std::abs(at(x + 1, y) - at(x, y)); });
  }
  for (int32_t x = 0; x < width; ++x) {
    rows.Add(height, [&](int32_t y) { return std::abs(at(x, y + 1) - at(x, y)); });
  }
  list->Judge(MeasureId::kCompressionArtifacts, (columns.Ratio() + rows.Ratio()) / 2,
              "the blocks of strong JPEG compression show: save with a higher quality");
}

}  // namespace qx::photo
