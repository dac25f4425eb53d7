// What hair is followed with: gaps filled, the wall behind the head, the network, and the map laid over a picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <random>
#include <vector>

#include "photo/person/clean_plate.h"
#include "photo/person/hair_evidence.h"
#include "photo/person/hair_map.h"
#include "photo/person/hair_network.h"
#include "photo/person/head_crop.h"
#include "photo/person/pyramid.h"
#include "support/painted_head.h"

namespace qx::photo {
namespace {

using namespace qx::test;

#include "photo/person/hair_weights.inc"

// Nothing known.
Scattered Unknown(int width, int height) {
  Scattered known(width, height);
  std::fill(known.sums.pixels.begin(), known.sums.pixels.end(), Pixel{});
  std::fill(known.squares.begin(), known.squares.end(), 0.0f);
  return known;
}

void Set(Scattered* known, int x, int y, Pixel colour, float weight) {
  colour[3] = 1;
  Pixel* to = known->sums.Row(y) + x;
  *to = colour * weight;
  known->squares[static_cast<size_t>(to - known->sums.pixels.data())] =
      weight * (colour[0] * colour[0] + colour[1] * colour[1] + colour[2] * colour[2]) / 3;
}

// Push and pull as the method's authors state them, one pixel at a time, with a quarter known being enough.
class PlainGaps {
 public:
  explicit PlainGaps(const Scattered& known) {
    Level level{known.sums.width, known.sums.height, {}};
    for (size_t i = 0; i < known.squares.size(); ++i) {
      const Pixel p = known.sums.pixels[i];
      level.sums.push_back({p[0], p[1], p[2], p[3], known.squares[i]});
    }
    levels_.push_back(level);
    while (levels_.back().width > 1 || levels_.back().height > 1) Halve();
  }

  std::array<double, 4> At(int x, int y, size_t level = 0) const {
    const Sums& sums = levels_[level].At(x, y);
    const std::array<double, 4> wide = level + 1 < levels_.size() ? Between(x, y, level + 1) : std::array<double, 4>{};
    if (sums[3] <= 0) return wide;
    std::array<double, 4> own{sums[0] / sums[3], sums[1] / sums[3], sums[2] / sums[3], 0};
    own[3] = std::max(0.0, sums[4] / sums[3] - (own[0] * own[0] + own[1] * own[1] + own[2] * own[2]) / 3);
    const double share = level + 1 < levels_.size() ? std::min(1.0, 4 * sums[3]) : 1;
    for (size_t c = 0; c < 4; ++c) own[c] = wide[c] + share * (own[c] - wide[c]);
    return own;
  }

 private:
  using Sums = std::array<double, 5>;
  struct Level {
    int width, height;
    std::vector<Sums> sums;
    const Sums& At(int x, int y) const { return sums[static_cast<size_t>(y * width + x)]; }
  };

  void Halve() {
    const Level& fine = levels_.back();
    Level coarse{(fine.width + 1) / 2, (fine.height + 1) / 2, {}};
    coarse.sums.resize(static_cast<size_t>(coarse.width * coarse.height));
    for (int y = 0; y < fine.height; ++y) {
      for (int x = 0; x < fine.width; ++x) {
        for (size_t c = 0; c < 5; ++c) {
          coarse.sums[static_cast<size_t>(y / 2 * coarse.width + x / 2)][c] += fine.At(x, y)[c] / 4;
        }
      }
    }
    levels_.push_back(coarse);
  }

  std::array<double, 4> Between(int x, int y, size_t level) const {
    const Level& coarse = levels_[level];
    const double u = std::clamp(x / 2.0 - 0.25, 0.0, coarse.width - 1.0);
    const double v = std::clamp(y / 2.0 - 0.25, 0.0, coarse.height - 1.0);
    std::array<double, 4> sum{};
    for (const int down : {0, 1}) {
      for (const int across : {0, 1}) {
        const double weight = (across ? u - std::floor(u) : 1 - (u - std::floor(u))) *
                              (down ? v - std::floor(v) : 1 - (v - std::floor(v)));
        if (weight == 0) continue;
        const auto value = At(static_cast<int>(u) + across, static_cast<int>(v) + down, level);
        for (size_t c = 0; c < 4; ++c) sum[c] += weight * value[c];
      }
    }
    return sum;
  }

