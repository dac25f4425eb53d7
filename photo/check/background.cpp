#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "photo/check/colour.h"
#include "photo/check/face_view.h"
#include "photo/render/css_colours.h"

namespace qx::photo {
namespace {

// The part of the aligned face that counts, and the size that it is brought to.
constexpr PixelBox kPart{62, 0, kAlignedSide - 62, kAlignedSide - 210};
constexpr int32_t kWidth = 354, kHeight = 292;
constexpr size_t kPixels = static_cast<size_t>(kWidth) * kHeight;
// Fewer pixels are no background.
constexpr int kLeast = 500;

struct Wall {
  Image picture{kWidth, kHeight};
  Region region{kWidth, kHeight};  // background, but for the pixels next to the person
  Region inner{kWidth, kHeight};   // what lies further off
};

double SourcePlace(int32_t i, int32_t from, int32_t to) {
  return std::clamp((i + 0.5) * from / to - 0.5, 0.0, from - 1.0);
}

Wall WallOf(const AlignedFace& face) {
  constexpr uint8_t kPerson = 32;  // and above it
  Wall wall;
  Region free(kWidth, kHeight);
  for (int32_t y = 0; y < kHeight; ++y) {
    const double sy = kPart.top + SourcePlace(y, kPart.Height(), kHeight);
    const auto top = static_cast<int32_t>(sy), below = std::min(top + 1, kPart.bottom - 1);
    for (int32_t x = 0; x < kWidth; ++x) {
      const double sx = kPart.left + SourcePlace(x, kPart.Width(), kWidth);
      const auto left = static_cast<int32_t>(sx), right = std::min(left + 1, kPart.right - 1);
      const double fx = sx - left, fy = sy - top;
      const uint8_t *a = face.picture.At(left, top), *b = face.picture.At(right, top);
      const uint8_t *c = face.picture.At(left, below), *d = face.picture.At(right, below);
      for (size_t k = 0; k < 3; ++k) {
        const double upper = a[k] + fx * (b[k] - a[k]), lower = c[k] + fx * (d[k] - c[k]);
        wall.picture.At(x, y)[k] = static_cast<uint8_t>(upper + fy * (lower - upper) + 0.5);
      }
      const auto nearX = static_cast<int32_t>(sx + 0.5), nearY = static_cast<int32_t>(sy + 0.5);
      free.At(x, y) = face.inside.At(nearX, nearY) != 0 && face.person.Row(nearY)[nearX] < kPerson;
    }
  }
  constexpr int32_t kFurther = 9;
  wall.region = Erode(free, 2, 1);  // a square of four pixels
  wall.inner = Erode(wall.region, kFurther, kFurther);
  return wall;
}

int Count(const Region& region) {
  return static_cast<int>(std::count(region.bits.begin(), region.bits.end(), uint8_t{1}));
}

constexpr PixelBox kWhole{0, 0, kWidth, kHeight};

// Mean slope of the luminance, by Scharr's kernels (3 10 3) as they are.
double MeanGradient(const Wall& wall) {
  Bytes luminance(kPixels);
  for (size_t i = 0; i < kPixels; ++i) luminance[i] = Luminance(&wall.picture.bgr[3 * i]);
  const auto y = [&luminance](int32_t column, int32_t row) {
    const auto mirror = [](int32_t i, int32_t size) { return i < 0 ? -i : i >= size ? 2 * size - 2 - i : i; };
    return static_cast<double>(luminance[static_cast<size_t>(mirror(row, kHeight) * kWidth + mirror(column, kWidth))]);
  };
  double sum = 0;
  ForEachPixel(kWhole, wall.region, [&](int32_t i, int32_t j) {
    const double gx = 3 * (y(i + 1, j - 1) - y(i - 1, j - 1)) + 10 * (y(i + 1, j) - y(i - 1, j)) +
                      3 * (y(i + 1, j + 1) - y(i - 1, j + 1));
    const double gy = 3 * (y(i - 1, j + 1) - y(i - 1, j - 1)) + 10 * (y(i, j + 1) - y(i, j - 1)) +
                      3 * (y(i + 1, j + 1) - y(i + 1, j - 1));
    sum += std::sqrt(gx * gx + gy * gy);
  });
  return sum / Count(wall.region);
}

// The wall's colours, those of `inner` only.
std::vector<Lab> Colours(const Wall& wall) {
  std::vector<Lab> colours;
  ForEachPixel(kWhole, wall.inner, [&](int32_t x, int32_t y) { colours.push_back(ToLab(wall.picture.At(x, y))); });
  return colours;
}

Lab MedianOf(const std::vector<Lab>& colours) {
  const auto median = [&colours](double Lab::*part) {
    std::vector<double> values;
    for (const Lab& colour : colours) values.push_back(colour.*part);
    return Percentile(std::move(values), 0.5);
  };
  return {median(&Lab::l), median(&Lab::a), median(&Lab::b)};
}

// How much the blurred wall's lightness differs from place to place. Blurred over the wall alone.
double Shadow(const Wall& wall, const std::vector<Lab>& colours) {
  constexpr double kBlur = 6;
  Floats light(kPixels), weight(kPixels);
  std::fill(light.begin(), light.end(), 0.0F);
  std::fill(weight.begin(), weight.end(), 0.0F);
  size_t next = 0;
  ForEachPixel(kWhole, wall.inner, [&](int32_t x, int32_t y) {
    const size_t i = wall.inner.First(y) + static_cast<size_t>(x);
    light[i] = static_cast<float>(colours[next++].l);
    weight[i] = 1;
  });
  light = Blur(light, kWidth, kHeight, kBlur);
  weight = Blur(weight, kWidth, kHeight, kBlur);
  std::vector<double> values;
  for (size_t i = 0; i < kPixels; ++i) {
    if (wall.inner.bits[i] != 0) values.push_back(light[i] / weight[i]);
  }
  return Percentile(values, 0.95) - Percentile(values, 0.05);
}

// The nearest of the colours that are asked for, if any can be read.
std::optional<Lab> NearestAsked(const Lab& wall, const std::vector<std::string>& asked) {
  std::optional<Lab> nearest;
  for (const std::string& name : asked) {
    const std::optional<uint32_t> rgb = ParseCssColour(name);
    if (!rgb) continue;
    const uint8_t bgr[] = {static_cast<uint8_t>(*rgb), static_cast<uint8_t>(*rgb >> 8),
                           static_cast<uint8_t>(*rgb >> 16)};
    const Lab colour = ToLab(bgr);
    if (!nearest || Distance(wall, colour) < Distance(wall, *nearest)) nearest = colour;
  }
  return nearest;
}

// Where the document asks for a colour that is itself darker than bright walls are, that one decides.
void LetColourDecide(const Lab& asked, MeasureList* list) {
  const double limit = (*list)[MeasureId::kBackgroundLightness].min.value_or(0);
  if (asked.l < limit) list->OnlyShow(MeasureId::kBackgroundLightness, "the document asks for a darker colour");
}

// A wall of the right hue that is only darker is a matter of light.
void JudgeAskedColour(const Lab& wall, const Lab& asked, MeasureList* list) {
  const Measure& measure = list->Judge(MeasureId::kBackgroundColour, Distance(wall, asked),
                                       "the background has not the colour that the document asks for");
  if (measure.state != MeasureState::kFailed) return;
  if (Distance({0, wall.a, wall.b}, {0, asked.a, asked.b}) > *measure.max) return;
  list->Remark(MeasureId::kBackgroundColour, wall.l < asked.l
                                                 ? "the background is darker than the document asks for: light it"
                                                 : "the background is brighter than the document asks for");
}

void JudgeColours(const Wall& wall, const MeasureOptions& options, MeasureList* list) {
  const std::vector<Lab> colours = Colours(wall);
  const Lab median = MedianOf(colours);
  std::vector<double> distances;
  for (const Lab& colour : colours) distances.push_back(Distance(colour, median));
  constexpr double kShare = 0.95;
  const Measure& even = list->Judge(MeasureId::kBackgroundEvenness, Percentile(std::move(distances), kShare),
                                    "the background is not plain: stand before an empty wall");
  if (even.state == MeasureState::kPassed && *even.value > *even.max) {
    list->Remark(MeasureId::kBackgroundEvenness, "the background is uneven or has a shadow: step away from the wall");
  }
  list->Judge(MeasureId::kBackgroundShadow, Shadow(wall, colours),
              "a shadow on the background: step away from the wall or light it too");
  list->Judge(MeasureId::kBackgroundLightness, median.l, "the background is dark: choose or light a bright wall");
  if (const std::optional<Lab> asked = NearestAsked(median, options.backgrounds)) {
    JudgeAskedColour(median, *asked, list);
    LetColourDecide(*asked, list);
  }
}

}  // namespace

void MeasureBackground(const FaceView& view, MeasureList* list) {
  const auto none = [list](const std::string& reason) {
    for (const MeasureId id :
         {MeasureId::kBackgroundUniformity, MeasureId::kBackgroundEvenness, MeasureId::kBackgroundShadow,
          MeasureId::kBackgroundColour, MeasureId::kBackgroundLightness}) {
      list->NotAssessed(id, reason);
    }
  };
  if (view.aligned.person.values.empty()) return none("the person cannot be told from the background");
  const Wall wall = WallOf(view.aligned);
  if (Count(wall.region) < kLeast || Count(wall.inner) < kLeast) {
    return none("hardly any background is in the picture");
  }
  list->Judge(MeasureId::kBackgroundUniformity, MeanGradient(wall));
  JudgeColours(wall, view.options, list);
}

}  // namespace qx::photo
