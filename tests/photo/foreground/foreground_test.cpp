// The person's own colours.
#include "photo/foreground/foreground.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

constexpr int kSide = 600;
constexpr double kFace = 240;

// A round head in the middle of a square picture with strands around it, and what was mixed there.
struct Head {
  Image picture{kSide, kSide}, own{kSide, kSide};
  Mask mask{kSide, kSide};
};

struct Colours {
  double hair, strands, wall;  // levels; blue has 20 less of the hair's and the strands', red 20 more
  double rim = 0;              // part of the wall's colour at the outline, gone within 0.025 face widths
  double bright = 0;           // levels of the hair's right side beyond the rest, like a collar or an ear
  int wallRight = -1;          // another wall from there on
};

double Depth(int x, int y) {
  return 0.7 - std::hypot(x - kSide / 2.0, y - kSide / 2.0) / kFace;  // in face widths, below the outline
}

// Strands run outwards, a hundredth of a turn apart, and thin out.
double ShareAt(int x, int y) {
  const double depth = Depth(x, y), turn = std::atan2(y - kSide / 2.0, x - kSide / 2.0) * 100 / 6.283185307;
  const double strand = std::abs(turn - std::floor(turn) - 0.5) * 4 - 0.6 + 6 * depth;
  return depth > 0 ? 1.0 : std::clamp(strand, 0.0, 1.0);
}

Head MakeHead(const Colours& colours) {
  Head head;
  uint32_t random = 1;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const double depth = Depth(x, y), alpha = std::round(255 * ShareAt(x, y)) / 255;
      const double rim = colours.rim * std::clamp(1 - depth / 0.025, 0.0, 1.0);
      random = random * 1664525 + 1013904223;
      const double grain = static_cast<double>(random >> 29) - 3.5;
      head.mask.Row(y)[x] = static_cast<uint8_t>(std::lround(255 * alpha));
      for (int c = 0; c < 3; ++c) {
        const double wall = colours.wallRight >= 0 && x > kSide / 2 ? colours.wallRight : colours.wall - 15 * (c == 1);
        const double own = (depth > 0 ? colours.hair : colours.strands) + 20 * (c - 1) + grain +
                           (x > 0.7 * kSide ? colours.bright : 0.0);
        const double lit = own + rim * (wall - own);
        head.own.At(x, y)[c] = static_cast<uint8_t>(std::lround(own));
        head.picture.At(x, y)[c] = static_cast<uint8_t>(std::lround(alpha * lit + (1 - alpha) * wall));
      }
    }
  }
  return head;
}

// Mean of what is too much (or, by its sign, too little) in a composite, over the pixels that `counts` takes.
template <typename Counts>
double MeanExcess(const Head& head, const Image& result, bool absolute, Counts counts) {
  double sum = 0, pixels = 0;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      if (!counts(x, y)) continue;
      pixels += 3;
      for (int c = 0; c < 3; ++c) {
        const double excess = (result.At(x, y)[c] - head.own.At(x, y)[c]) * head.mask.Row(y)[x] / 255.0;
        sum += absolute ? std::abs(excess) : excess;
      }
    }
  }
  return sum / pixels;
}

TEST(Foreground, StrandsKeepTheirColourAndLoseTheWall) {
  // Dark hair before a light wall, light strands around a dark head, light hair before two walls.
  for (const Colours& colours : {Colours{40, 40, 220}, Colours{50, 130, 230}, Colours{170, 180, 30, 0, 0, 110}}) {
    const Head head = MakeHead(colours);
    const Image result = EstimateForeground(head.picture, head.mask, kFace, Rim::kKeep);
    auto isMixed = [&](int x, int y) {
      const int share = head.mask.Row(y)[x];
      return share > 0 && share < 255 && std::abs(x - kSide / 2) > 8;  // one wall runs into the other there
    };
    EXPECT_LT(10, MeanExcess(head, head.picture, true, isMixed));
    EXPECT_GE(2.0, MeanExcess(head, result, true, isMixed)) << colours.hair << " " << colours.strands;
    for (size_t i = 0; i < head.mask.values.size(); ++i) {
      if (head.mask.values[i] % 255 != 0) continue;
      ASSERT_TRUE(std::equal(&head.picture.bgr[3 * i], &head.picture.bgr[3 * i] + 3, &result.bgr[3 * i]));
    }
  }
}