  std::vector<Level> levels_;
};

Field Filled(const Scattered& known) {
  Field filled;
  FillGaps(known, &filled);
  return filled;
}

TEST(FillGaps, IsThePlainPushAndPull) {
  std::mt19937 random(5);
  for (const auto& [width, height] : {std::pair{1, 1}, {2, 1}, {1, 9}, {17, 13}, {32, 5}}) {
    for (const unsigned rare : {2u, 40u}) {
      Scattered known = Unknown(width, height);
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          const Pixel colour{static_cast<float>(random() % 256), static_cast<float>(random() % 256),
                             static_cast<float>(random() % 256), 0};
          if (random() % rare == 0) Set(&known, x, y, colour, static_cast<float>(1 + random() % 8) / 8);
        }
      }
      const PlainGaps plain(known);
      const Field filled = Filled(known);
      ASSERT_EQ(width, filled.width);
      ASSERT_EQ(height, filled.height);
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          const auto expected = plain.At(x, y);
          for (size_t c = 0; c < 4; ++c) {
            EXPECT_NEAR(expected[c], filled.Row(y)[x][static_cast<int>(c)], c < 3 ? 0.01 : 0.3) << x << " " << y;
          }
        }
      }
    }
  }
}

TEST(FillGaps, KeepsWhatIsKnownAndBridgesTheRest) {
  const Field nothing = Filled(Unknown(7, 3));
  for (const Pixel& pixel : nothing.pixels) {
    for (int c = 0; c < 4; ++c) EXPECT_EQ(0, pixel[c]);
  }
  // A slope of two levels a pixel with a hole, of an odd size.
  constexpr int kWidth = 61, kHeight = 47;
  auto isHole = [](int x, int y) { return std::abs(x - 30) < 8 && std::abs(y - 24) < 8; };
  auto slope = [](int x, int y) {
    return Pixel{40 + 2 * static_cast<float>(x), 200 - 2 * static_cast<float>(y), 90, 0};
  };
  Scattered known = Unknown(kWidth, kHeight);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      if (!isHole(x, y)) Set(&known, x, y, slope(x, y), 1);
    }
  }
  const Field filled = Filled(known);
  float most = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const Pixel difference = filled.Row(y)[x] - slope(x, y);
      for (int c = 0; c < 3; ++c) {
        EXPECT_GE(isHole(x, y) ? 6 : 0.001f, std::abs(difference[c])) << x << " " << y;
      }
      if (isHole(x, y)) most = std::max(most, difference[3]);
      EXPECT_TRUE(isHole(x, y) || difference[3] < 0.01f) << x << " " << y;
    }
  }
  EXPECT_LT(10, most);  // what was averaged over the hole's width differs by so much
}

// Differences of the plate from the true wall, in levels, sorted: over strands and the gaps between them, not near a
// border of two walls.
std::vector<double> PlateErrors(const PaintedHead& head, const HeadCrop& crop, const CleanPlate& plate, double border) {
  std::vector<double> errors;
  FieldRow behind(plate.colours, crop.mask.width);
  for (int y = 0; y < crop.mask.height; ++y) {
    const Pixel* row = behind.At(y);
    for (int x = 0; x < crop.mask.width; ++x) {
      const int u = x + static_cast<int>(crop.window.left), v = y + static_cast<int>(crop.window.top);
      const size_t i = static_cast<size_t>(y) * static_cast<size_t>(crop.mask.width) + static_cast<size_t>(x);
      if (crop.depth[i] > 0 || crop.Depth(i) < -0.3 * head.faceWidth || std::abs(head.U(u)) < border) continue;
      for (int c = 0; c < 3; ++c) errors.push_back(std::abs(row[x][c] - head.wall.At(u, v)[c]));
    }
  }
  std::sort(errors.begin(), errors.end());
  return errors;
}

Colour Gradient(double u, double v) {
  return {170 + 15 * u, 150 + 12 * v, 160 - 10 * u + 8 * v};
}
// That of the head, beside it.
Colour Shadow(double u, double v) {
  const double dark = 60 * std::exp(-2.5 * ((u - 0.9) * (u - 0.9) + v * v));
  return {200 - dark, 190 - dark, 185 - dark};
}
Colour TwoColours(double u, double) {
  return u < 0 ? Colour{90, 120, 150} : Colour{210, 205, 200};
}
Colour Room(double u, double v) {
  const bool odd = (static_cast<int>(std::floor(u * 9)) + static_cast<int>(std::floor(v * 7))) % 2 != 0;
  return odd ? Colour{60, 90, 110} : Colour{190, 170, 150};
}

