// Hair followed from the person's map to the mask.
#include "photo/person/hair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/painted_head.h"

namespace qx::photo {
namespace {

using namespace qx::test;

std::optional<HairMap> Follow(const PaintedHead& head, const std::vector<FaceBox>& others = {}) {
  return FollowHair(head.Map(), head.picture, head.Whole(), {head.face}, others);
}

TEST(FollowHair, ChangesNothingButHair) {
  for (const int width : {30, 100, 190}) {
    const PaintedHead head(PlainWall, width);
    PersonMap map = head.Map();
    const Mask without = RefineMask(map, head.picture, head.Whole());
    map.hair = Follow(head);
    ASSERT_TRUE(map.hair) << width;
    EXPECT_EQ(map.hair->alpha.values, Follow(head)->alpha.values);
    ASSERT_TRUE(map.hair->alpha.IsOf(map.hair->colours));
    const Mask mask = RefineMask(map, head.picture, head.Whole());
    size_t changed = 0;
    for (int y = 0; y < mask.height; ++y) {
      for (int x = 0; x < mask.width; ++x) {
        const double u = head.U(x), v = head.V(y), radius = std::hypot(u / 0.72, (v + 0.1) / 0.85);
        const int value = mask.Row(y)[x];
        const bool face = std::hypot(u / 0.34, v / 0.5) < 1, neck = std::abs(u) < 0.27 && v > 0;
        const bool clothes = v > 1.1 && std::abs(u) < 0.45;
        if (face || neck || clothes) {
          ASSERT_EQ(255, value) << u << " " << v;
        }
        if (radius > 1.9 && v < 0.3) {
          ASSERT_EQ(0, value) << u << " " << v;
        }
        if (v > 1.4) {
          ASSERT_EQ(without.Row(y)[x], value) << u << " " << v;
        }
        changed += value != without.Row(y)[x];
      }
    }
    EXPECT_LT(0u, changed);
  }
}

TEST(FollowHair, KnowsWhereTheWallIsOfTheHairsColour) {
  const auto light = Follow(PaintedHead(PlainWall));
  const auto alike = Follow(PaintedHead([](double, double) { return Colour{34, 38, 47}; }));
  // The wall's right half only.
  const auto half = Follow(PaintedHead([](double u, double) {
    return u > 0 ? Colour{34, 38, 47} : Colour{200, 190, 180};
  }));
  ASSERT_TRUE(light && alike && half);
  for (const float share : {light->doubt.left, light->doubt.right, light->doubt.above, half->doubt.left}) {
    EXPECT_GT(0.2f, share);
  }
  for (const float share : {alike->doubt.left, alike->doubt.right, alike->doubt.above, half->doubt.right}) {
    EXPECT_LT(0.6f, share);
  }
  EXPECT_FALSE(alike->doubt.lively);
}

TEST(FollowHair, LeavesOthersOut) {
  // The head of another person, of the hair's colour, right beside the strands.
  const PaintedHead head([](double u, double v) {
    return std::hypot(u - 1.4, v) < 0.5 ? Colour{32, 36, 46} : PlainWall(u, v);
  });
  const double width = head.faceWidth;
  const FaceBox other{head.face.left + 1.4 * width, head.face.top, head.face.right + 1.4 * width, head.face.bottom};
  const auto hair = Follow(head, {other});
  ASSERT_TRUE(hair);
  for (int y = 0; y < hair->alpha.height; ++y) {
    for (int x = 0; x < hair->alpha.width; ++x) {
      const double u = head.U(x + static_cast<int>(hair->window.left));
      const double v = head.V(y + static_cast<int>(hair->window.top));
      if (std::hypot((u - 1.4) / 0.7, v / 0.9) < 1 && std::hypot(u / 0.75, (v + 0.1) / 0.9) > 1) {
        ASSERT_EQ(0, hair->alpha.Row(y)[x]) << u << " " << v;
      }
    }
  }
}

TEST(FollowHair, FollowsTwoHeads) {
  // The right one lower by a face's width: each has its own hair and its own body.
  const PaintedHead head(PlainWall, 60);
  const int width = head.picture.width, height = head.picture.height, lower = 60;
  PersonMap map{Mask(2 * width, height), Image(2 * width, height), 60, 1, 1, std::nullopt};
  for (int y = 0; y < height; ++y) {
    for (const int left : {0, width}) {
      const int from = left == 0 ? y : std::max(0, y - lower);
      std::copy_n(head.picture.At(0, from), 3 * width, map.colours.At(left, y));
      std::copy_n(head.coverage.Row(from), width, map.coverage.Row(y) + left);
    }
  }
  const FaceBox second{head.face.left + width, head.face.top + lower, head.face.right + width,
                       head.face.bottom + lower};
  const Rectangle whole{0, 0, 2.0 * width, 1.0 * height};
  const auto hair = FollowHair(map, map.colours, whole, {head.face, second});
  ASSERT_TRUE(hair);
  EXPECT_EQ(hair->alpha.values, FollowHair(map, map.colours, whole, {second, head.face})->alpha.values);
  const Mask before = RefineMask(map, map.colours, whole);
  for (const bool sorted : {true, false}) {
    map.hair = FollowHair(map, map.colours, whole, {sorted ? head.face : second, sorted ? second : head.face});
    const Mask after = RefineMask(map, map.colours, whole);
    map.hair.reset();
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < 2 * width; ++x) {
        const double below = (y - (x < width ? head.face.bottom : second.bottom)) / 60;
        if (below > 0.9) {
          ASSERT_EQ(before.Row(y)[x], after.Row(y)[x]) << x << " " << y;
        }
      }
    }
    EXPECT_EQ(255, after.Row(120)[120]);
    EXPECT_EQ(255, after.Row(120 + lower)[width + 120]);
    EXPECT_EQ(0, after.Row(10)[10]);
    EXPECT_EQ(0, after.Row(10)[width + 10]);
  }
}

