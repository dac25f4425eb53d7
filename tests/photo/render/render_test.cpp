// Rendering and sampling against plain readings in double precision, and the sources that they read from.
#include "photo/render/render.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "photo/base/photo_source.h"
#include "photo/base/resize.h"
#include "photo/face/upright.h"
#include "photo/place/person_geometry.h"
#include "photo/render/extend_colours.h"

namespace qx::photo {
namespace {

class Noise {
 public:
  explicit Noise(uint32_t seed) : state_(seed) {}
  uint8_t Next() { return static_cast<uint8_t>((state_ = state_ * 1664525u + 1013904223u) >> 24); }

 private:
  uint32_t state_;
};

Image NoisyImage(int width, int height) {
  Image image(width, height);
  Noise noise(static_cast<uint32_t>(width * 31 + height));
  for (uint8_t& sample : image.bgr) sample = noise.Next();
  return image;
}

// Fully covered and uncovered areas, and edges of all widths between.
Mask WavyMask(int width, int height) {
  Mask mask(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double wave = 128 + 260 * std::sin(x * 0.31 + 1) * std::cos(y * 0.23);
      mask.Row(y)[x] = static_cast<uint8_t>(std::clamp(wave, 0.0, 255.0));
    }
  }
  return mask;
}

double Lanczos(double distance, double stretch) {
  const double x = std::abs(distance) / std::max(stretch, 1.0), pi = std::acos(-1.0);
  if (x >= 3) return 0;
  return x == 0 ? 1 : std::sin(pi * x) / (pi * x) * std::sin(pi * x / 3) / (pi * x / 3);
}

// One rendering, pixel by pixel: along each row of the part around the place where the document's column crosses it,
// then along that column.
struct PlainRendering {
  const PhotographPart& part;
  const Mask& mask;
  const Background& background;
  const Turn& turn;
  const Rectangle& rectangle;
  const Document& document;

  PlacePoint InPart(double x, double y) const {
    const PlacePoint p = turn.Back({rectangle.left + x * rectangle.width / document.width,
                                    rectangle.top + y * rectangle.height / document.height});
    return {(p.x - part.box.left) * part.ScaleX(), (p.y - part.box.top) * part.ScaleY()};
  }
  bool Reaches(bool (*beyond)(const PlacePoint&, const PhotographPart&)) const {
    for (const double x : {rectangle.left, rectangle.Right()}) {
      for (const double y : {rectangle.top, rectangle.Bottom()}) {
        if (beyond(turn.Back({x, y}), part)) return !background.IsKeep();
      }
    }
    return false;
  }

  // Three colours times the coverage, and the coverage.
  std::array<double, 4> Sample(int x, int y) const {
    const auto left = [](const PlacePoint& p, const PhotographPart& of) { return p.x < 0 && of.box.left == 0; };
    const auto top = [](const PlacePoint& p, const PhotographPart& of) { return p.y < 0 && of.box.top == 0; };
    const auto right = [](const PlacePoint& p, const PhotographPart& of) {
      return p.x > of.width && of.box.right == of.width;
    };
    const int w = part.picture.width, h = part.picture.height;
    if ((x < 0 && Reaches(left)) || (y < 0 && Reaches(top)) || (x >= w && Reaches(right))) return {};
    x = std::clamp(x, 0, w - 1);
    y = std::clamp(y, 0, h - 1);
    const double share = background.IsKeep() ? 1 : mask.Row(y)[x] / 255.0;
    const uint8_t* p = part.picture.At(x, y);
    return {p[0] * share, p[1] * share, p[2] * share, share};
  }

  std::array<double, 4> Sum(int i, int j) const {
    const PlacePoint place = InPart(i + 0.5, j + 0.5), below = InPart(i + 0.5, j + 1.5),
                     next = InPart(i + 1.5, j + 0.5);
    const double down = below.y - place.y, lean = (below.x - place.x) / down;
    const double step = next.x - place.x - lean * (next.y - place.y);
    std::array<double, 4> sum{};
    double weights = 0;
    const int reachY = static_cast<int>(3 * std::max(std::abs(down), 1.0)) + 2;
    const int reachX = static_cast<int>(3 * std::max(std::abs(step), 1.0)) + 2;
    for (int y = static_cast<int>(place.y) - reachY; y <= place.y + reachY; ++y) {
      const double across = Lanczos(y + 0.5 - place.y, std::abs(down));
      if (across == 0) continue;
      const double x0 = place.x + (y + 0.5 - place.y) * lean;
      std::array<double, 4> row{};
      double rowWeights = 0;
      for (int x = static_cast<int>(x0) - reachX; x <= x0 + reachX; ++x) {
        const double along = Lanczos(x + 0.5 - x0, std::abs(step));
        const auto sample = Sample(x, y);
        for (size_t c = 0; c < 4; ++c) row[c] += along * sample[c];
        rowWeights += along;
      }
      for (size_t c = 0; c < 4; ++c) sum[c] += across * row[c] / rowWeights;
      weights += across;
    }
    for (double& value : sum) value /= weights;
    return sum;
  }