TEST(CleanPlate, ShowsTheWallBehindTheStrands) {
  struct {
    const char* name;
    Colour (*wall)(double, double);
    double border, most;
  } cases[] = {{"plain", PlainWall, 0, 10},
               {"gradient", Gradient, 0, 12},
               {"shadow", Shadow, 0, 24},
               {"two colours", TwoColours, 0.3, 24}};
  for (const auto& [name, wall, border, most] : cases) {
    for (const int width : {60, 130}) {
      const PaintedHead head(wall, width);
      const auto crop = CropHeads(head.Map(), head.picture, head.Whole(), {head.face}, {});
      ASSERT_TRUE(crop);
      ASSERT_EQ(crop->window.width, crop->mask.width);  // not reduced
      CleanPlate plate;
      ASSERT_TRUE(EstimatePlate(*crop, &plate));
      const std::vector<double> errors = PlateErrors(head, *crop, plate, border);
      EXPECT_GE(2, errors[errors.size() / 2]) << name << " " << width;
      EXPECT_GE(most, errors[errors.size() * 99 / 100]) << name << " " << width;
      EXPECT_GE(0.1, plate.Structure()) << plate.flooded << " " << plate.spread;
      EXPECT_GE(4, plate.noise);
    }
  }
}

// Stripes, but for the upper edge.
Colour Paper(double u, double v) {
  const double level = v > -1.4 && std::sin(60 * (u + v)) > 0 ? 140 : 170;
  return {level, level, level};
}

TEST(CleanPlate, KnowsWhenThereIsNone) {
  CleanPlate plate;
  std::optional<HeadCrop> crop;
  for (const auto& wall : {Room, Paper}) {
    const PaintedHead head(wall);
    crop = CropHeads(head.Map(), head.picture, head.Whole(), {head.face}, {});
    ASSERT_TRUE(crop);
    ASSERT_TRUE(EstimatePlate(*crop, &plate));
    EXPECT_LT(0.9f, plate.Structure()) << plate.flooded << " " << plate.spread;
  }
  crop->depth = SignedDistance(Region(crop->mask.width, crop->mask.height), 50);
  EXPECT_TRUE(EstimatePlate(*crop, &plate));  // nobody there
  std::fill(crop->depth.begin(), crop->depth.end(), int16_t{10 * kDistanceUnit});
  EXPECT_FALSE(EstimatePlate(*crop, &plate));  // nothing but persons
}

TEST(HairEvidence, IsOfTheStatedRange) {
  const auto shelf = [](double u, double v) { return u > 0.6 ? Room(u, v) : PlainWall(u, v); };
  for (const auto& wall : {std::function(PlainWall), std::function<Colour(double, double)>(shelf)}) {
    const PaintedHead head(wall, 45);
    const FaceBox other{head.face.left - 60, head.face.top, head.face.right - 60, head.face.bottom};
    const auto crop = CropHeads(head.Map(), head.picture, head.Whole(), {head.face}, {other});
    CleanPlate plate;
    ASSERT_TRUE(crop && EstimatePlate(*crop, &plate));
    HairEvidence evidence(*crop, plate);
    const auto stride = static_cast<size_t>(crop->mask.width) + 5;
    std::vector<int> columns(stride);
    size_t all = 0;
    for (int y = 0; y < crop->mask.height; ++y) {
      Floats values(HairEvidence::kValues * stride, NAN);
      const size_t count = evidence.DescribeRow(y, columns.data(), values.data(), stride);
      all += count;
      for (size_t k = 0; k < HairEvidence::kValues; ++k) {
        for (size_t j = 0; j < count; ++j) {
          ASSERT_EQ(HairEvidence::kUnknown, evidence.Kinds().At(columns[j], y));
          ASSERT_GE(1.5f, std::abs(values[k * stride + j])) << k;  // no number neither
        }
        ASSERT_TRUE(std::isnan(values[k * stride + count]));
      }
    }
    const auto& kinds = evidence.Kinds().bits;
    EXPECT_EQ(static_cast<size_t>(std::count(kinds.begin(), kinds.end(), HairEvidence::kUnknown)), all);
    EXPECT_LT(50, all);
  }
}

