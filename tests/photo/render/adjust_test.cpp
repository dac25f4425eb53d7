#include "photo/render/adjust.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "photo/base/failure.h"
#include "photo/check/colour.h"
#include "photo/render/colour_cast.h"
#include "photo/studio.h"

namespace qx::photo {
namespace {

constexpr std::array<double Adjustment::*, 6> kStrengths = {&Adjustment::brightness, &Adjustment::contrast,
                                                            &Adjustment::saturation, &Adjustment::temperature,
                                                            &Adjustment::tint,       &Adjustment::sharpness};
// Blue, green, red; from light to dark.
constexpr std::array<std::array<uint8_t, 3>, 5> kSkins = {
    {{205, 220, 245}, {150, 180, 225}, {110, 145, 200}, {75, 100, 150}, {45, 60, 95}}};

Adjustment With(double Adjustment::*strength, double value) {
  Adjustment adjustment;
  adjustment.*strength = value;
  return adjustment;
}

Image Noise(int32_t width, int32_t height) {
  std::mt19937 random(5);
  Image image(width, height);
  for (uint8_t& byte : image.bgr) byte = static_cast<uint8_t>(random() >> 24);
  return image;
}

Image Flat(int32_t width, int32_t height, const std::array<uint8_t, 3>& bgr) {
  Image image(width, height);
  for (size_t i = 0; i < image.bgr.size(); ++i) image.bgr[i] = bgr[i % 3];
  return image;
}

Image Adjusted(Image image, const Adjustment& adjustment, const Cast& cast = {}) {
  Adjust(adjustment, cast, &image);
  return image;
}

std::array<int, 3> Adjusted(const std::array<uint8_t, 3>& bgr, const Adjustment& adjustment, const Cast& cast = {}) {
  const Image image = Adjusted(Flat(1, 1, bgr), adjustment, cast);
  return {image.bgr[0], image.bgr[1], image.bgr[2]};
}

Lab LabAfter(const std::array<uint8_t, 3>& bgr, const Adjustment& adjustment) {
  const std::array<int, 3> after = Adjusted(bgr, adjustment);
  return ToLab(std::array<double, 3>{1.0 * after[0], 1.0 * after[1], 1.0 * after[2]});
}

TEST(Adjust, NothingChangesNothingAndLittleChangesLittle) {
  const Image image = Noise(64, 40);
  EXPECT_EQ(image.bgr, Adjusted(image, Adjustment()).bgr);
  Adjustment balance;
  balance.whiteBalance = true;
  EXPECT_EQ(image.bgr, Adjusted(image, balance).bgr);
  for (const auto strength : kStrengths) {
    for (const double value : {-1e-6, 1e-6}) {
      const Image after = Adjusted(image, With(strength, value));
      for (size_t i = 0; i < image.bgr.size(); ++i) ASSERT_NEAR(image.bgr[i], after.bgr[i], 1) << i;
    }
  }
}

TEST(Adjust, GreysStaySmoothAndInOrder) {
  Image ramp(256, 1);
  for (size_t i = 0; i < ramp.bgr.size(); ++i) ramp.bgr[i] = static_cast<uint8_t>(i / 3);
  for (const auto strength : kStrengths) {
    const bool balance = strength == &Adjustment::temperature || strength == &Adjustment::tint;
    for (const double value : {-10.0, -4.0, 4.0, 10.0}) {
      const Image after = Adjusted(ramp, With(strength, value));
      const int most = std::abs(value) > 5 ? 6 : balance ? 3 : 2;
      for (int32_t level = 1; level < 256; ++level) {
        const uint8_t *p = after.At(level, 0), *last = after.At(level - 1, 0);
        for (int c = 0; c < 3; ++c) {
          EXPECT_GE(p[c], last[c]) << value << " at " << level;
          EXPECT_LE(p[c] - last[c], most) << value << " at " << level;
          EXPECT_TRUE(balance || p[0] == p[c]) << value << " at " << level;
        }
      }
      for (int c = 0; c < 3; ++c) EXPECT_EQ(255, after.At(255, 0)[c] - after.At(0, 0)[c]) << value;
    }
  }
}

TEST(Adjust, MoreIsMoreAndSkinKeepsItsHue) {
  for (const auto& skin : kSkins) {
    const Lab before = LabAfter(skin, {});
    Lab lower[5];
    for (int strength = -10; strength <= 10; strength += 2) {
      const double value = strength;
      const Lab after[5] = {
          LabAfter(skin, With(&Adjustment::brightness, value)), LabAfter(skin, With(&Adjustment::contrast, value)),
          LabAfter(skin, With(&Adjustment::saturation, value)), LabAfter(skin, With(&Adjustment::temperature, value)),
          LabAfter(skin, With(&Adjustment::tint, value))};
      const auto chroma = [](const Lab& lab) { return std::hypot(lab.a, lab.b); };
      if (value > -10) {
        EXPECT_GT(after[0].l, lower[0].l) << value;
        EXPECT_GE((after[1].l - lower[1].l) * (before.l > 60 ? 1 : -1), before.l > 50 && before.l < 70 ? -1 : 0)
            << value;
        EXPECT_GE(chroma(after[2]), chroma(lower[2])) << value;
        EXPECT_GE(after[3].b, lower[3].b) << value;
        EXPECT_GE(after[4].a, lower[4].a) << value;
      }
      for (const Lab& lab : {after[0], after[1], after[2]}) {
        if (chroma(lab) < 8) continue;  // whole levels turn the hue of what is nearly grey
        const double turn = std::atan2(lab.b, lab.a) - std::atan2(before.b, before.a);
        EXPECT_LT(std::abs(turn) * 57.3, 6) << value << " of " << int{skin[2]};
      }
      std::copy(after, after + 5, lower);
    }
    EXPECT_LT(std::hypot(LabAfter(skin, With(&Adjustment::saturation, -10)).a,
                         LabAfter(skin, With(&Adjustment::saturation, -10)).b),
              1.5);
  }
}

// Highlights roll off: the strongest channel stays the strongest, and differences do not vanish.
TEST(Adjust, ClipsNoHighlights) {
  Adjustment much = With(&Adjustment::brightness, 5);
  much.contrast = much.saturation = much.temperature = 5;
  for (int level = 180; level < 250; ++level) {
    const auto v = static_cast<uint8_t>(level);
    const auto low = Adjusted({static_cast<uint8_t>(v - 40), static_cast<uint8_t>(v - 20), v}, much);
    EXPECT_LT(low[0], low[1]) << level;
    EXPECT_LT(low[1], low[2]) << level;
  }
}

TEST(Adjust, TakesACastAway) {
  const Cast yellow{0.01, 0.05};
  const auto greyAgain = Adjusted({118, 140, 146}, Adjustment(), yellow);
  EXPECT_LT(greyAgain[2] - greyAgain[0], 12);
  const auto bluish = Adjusted({128, 128, 128}, Adjustment(), yellow);
  EXPECT_GT(bluish[0], bluish[2] + 10);
  EXPECT_NEAR(ToLab(std::array<double, 3>{128, 128, 128}).l,
              ToLab(std::array<double, 3>{1.0 * bluish[0], 1.0 * bluish[1], 1.0 * bluish[2]}).l, 0.6);
}

TEST(Adjust, SharpensEdgesWithoutHalosAndLeavesNoise) {
  Image edge = Flat(40, 9, {100, 110, 120});
  for (int32_t y = 0; y < 9; ++y) {
    for (int32_t x = 18; x < 40; ++x) {
      for (int c = 0; c < 3; ++c)
        edge.At(x, y)[c] = static_cast<uint8_t>(edge.At(x, y)[c] + (x < 20 ? 20 * (x - 17) : 60));
    }
  }
  const Image sharp = Adjusted(edge, With(&Adjustment::sharpness, 10));
  const Image soft = Adjusted(edge, With(&Adjustment::sharpness, -10));
  const auto steepest = [](const Image& image) {
    int most = 0;
    for (int32_t x = 1; x < image.width; ++x) most = std::max(most, image.At(x, 4)[0] - image.At(x - 1, 4)[0]);
    return most;
  };
  EXPECT_GT(steepest(sharp), steepest(edge));
  EXPECT_LT(steepest(soft), steepest(edge));
  for (int32_t x = 0; x < edge.width; ++x) {
    const uint8_t* p = sharp.At(x, 4);
    EXPECT_GE(p[0], 97);
    EXPECT_LE(p[0], 163);
    EXPECT_EQ(10, p[1] - p[0]) << x;
    EXPECT_EQ(10, p[2] - p[1]) << x;
  }
  Image noise = Flat(40, 9, {100, 110, 120});
  std::mt19937 random(1);
  for (uint8_t& byte : noise.bgr) byte = static_cast<uint8_t>(byte + random() % 2);
  EXPECT_EQ(noise.bgr, Adjusted(noise, With(&Adjustment::sharpness, 10)).bgr);
}

TEST(Adjust, TakesPicturesOfAnySize) {
  Adjustment all;
  for (const auto strength : kStrengths) all.*strength = 7;
  for (const auto& [width, height] : {std::pair(1, 1), {1, 7}, {2, 1}, {3, 3}, {5, 2}, {4, 9}}) {
    Image image = Noise(width, height), own = image;
    AdjustPerson(all, {0.02, -0.03}, Mask(width, height, 255), &own, &image);
    EXPECT_EQ(own.bgr, image.bgr);
    const Cast cast = MeasureCast(image, Mask(width, height, 0), {});
    EXPECT_TRUE(std::isfinite(cast.a) && std::isfinite(cast.b));
  }
}

// All strengths at random ends at once.
TEST(Adjust, KeepsBlackAndWhiteAndWhatIsTransparentAtEveryExtreme) {
  std::mt19937 random(3);
  for (int i = 0; i < 60; ++i) {
    Adjustment ends;
    for (const auto strength : kStrengths) ends.*strength = std::array{-10.0, 0.0, 10.0}[random() % 3];
    const auto width = static_cast<int32_t>(1 + random() % 140), height = static_cast<int32_t>(1 + random() % 5);
    const Image black = Flat(width, height, {0, 0, 0}), white = Flat(width, height, {255, 255, 255});
    EXPECT_EQ(black.bgr, Adjusted(black, ends, {0.03, -0.05}).bgr);
    Adjustment neutral = ends;  // under other light, white that is made darker takes its colour
    neutral.temperature = neutral.tint = 0;
    EXPECT_EQ(white.bgr, Adjusted(white, neutral).bgr);
    const Image before = Noise(width, height);
    Image own = before, finished = before;
    AdjustPerson(ends, {}, Mask(width, height, 0), &own, &finished);
    EXPECT_EQ(before.bgr, finished.bgr);
    // A coverage of all and the picture itself are the same, wherever the blocks of a row end.
    own = finished = before;
    AdjustPerson(ends, {}, Mask(width, height, 255), &own, &finished);
    EXPECT_EQ(Adjusted(before, ends).bgr, finished.bgr) << width << " x " << height;
  }
}

TEST(Adjust, KeepsEveryByteOfTheBackground) {
  const Image background = Flat(60, 30, {250, 230, 180});
  Image own = Noise(60, 30), finished = background;
  Mask alpha(60, 30, 0);
  for (int32_t y = 0; y < 30; ++y) {
    for (int32_t x = 20; x < 60; ++x) {
      alpha.Row(y)[x] = x < 40 ? 128 : 255;
      for (int c = 0; c < 3; ++c) {
        finished.At(x, y)[c] =
            x < 40 ? static_cast<uint8_t>((own.At(x, y)[c] + background.At(x, y)[c]) / 2) : own.At(x, y)[c];
      }
    }
  }
  const Image before = finished, ownBefore = own;
  Adjustment all;
  for (const auto strength : kStrengths) all.*strength = 6;
  AdjustPerson(all, {}, alpha, &own, &finished);
  for (int32_t y = 0; y < 30; ++y) {
    for (int32_t x = 0; x < 60; ++x) {
      for (int c = 0; c < 3; ++c) {
        const int change = own.At(x, y)[c] - ownBefore.At(x, y)[c], made = finished.At(x, y)[c] - before.At(x, y)[c];
        ASSERT_NEAR(x < 20 ? 0 : x < 40 ? change / 2.0 : change, made, x >= 20 && x < 40 ? 1.01 : 0) << x << " " << y;
      }
    }
  }
}

TEST(Adjust, FollowsTheAuthoritysPolicyAndRanges) {
  const Preset &strict = FindPreset("de-passport"), &free = FindPreset("one-inch");
  Adjustment balance;
  balance.whiteBalance = true;
  for (const Adjustment& wanted : {With(&Adjustment::brightness, 0.1), With(&Adjustment::sharpness, -1), balance}) {
    try {
      CheckAdjustment(strict, wanted, false);
      FAIL() << "not refused";
    } catch (const Failure& failure) {
      EXPECT_EQ(FailureCode::kForbiddenEdit, failure.Code());
      EXPECT_EQ("adjustment", failure.Word("edit"));
    }
    CheckAdjustment(strict, wanted, true);
    CheckAdjustment(free, wanted, false);
  }
  CheckAdjustment(strict, Adjustment(), false);
  for (const auto strength : kStrengths) {
    for (const double value : {10.1, -11.0, std::numeric_limits<double>::quiet_NaN()}) {
      EXPECT_THROW(CheckAdjustment(free, With(strength, value), true), Failure);
      Image image = Noise(4, 4);
      const Image before = image;
      EXPECT_THROW(Adjust(With(strength, value), {}, &image), Failure);
      EXPECT_EQ(before.bgr, image.bgr);
    }
  }
}

// A person in grey before a wall, with the whites of two large eyes; no eyes when `whites` is null.
struct Scene {
  Scene(const std::array<uint8_t, 3>& clothes, const std::array<uint8_t, 3>& wall, const std::array<uint8_t, 3>* whites)
      : image(Flat(300, 300, wall)), mask(300, 300, 0) {
    for (int32_t y = 0; y < 300; ++y) {
      for (int32_t x = 80; x < 220; ++x) {
        mask.Row(y)[x] = 255;
        const bool isFace = y > 40 && y < 160, isEye = whites && y > 80 && y < 110;
        for (size_t c = 0; c < 3; ++c) image.At(x, y)[c] = isEye ? (*whites)[c] : isFace ? kSkins[1][c] : clothes[c];
      }
    }
    ProbedFace face{};
    face.corners = {Point{80, 40}, Point{219, 40}, Point{80, 160}, Point{219, 160}};
    if (whites) {
      auto mesh = std::make_shared<FaceMesh>();
      mesh->hasDepth = true;
      const auto eye = [&](std::array<int, 16> lids, double x, size_t which) {
        for (size_t i = 0; i < 16; ++i) {
          const double angle = 2 * 3.14159265 * static_cast<double>(i) / 16;
          mesh->points[static_cast<size_t>(lids[i])] = {x + 25 * std::cos(angle), 95 + 12 * std::sin(angle)};
        }
        mesh->irises[which] = {{{x, 95}, {x + 9, 95}, {x - 9, 95}, {x, 104}, {x, 86}}};
      };
      eye({33, 7, 163, 144, 145, 153, 154, 155, 133, 173, 157, 158, 159, 160, 161, 246}, 115, 0);
      eye({263, 249, 390, 373, 374, 380, 381, 382, 362, 398, 384, 385, 386, 387, 388, 466}, 185, 1);
      face.mesh = mesh;
    }
    faces = {face};
  }