TEST(Foreground, OldLightOnTheRimIsReduced) {
  const Head head = MakeHead({45, 45, 225, 0.5});
  const Image kept = EstimateForeground(head.picture, head.mask, kFace, Rim::kKeep);
  const Image reduced = EstimateForeground(head.picture, head.mask, kFace, Rim::kReduce);
  auto isRim = [](int x, int y) { return Depth(x, y) > 0 && Depth(x, y) < 0.02; };
  const double before = MeanExcess(head, kept, false, isRim), after = MeanExcess(head, reduced, false, isRim);
  EXPECT_LT(30, before);
  EXPECT_GE(0.35 * before, after);
  for (const double depth : {0.0, 0.005, 0.01, 0.02, 0.03}) {  // no dark line anywhere
    EXPECT_LE(-2, MeanExcess(head, reduced, false,
                             [&](int x, int y) { return Depth(x, y) > depth && Depth(x, y) < depth + 0.005; }));
  }
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      if (Depth(x, y) > 0.06 || head.mask.Row(y)[x] == 0) {
        ASSERT_TRUE(std::equal(head.picture.At(x, y), head.picture.At(x, y) + 3, reduced.At(x, y)));
      }
    }
  }
}

TEST(Foreground, APersonsOwnLightStays) {
  // No rim; a rim before a dark wall; a side as bright as the wall, like a collar or an ear; a rim too faint to be
  // sure.
  Colours dark{150, 150, 30};
  dark.rim = -0.4;
  Colours collar{45, 45, 225};
  collar.bright = 160;
  Colours faint{45, 45, 225};
  faint.rim = 0.06;
  for (const Colours& colours : {Colours{45, 45, 225}, Colours{140, 160, 225}, dark, collar, faint}) {
    const Head head = MakeHead(colours);
    EXPECT_EQ(EstimateForeground(head.picture, head.mask, kFace, Rim::kKeep).bgr,
              EstimateForeground(head.picture, head.mask, kFace, Rim::kReduce).bgr)
        << colours.hair << " " << colours.wall << " " << colours.rim << " " << colours.bright;
  }
}

TEST(Foreground, LosesTheOldBackground) {
  // A round person of one colour with a soft outline before a wall of two colours; once small, once above the size of
  // the working copy.
  const double person[3] = {40, 70, 110};
  for (const int side : {120, 1500}) {
    Image photograph{side, side, {}};
    Mask mask(side, side);
    uint8_t* to = mask.values.data();
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        const double wall[3] = {x < side / 2 ? 30.0 : 240.0, 220, 30};
        const double distance = std::hypot(x - side / 2.0, y - side / 2.0) / side;
        *to = static_cast<uint8_t>(std::lround(255 * std::clamp((0.36 - distance) / 0.06, 0.0, 1.0)));
        for (int c = 0; c < 3; ++c) {
          const double alpha = *to / 255.0;
          photograph.bgr.push_back(static_cast<uint8_t>(std::lround(alpha * person[c] + (1 - alpha) * wall[c])));
        }
        ++to;
      }
    }
    const Image result = EstimateForeground(photograph, mask, side / 6.0, Rim::kKeep);
    int worst = 0;
    for (size_t i = 0; i < result.bgr.size(); ++i) {
      if (mask.values[i / 3] == 0 || mask.values[i / 3] == 255) {
        ASSERT_EQ(photograph.bgr[i], result.bgr[i]);
      } else if (std::abs(static_cast<int>(i / 3) % side - side / 2) >
                 side / 12) {  // the walls run into each other there
        worst = std::max(worst, std::abs(result.bgr[i] - static_cast<int>(person[i % 3])) * mask.values[i / 3] / 255);
      }
    }
    EXPECT_GE(8, worst) << side;  // of 255, as seen in a composite; up to 46 before
  }
}

TEST(Foreground, TakesPicturesOfAnySize) {
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 300}, {900, 2}, {33, 21}}) {
    for (const double faceWidth : {0.5, 20.0, 1e5}) {
      const Image picture = GradientImage(width, height);
      Mask mask(width, height);
      for (size_t i = 0; i < mask.values.size(); ++i) mask.values[i] = static_cast<uint8_t>(i * 85 % 256);
      const Image result = EstimateForeground(picture, mask, faceWidth, Rim::kKeep);
      for (size_t i = 0; i < mask.values.size(); ++i) {
        if (mask.values[i] % 255 == 0) {
          EXPECT_TRUE(std::equal(&picture.bgr[3 * i], &picture.bgr[3 * i] + 3, &result.bgr[3 * i]));
        }
      }
    }
  }
  // Nothing of one of the two is to be seen: nothing to tell apart.
  for (const Rim rim : {Rim::kReduce, Rim::kKeep}) {
    const Image picture = GradientImage(80, 70);
    for (const uint8_t share : Bytes{0, 1, 128, 255}) {
      EXPECT_EQ(picture.bgr, EstimateForeground(picture, Mask(80, 70, share), 50, rim).bgr);
    }
  }
}

}  // namespace
}  // namespace qx::photo