// The three layers in double precision, for one pixel.
double PlainAlpha(const std::vector<double>& values) {
  std::vector<double> first, second;
  for (size_t o = 0; o < kFirst; ++o) {
    double sum = kFirstOffsets[o];
    for (size_t i = 0; i < values.size(); ++i) sum += double{kFirstWeights[o][i]} * values[i];
    first.push_back(std::max(sum, 0.0));
  }
  for (size_t o = 0; o < kSecond; ++o) {
    double sum = kSecondOffsets[o];
    for (size_t i = 0; i < kFirst; ++i) sum += double{kSecondWeights[o][i]} * first[i];
    second.push_back(std::max(sum, 0.0));
  }
  double alpha = 0.5 + kLastOffsets[0];
  for (size_t i = 0; i < kSecond; ++i) alpha += double{kLastWeights[0][i]} * second[i];
  return std::clamp(alpha, 0.0, 1.0);
}

TEST(HairNetwork, IsThreeLayersForAnyNumberOfPixels) {
  std::mt19937 random(9);
  for (const size_t count : {0u, 1u, 31u, 32u, 33u, 77u, 128u}) {
    for (const double most : {1.0, 30.0}) {  // the last drives alpha to its bounds
      const size_t stride = count + 3;
      Floats values(HairEvidence::kValues * stride);
      for (float& value : values) value = static_cast<float>(most * (static_cast<double>(random() % 2001) / 1000 - 1));
      Floats alpha(stride, -7);
      WeighEvidence(values.data(), stride, count, alpha.data());
      for (size_t j = 0; j < count; ++j) {
        std::vector<double> own;
        for (size_t k = 0; k < HairEvidence::kValues; ++k) own.push_back(values[k * stride + j]);
        EXPECT_NEAR(PlainAlpha(own), alpha[j], 1e-4 * most) << count << " " << j;
        EXPECT_TRUE(alpha[j] >= 0 && alpha[j] <= 1);
      }
      EXPECT_EQ(-7, alpha[count]);
    }
  }
}

// A map of random alpha between nothing on its left and all on its right, of an overview of 200 x 150 pixels. The zone
// of hair ends between rows 71 and 81 of the map.
HairMap RandomMap(double scale) {
  std::mt19937 random(2);
  HairMap hair;
  hair.window = {37 / scale, 23 / scale, 120 / scale, 100 / scale};
  hair.colours = Image(120, 100);
  hair.alpha = Mask(120, 100);
  for (int y = 0; y < 100; ++y) {
    for (int x = 0; x < 120; ++x) {
      for (int c = 0; c < 3; ++c) hair.colours.At(x, y)[c] = static_cast<uint8_t>(random() % 256);
      const auto mixed = static_cast<uint8_t>(random() % 256);
      hair.alpha.Row(y)[x] = x < 40 ? 0 : x >= 80 ? 255 : mixed;
    }
  }
  hair.faces = {{45, 20, 75, 55}};
  hair.faceWidth = 30;
  return hair;
}

struct Layer {
  Image picture;
  Mask before, after;
};

// Random colours and a random mask of a whole overview's size, `scale` pixels for one.
Layer LayOverAll(const HairMap& hair, double scale) {
  std::mt19937 random(4);
  const int width = static_cast<int>(200 * scale), height = static_cast<int>(150 * scale);
  Layer layer{Image(width, height), Mask(width, height), {}};
  for (uint8_t& byte : layer.picture.bgr) byte = static_cast<uint8_t>(random() % 256);
  for (uint8_t& byte : layer.before.values) byte = static_cast<uint8_t>(random() % 256);
  layer.after = layer.before;
  LayHair(hair, layer.picture, {0, 0, width / scale, height / scale}, &layer.after);
  return layer;
}

struct Scales {
  double map, picture;  // pixels for one of the overview
};
// The map's own pixels; between them, by a whole number and not; more of them than the picture has.
constexpr Scales kScales[] = {{1, 1}, {2, 2}, {1.3, 1.3}, {0.7, 0.7}, {1, 2.5}, {1, 3}, {1.7, 4.4}, {2, 1}};

TEST(LayHair, GivesEachPartWhatTheWholeGets) {
  for (const Scales& scales : kScales) {
    const HairMap hair = RandomMap(scales.map);
    const Layer all = LayOverAll(hair, scales.picture);
    const int width = all.picture.width, height = all.picture.height;
    for (const PixelBox& box : {PixelBox{width / 4, height / 5, width / 2, height / 2},
                                {0, 0, width / 2, height},
                                {width / 3, height / 3, width, height},
                                {width - 9, 0, width, height},
                                {width / 3 + 1, height / 4 + 1, width / 3 + 2, height / 4 + 2}}) {
      Image picture(box.Width(), box.Height());
      Mask mask(box.Width(), box.Height());
      for (int y = 0; y < mask.height; ++y) {
        std::copy_n(all.picture.At(box.left, box.top + y), 3 * mask.width, picture.At(0, y));
        std::copy_n(all.before.Row(box.top + y) + box.left, mask.width, mask.Row(y));
      }
      const double s = scales.picture;
      LayHair(hair, picture, {box.left / s, box.top / s, box.Width() / s, box.Height() / s}, &mask);
      for (int y = 0; y < mask.height; ++y) {
        const uint8_t* there = all.after.Row(box.top + y) + box.left;
        ASSERT_TRUE(std::equal(there, there + mask.width, mask.Row(y))) << scales.map << " " << s << " " << y;
      }
    }
  }
}