// Whatever the map and the faces are: nothing, or a map that is whole and can be laid.
void ExpectSane(PersonMap map, const Image& picture, const Rectangle& window, const std::vector<FaceBox>& persons,
                const std::vector<FaceBox>& others) {
  map.hair = FollowHair(map, picture, window, persons, others);
  if (map.hair) {
    EXPECT_TRUE(map.hair->alpha.IsOf(map.hair->colours));
    EXPECT_EQ(persons.size(), map.hair->faces.size());
    for (const float share : {map.hair->doubt.left, map.hair->doubt.right, map.hair->doubt.above}) {
      EXPECT_TRUE(share >= 0 && share <= 1);
    }
  }
  EXPECT_TRUE(RefineMask(map, picture, window).IsOf(picture));
}

TEST(FollowHair, TakesFacesAndPicturesOfAnyKind) {
  const PaintedHead head(PlainWall, 40);
  const Rectangle all = head.Whole();
  for (const FaceBox& face : {FaceBox{-90, -90, -20, -20},
                              {-30, 20, 30, 80},
                              {140, 150, 250, 260},
                              {60, 60, 62, 62},
                              {-1e6, -1e6, 1e6, 1e6},
                              {60, -300, 100, 500},
                              {100, 60, 60, 100},
                              {70, 70, 70, 70},
                              {1e9, 1e9, 1e9 + 50, 1e9 + 50}}) {
    ExpectSane(head.Map(), head.picture, all, {face}, {});
    ExpectSane(head.Map(), head.picture, all, {face, head.face}, {});
    ExpectSane(head.Map(), head.picture, all, {head.face}, {face});
    ExpectSane(head.Map(), head.picture, {-40, 30, 90, 500}, {head.face}, {face});
  }
  EXPECT_FALSE(FollowHair(head.Map(), head.picture, all, {}, {}));
  for (const auto& [width, height] : {std::pair{1, 1}, {2, 2}, {1, 300}, {300, 1}, {4, 90}, {160, 176}}) {
    for (const uint8_t share : Bytes{0, 255, 128}) {
      Image picture(width, height);
      for (size_t i = 0; i < picture.bgr.size(); ++i) picture.bgr[i] = static_cast<uint8_t>(i * 37 % 251);
      const PersonMap map{Mask(width, height, share), picture, 40, 1, 1, std::nullopt};
      const Rectangle window{0, 0, 1.0 * width, 1.0 * height};
      for (const FaceBox& face : {FaceBox{0, 0, 30, 30}, head.face, {-500, -500, 500, 500}}) {
        ExpectSane(map, picture, window, {face}, {});
      }
      const auto hair = FollowHair(map, picture, window, {head.face});
      EXPECT_FALSE(hair && share == 255);  // nothing is seen of the background
      // Nor of a person.
      EXPECT_TRUE(share != 0 || !hair || hair->alpha.values == Bytes(hair->alpha.values.size(), 0));
    }
  }
}

}  // namespace
}  // namespace qx::photo