  Cast Measure() const { return MeasureCast(image, mask, faces); }

  Image image;
  Mask mask;
  std::vector<ProbedFace> faces;
};

TEST(ColourCast, IsFoundWhereGreysAndEyesAgree) {
  const std::array<uint8_t, 3> grey = {120, 120, 120}, light = {200, 200, 200}, white = {205, 212, 220};
  const Cast none = Scene(grey, light, &white).Measure();
  EXPECT_EQ(0, none.a);
  EXPECT_EQ(0, none.b);
  // Everything under yellow light.
  const Adjustment warm = With(&Adjustment::temperature, 6);
  Scene yellow(grey, light, &white);
  Adjust(warm, {}, &yellow.image);
  const Cast found = yellow.Measure();
  EXPECT_GT(found.b, 0.025);
  EXPECT_EQ("a yellow", NameOf(found));
  const auto mended = Adjusted({yellow.image.At(10, 10)[0], yellow.image.At(10, 10)[1], yellow.image.At(10, 10)[2]},
                               Adjustment(), found);
  EXPECT_NEAR(mended[0], mended[2], 12);
  EXPECT_NEAR(mended[1], mended[2], 9);
  // A blue wall and blue clothes in white light: the eyes know better.
  const std::array<uint8_t, 3> blue = {140, 126, 112}, paleBlue = {224, 206, 188};
  const Cast doubted = Scene(blue, paleBlue, &white).Measure();
  EXPECT_LT(std::hypot(doubted.a, doubted.b), 0.005);
  // Nothing near grey at all.
  const Cast unknown = Scene({30, 40, 200}, {200, 60, 40}, nullptr).Measure();
  EXPECT_EQ(0, std::hypot(unknown.a, unknown.b));
}

}  // namespace
}  // namespace qx::photo