TEST(LayHair, StaysWithinTheMapsBoundsAndItsZone) {
  for (const Scales& scales : kScales) {
    const HairMap hair = RandomMap(scales.map);
    const Layer all = LayOverAll(hair, scales.picture);
    size_t laid = 0;
    for (int y = 0; y < all.before.height; ++y) {
      for (int x = 0; x < all.before.width; ++x) {
        const int before = all.before.Row(y)[x], after = all.after.Row(y)[x];
        // In pixels of the map.
        const double u = (x + 0.5) / scales.picture * scales.map - 37;
        const double v = (y + 0.5) / scales.picture * scales.map - 23;
        if (u < -0.01 || v < -0.01 || u > 120.01 || v > 82) {
          ASSERT_EQ(before, after) << x << " " << y;
        }
        if (u < 0.01 || v < 0.01 || u > 119.99 || v > 71) continue;
        int least = 255, most = 0;
        for (int q = std::max(0, static_cast<int>(v) - 2); q <= static_cast<int>(v) + 2; ++q) {
          for (int p = std::max(0, static_cast<int>(u) - 2); p <= std::min(119, static_cast<int>(u) + 2); ++p) {
            least = std::min(least, int{hair.alpha.Row(q)[p]});
            most = std::max(most, int{hair.alpha.Row(q)[p]});
          }
        }
        ASSERT_TRUE(least <= after && after <= most) << x << " " << y;
        if (scales.map == scales.picture) {
          ASSERT_EQ(hair.alpha.Row(static_cast<int>(v))[static_cast<int>(u)], after);
        }
        ++laid;
      }
    }
    EXPECT_LT(1000u, laid);
  }
}

// Strands of one pixel of the picture are back, of which the map's pixels of 3 x 3 show but shares.
TEST(LayHair, IsAsSharpAsThePicture) {
  const int colours[2][3] = {{210, 180, 170}, {40, 50, 70}};
  HairMap hair = RandomMap(1);
  Image picture(360, 300);
  Mask truth(360, 300), mask(360, 300, 0);
  std::mt19937 random(6);
  for (int y = 0; y < 300; ++y) {
    for (int x = 0; x < 360; ++x) {
      const int share = (x + y / 3) % 7 == 0 ? 255 : (x + y / 3) % 7 == 1 ? 120 : 0;
      truth.Row(y)[x] = static_cast<uint8_t>(share);
      for (int c = 0; c < 3; ++c) {
        const int mixed = (share * colours[1][c] + (255 - share) * colours[0][c]) / 255;
        picture.At(x, y)[c] = static_cast<uint8_t>(mixed + static_cast<int>(random() % 5) - 2);
      }
    }
  }
  for (int y = 0; y < 100; ++y) {
    for (int x = 0; x < 120; ++x) {
      int sums[4] = {};
      for (int i = 0; i < 9; ++i) {
        sums[3] += truth.Row(3 * y + i / 3)[3 * x + i % 3];
        for (int c = 0; c < 3; ++c) sums[c] += picture.At(3 * x + i % 3, 3 * y + i / 3)[c];
      }
      for (int c = 0; c < 3; ++c) hair.colours.At(x, y)[c] = static_cast<uint8_t>(sums[c] / 9);
      hair.alpha.Row(y)[x] = static_cast<uint8_t>(sums[3] / 9);
    }
  }
  LayHair(hair, picture, hair.window, &mask);
  double off = 0, blurred = 0;
  for (int y = 0; y < 210; ++y) {
    for (int x = 0; x < 360; ++x) {
      off += std::abs(mask.Row(y)[x] - truth.Row(y)[x]) / (210.0 * 360);
      blurred += std::abs(hair.alpha.Row(y / 3)[x / 3] - truth.Row(y)[x]) / (210.0 * 360);
    }
  }
  EXPECT_GT(blurred / 2, off) << blurred;
}

}  // namespace
}  // namespace qx::photo