  std::array<double, 3> At(int i, int j) const {
    const std::array<double, 4> sum = Sum(i, j);
    const Colour colour = RowColour(background, j, document.height);
    const double behind[] = {double{1} * colour.blue, double{1} * colour.green, double{1} * colour.red};
    std::array<double, 3> shown{};
    for (size_t c = 0; c < 3; ++c) {
      shown[c] = std::clamp(sum[c] + (background.IsKeep() ? 0 : behind[c] * (1 - sum[3])), 0.0, 255.0);
    }
    return shown;
  }
};

void ExpectPlain(const PhotographPart& part, const Mask& mask, const char* background, const Turn& turn,
                 const Rectangle& rectangle) {
  SCOPED_TRACE(std::string(background) + " sine " + std::to_string(turn.Sin()) + " from " +
               std::to_string(rectangle.left));
  Document document;
  document.width = 26;
  document.height = 33;
  const Background behind = ParseBackground(background);
  const Image made = RenderPhoto(part, mask, behind, turn, rectangle, document);
  const PlainRendering plain{part, mask, behind, turn, rectangle, document};
  double worst = 0;
  for (int j = 0; j < document.height; ++j) {
    for (int i = 0; i < document.width; ++i) {
      const auto wanted = plain.At(i, j);
      for (size_t c = 0; c < 3; ++c) worst = std::max(worst, std::abs(wanted[c] - made.At(i, j)[c]));
    }
  }
  // Half a level for the rounding; the rest for the kernel, which has 1,024 places between two samples.
  EXPECT_GT(0.9, worst);
}

TEST(Render, IsThePlainSum) {
  const Image picture = NoisyImage(90, 110);
  const Mask mask = WavyMask(90, 110);
  const PhotographPart whole{picture, {0, 0, 90, 110}, 90, 110};
  const PhotographPart inner{picture, {40, 31, 160, 251}, 300, 320};   // reduced, away from all edges
  const PhotographPart corner{picture, {210, 0, 300, 110}, 300, 320};  // at two edges
  for (const double angle : {0.0, 0.5, -7.3, 12.0, -25.0, 40.0}) {
    const Turn turn(angle, {50, 60});
    ExpectPlain(whole, mask, "#20c0f0", turn, {20, 25, 52, 66});  // twice as large as the document
    ExpectPlain(whole, mask, "gradient:#ff0000-#0010ff", turn, {33.3, 41.7, 20, 25.4});  // enlarged
    ExpectPlain(whole, mask, "white", turn, {-20, -30, 104, 132});  // beyond the left and upper edge
    ExpectPlain(whole, mask, "keep", turn, {10, 12, 70, 88.8});
    ExpectPlain(whole, mask, "keep", turn, {-5, -7, 30, 38.1});
    ExpectPlain(inner, mask, "black", Turn(angle, {100, 140}), {60, 80, 78, 99});
    ExpectPlain(corner, mask, "black", Turn(angle, {250, 50}), {230, -20, 83.2, 105.6});
  }
}

// Laid over a colour, the transparent picture is the one before that colour; but not where the kernel swings out of
// what colours and coverage can be.
void ExpectTransparent(const PhotographPart& part, const Mask& mask, const Turn& turn, const Rectangle& rectangle) {
  Document document;
  document.width = 26;
  document.height = 33;
  Mask alpha;
  const Image cutOut = RenderPhoto(part, mask, ParseBackground("transparent"), turn, rectangle, document, &alpha);
  ASSERT_TRUE(alpha.IsOf(cutOut));
  int compared = 0;
  for (const char* colour : {"black", "white", "#20c0f0", "gradient:#ff0000-#0010ff"}) {
    const Background behind = ParseBackground(colour);
    const Image filled = RenderPhoto(part, mask, behind, turn, rectangle, document);
    const Image laid = Composite(cutOut, alpha, behind);
    const PlainRendering plain{part, mask, behind, turn, rectangle, document};
    for (int j = 0; j < document.height; ++j) {
      for (int i = 0; i < document.width; ++i) {
        const auto sum = plain.Sum(i, j);
        EXPECT_NEAR(std::clamp(255 * sum[3], 0.0, 255.0), alpha.Row(j)[i], 0.9);
        const double most = *std::max_element(sum.begin(), sum.begin() + 3);
        const double least = *std::min_element(sum.begin(), sum.begin() + 3);
        if (sum[3] < 0 || sum[3] > 1 || least < 0 || most > 255 * sum[3]) continue;
        ++compared;
        for (size_t c = 0; c < 3; ++c) EXPECT_NEAR(filled.At(i, j)[c], laid.At(i, j)[c], 1) << i << " " << j;
      }
    }
  }
  EXPECT_LT(4 * 26 * 33 / 3, compared);
}

TEST(Render, TransparentIsThePictureBeforeNoColour) {
  const Image picture = NoisyImage(90, 110);
  const Mask mask = WavyMask(90, 110);
  const PhotographPart whole{picture, {0, 0, 90, 110}, 90, 110};
  for (const double angle : {0.0, -7.3, 25.0}) {
    const Turn turn(angle, {50, 60});
    ExpectTransparent(whole, mask, turn, {20, 25, 52, 66});
    ExpectTransparent(whole, mask, turn, {33.3, 41.7, 20, 25.4});
    ExpectTransparent(whole, mask, turn, {-20, -30, 104, 132});  // nothing above and beside the photograph
  }
}

TEST(Render, ColoursGoOnWhereNothingIsSeen) {
  const Mask nothing(3 + kColourReach, 2, 0);
  Mask mask = nothing;
  mask.Row(0)[0] = 1;
  mask.Row(1)[2] = 255;
  Image picture = NoisyImage(mask.width, 2);
  const auto at = [&picture](int x, int y) { return Bytes(picture.At(x, y), picture.At(x, y) + 3); };
  const Bytes upper = at(0, 0), lower = at(2, 1), black(3, 0);
  ExtendColours(mask, &picture);
  EXPECT_EQ(upper, at(0, 0));
  EXPECT_EQ(upper, at(1, 0));
  EXPECT_EQ(upper, at(0, 1));
  EXPECT_EQ(lower, at(2, 1));
  EXPECT_EQ(lower, at(3, 0));
  EXPECT_EQ(lower, at(2 + kColourReach, 1));
  EXPECT_EQ(lower, at(1 + kColourReach, 0));
  EXPECT_EQ(black, at(2 + kColourReach, 0));
  ExtendColours(nothing, &picture);
  EXPECT_EQ(Bytes(picture.bgr.size(), 0), picture.bgr);
}

// Without the kernel's details: a ramp shows at each pixel of the document the place of the photograph that the turn
// brings there.
TEST(Render, ShowsWhatTheTurnBringsThere) {
  Image ramp(240, 240);
  for (int y = 0; y < 240; ++y) {
    for (int x = 0; x < 240; ++x) {
      const auto column = static_cast<uint8_t>(x), row = static_cast<uint8_t>(y);
      std::copy_n(std::array<uint8_t, 3>{column, row, static_cast<uint8_t>((x + y) / 2)}.begin(), 3, ramp.At(x, y));
    }
  }
  const PhotographPart part{ramp, {0, 0, 240, 240}, 240, 240};
  for (const double angle : {-25.0, -3.0, 0.0, 8.0, 25.0}) {
    for (const double size : {40.0, 90.0}) {
      const Turn turn(angle, {130, 100});
      const Rectangle rectangle{110 - size / 4, 90 - size / 4, size, size};
      Document document;
      document.width = document.height = 45;
      const Image made = RenderPhoto(part, {}, ParseBackground("keep"), turn, rectangle, document);
      for (int j = 0; j < 45; ++j) {
        for (int i = 0; i < 45; ++i) {
          const PlacePoint there =
              turn.Back({rectangle.left + (i + 0.5) * size / 45, rectangle.top + (j + 0.5) * size / 45});
          ASSERT_NEAR(there.x - 0.5, made.At(i, j)[0], 1) << angle << " " << i << " " << j;
          ASSERT_NEAR(there.y - 0.5, made.At(i, j)[1], 1) << angle << " " << i << " " << j;
        }
      }
    }
  }
}

double Bilinear(const Mask& mask, const PixelBox& box, double x, double y) {
  const double u = std::clamp((x - box.left) * mask.width / box.Width() - 0.5, 0.0, mask.width - 1.0);
  const double v = std::clamp((y - box.top) * mask.height / box.Height() - 0.5, 0.0, mask.height - 1.0);
  const int left = static_cast<int>(u), top = static_cast<int>(v);
  const int right = std::min(left + 1, mask.width - 1), below = std::min(top + 1, mask.height - 1);
  const double fx = u - left, fy = v - top;
  return (1 - fy) * ((1 - fx) * mask.Row(top)[left] + fx * mask.Row(top)[right]) +
         fy * ((1 - fx) * mask.Row(below)[left] + fx * mask.Row(below)[right]);
}

TEST(MaskView, SamplesTheFinerMaskWhereItIs) {
  const Mask coarse = WavyMask(50, 40), fine = WavyMask(110, 90);
  MaskView view;
  view.width = 400;
  view.height = 320;
  view.whole = &coarse;
  for (const bool withPart : {false, true}) {
    if (withPart) view.part = &fine;
    view.partBox = {120, 80, 230, 170};
    for (const double angle : {0.0, 11.0, -25.0}) {
      view.turn = Turn(angle, {180, 140});
      for (const double scale : {1.0, 0.4}) {
        const Rectangle rectangle{-20.5, -30, 450, 380};
        const Mask mask = view.Sample(rectangle, scale);
        ASSERT_EQ(std::lround(450 * scale), mask.width);
        ASSERT_EQ(std::lround(380 * scale), mask.height);
        for (int y = 0; y < mask.height; ++y) {
          for (int x = 0; x < mask.width; ++x) {
            const PlacePoint p =
                view.turn.Back({rectangle.left + (x + 0.5) / scale, rectangle.top + (y + 0.5) / scale});
            const bool inside = p.x >= 0 && p.y >= 0 && p.x <= 400 && p.y <= 320;
            const bool inPart = withPart && p.x >= 120 && p.x <= 230 && p.y >= 80 && p.y <= 170;
            const double wanted = !inside  ? 0
                                  : inPart ? Bilinear(fine, view.partBox, p.x, p.y)
                                           : Bilinear(coarse, {0, 0, 400, 320}, p.x, p.y);
            ASSERT_NEAR(wanted, mask.Row(y)[x], 0.52) << p.x << " " << p.y << " " << angle;
          }
        }
      }
    }
  }
}

Image Cut(const Image& image, const PixelBox& box) {
  Image cut(box.Width(), box.Height());
  for (int y = 0; y < cut.height; ++y) {
    std::copy_n(image.At(box.left, box.top + y), size_t{3} * static_cast<size_t>(cut.width), cut.At(0, y));
  }
  return cut;
}

TEST(ImageSource, ReducesTheOverviewByWholeFactors) {
  const Image picture = NoisyImage(61, 43);
  ImageSource source(picture);
  EXPECT_EQ(picture.bgr, source.Overview(100000).bgr);
  EXPECT_EQ(picture.bgr, source.Overview(61 * 43 / 4 + 1).bgr);
  const Image half = source.Overview(30 * 21);
  ASSERT_EQ(30, half.width);
  ASSERT_EQ(21, half.height);
  for (int y = 0; y < 21; ++y) {
    for (int x = 0; x < 30; ++x) {
      for (int c = 0; c < 3; ++c) {
        const int sum = picture.At(2 * x, 2 * y)[c] + picture.At(2 * x + 1, 2 * y)[c] +
                        picture.At(2 * x, 2 * y + 1)[c] + picture.At(2 * x + 1, 2 * y + 1)[c];
        ASSERT_EQ((sum + 2) / 4, half.At(x, y)[c]);
      }
    }
  }
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 500}, {700, 2}}) {
    const Image odd = ImageSource(NoisyImage(width, height)).Overview(1);
    EXPECT_LE(1, odd.width);
    EXPECT_LE(1, odd.height);
  }
  const PixelBox box{7, 11, 40, 30};
  EXPECT_EQ(Cut(picture, box).bgr, source.Part(box, 33, 19).bgr);
  const Image reduced = source.Part(box, 12, 8);
  EXPECT_EQ(ResizeLanczos(picture, {7, 11, 33, 19}, 12, 8).bgr, reduced.bgr);
}

TEST(TurnedSource, GivesPartsOfTheTurnedPicture) {
  const Image picture = NoisyImage(37, 26);
  ImageSource source(picture);
  for (int turns = 0; turns < 4; ++turns) {
    SCOPED_TRACE(turns);
    TurnedSource turned(&source, turns);
    const Image whole = TurnClockwise(picture, turns);
    ASSERT_EQ(whole.width, turned.Width());
    ASSERT_EQ(whole.height, turned.Height());
    EXPECT_EQ(whole.bgr, turned.Overview(37 * 26).bgr);
    for (const PixelBox& box : {PixelBox{0, 0, whole.width, whole.height}, {3, 5, 20, 11}, {25, 25, 26, 26}}) {
      EXPECT_EQ(Cut(whole, box).bgr, turned.Part(box, box.Width(), box.Height()).bgr);
    }
    const Image reduced = turned.Part({3, 5, 23, 25}, 10, 7);
    const Image plain = ResizeLanczos(whole, {3, 5, 20, 20}, 10, 7);
    ASSERT_EQ(10, reduced.width);
    ASSERT_EQ(7, reduced.height);
    // The order of rows and columns is another.
    for (size_t i = 0; i < plain.bgr.size(); ++i) ASSERT_NEAR(plain.bgr[i], reduced.bgr[i], 1);
  }
}

}  // namespace
}  // namespace qx::photo
