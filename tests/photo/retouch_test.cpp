#include "photo/render/retouch.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "photo/studio.h"
#include "support/test_files.h"

namespace qx::photo {
namespace {

using namespace qx::test;

TEST(Retouch, KindsGrowInStrength) {
  const Retouch light = NamedRetouch("light"), natural = NamedRetouch("natural"), strong = NamedRetouch("strong");
  EXPECT_FALSE(light.IsNone());
  EXPECT_LT(light.skin, natural.skin);
  EXPECT_LT(natural.skin, strong.skin);
  EXPECT_LT(natural.face, strong.face);
  EXPECT_LE(strong.skin, kMostSkin);
  EXPECT_THROW(NamedRetouch("Strong"), Failure);
}

TEST(Retouch, FollowsTheAuthoritysPolicy) {
  const Preset &strict = FindPreset("de-passport"), &free = FindPreset("one-inch");
  Retouch mouth;
  mouth.mouth = -1;
  EXPECT_THROW(CheckRetouch(strict, mouth, false), Failure);
  CheckRetouch(strict, mouth, true);
  CheckRetouch(strict, Retouch(), false);
  CheckRetouch(free, mouth, false);
}

TEST(Retouch, ComparesSideBySide) {
  const Image before = GradientImage(30, 7);
  Image after = before;
  for (uint8_t& byte : after.bgr) byte = static_cast<uint8_t>(255 - byte);
  const Image both = SideBySide(before, after);
  ASSERT_EQ(64, both.width);
  ASSERT_EQ(7, both.height);
  for (int y = 0; y < 7; ++y) {
    const uint8_t* const row = &both.bgr[static_cast<size_t>(y) * 64 * 3];
    const auto from = static_cast<ptrdiff_t>(y) * 90;
    EXPECT_TRUE(std::equal(row, row + 90, before.bgr.begin() + from)) << y;
    EXPECT_EQ(255, row[90] & row[101]) << y;
    EXPECT_TRUE(std::equal(row + 102, row + 192, after.bgr.begin() + from)) << y;
  }
}

// A face of 120 pixels between the eyes on noise of a few levels, with features, spots, a beard and spectacles painted
// on it, and where they are.
class PaintedFace {
 public:
  static constexpr int kUnit = 120;
  enum Part { kSkin, kLips, kBrows, kNose, kBeard, kRim, kSpots, kParts };

  PaintedFace() : image(620, 760), parts_(image.Pixels(), kParts) {
    std::mt19937 random(3);
    for (uint8_t& byte : image.bgr) byte = 235;
    Disc(0, 0.45, 1.15, 1.6, {120, 150, 200}, kSkin);
    for (const double side : {-1.0, 1.0}) {
      Disc(0.5 * side, 0, 0.24, 0.09, {60, 50, 50}, kParts);
      Disc(0.5 * side, -0.33, 0.36, 0.05, {95, 120, 168}, kBrows);
      Disc(0.13 * side, 0.62, 0.05, 0.035, {90, 110, 160}, kNose);
      for (const double y : {0.45, 0.75}) Disc(0.72 * side, y, 0.03, 0.03, {70, 80, 150}, kSpots);
    }
    Disc(0, 0.95, 0.42, 0.1, {116, 134, 196}, kLips);
    for (size_t i = 0; i < parts_.size(); ++i) {
      const double x = X(i), y = Y(i);
      if (std::abs(y - 0.24) < 0.025 && std::abs(x) < 0.9) {
        parts_[i] = kRim;
        Set(i, {45, 45, 45});
      }
      if (parts_[i] == kSkin && y > 1.2 && x * x < 0.7) {
        parts_[i] = kBeard;
        if (random() % 3 == 0) Set(i, {90, 115, 160});
      }
      const int noise = static_cast<int>(random() % 9) - 4;
      for (size_t c = 0; c < 3; ++c) image.bgr[3 * i + c] = static_cast<uint8_t>(image.bgr[3 * i + c] + noise);
    }
    Describe();
  }

  Image Retouched(double skin, bool keep) const {
    Retouch retouch;
    retouch.skin = skin;
    retouch.keepFeatures = keep;
    Image result = image;
    RetouchFace(face, retouch, &result);
    return result;
  }
  // Mean absolute difference from the painted face.
  double Change(const Image& other, Part part) const {
    double sum = 0, count = 0;
    ForEach(part, [&](size_t i) {
      for (size_t c = 3 * i; c < 3 * i + 3; ++c, ++count) sum += std::abs(image.bgr[c] - other.bgr[c]);
    });
    return sum / count;
  }
  // Mean level.
  static double Mean(const PaintedFace& painted, const Image& other, Part part) {
    double sum = 0, count = 0;
    painted.ForEach(part, [&](size_t i) { sum += other.bgr[3 * i + 1], ++count; });
    return sum / count;
  }
  // Variance of what a mean of 5 x 5 takes away, on the cheeks.
  double FineTexture(const Image& other) const {
    double sum = 0, count = 0;
    ForEach(kSkin, [&](size_t i) {
      if (std::abs(std::abs(X(i)) - 0.7) > 0.2 || std::abs(Y(i) - 0.6) > 0.08) return;
      const auto width = static_cast<ptrdiff_t>(other.width);
      double mean = 0;
      for (ptrdiff_t y = -2; y <= 2; ++y) {
        for (ptrdiff_t x = -2; x <= 2; ++x) {
          mean += other.bgr[static_cast<size_t>(static_cast<ptrdiff_t>(i) + y * width + x) * 3 + 1] / 25.0;
        }
      }
      sum += (other.bgr[3 * i + 1] - mean) * (other.bgr[3 * i + 1] - mean), ++count;
    });
    return sum / count;
  }

  Image image;
  ProbedFace face{};

 private:
  using Colour = std::array<uint8_t, 3>;

  static Point At(double x, double y) {
    return {static_cast<int32_t>(310 + x * kUnit), static_cast<int32_t>(300 + y * kUnit)};
  }
  double X(size_t i) const { return (static_cast<double>(i % static_cast<size_t>(image.width)) - 310) / kUnit; }
  double Y(size_t i) const { return (static_cast<double>(i / static_cast<size_t>(image.width)) - 300) / kUnit; }
  void Set(size_t i, const Colour& colour) { std::copy(colour.begin(), colour.end(), &image.bgr[3 * i]); }
  template <typename Work>
  void ForEach(Part part, Work work) const {
    for (size_t i = 0; i < parts_.size(); ++i) {
      if (parts_[i] == part) work(i);
    }
  }
  void Disc(double x, double y, double width, double height, const Colour& colour, Part part) {
    for (size_t i = 0; i < parts_.size(); ++i) {
      const double dx = (X(i) - x) / width, dy = (Y(i) - y) / height;
      if (dx * dx + dy * dy > 1) continue;
      Set(i, colour);
      parts_[i] = part;
    }
  }
  void Describe() {
    face.corners = {At(-1.2, -0.7), At(1.2, -0.7), At(-1.2, 1.7), At(1.2, 1.7)};
    face.keyPoints[0] = At(-0.5, 0);
    face.keyPoints[1] = At(0.5, 0);
    auto& p = face.densePoints;
    const auto ring = [&](const std::vector<int>& points, double x, double y, double width, double height) {
      for (size_t i = 0; i < points.size(); ++i) {
        const double angle = 3.14159265 * (1 + 2 * static_cast<double>(i) / static_cast<double>(points.size()));
        p[static_cast<size_t>(points[i])] = At(x + width * std::cos(angle), y + height * std::sin(angle));
      }
    };
    ring({0, 4, 2, 6, 1, 7, 3, 5}, -0.5, 0, 0.24, 0.09);
    ring({16, 20, 18, 22, 17, 23, 19, 21}, 0.5, 0, 0.24, 0.09);
    ring({8, 12, 10, 14, 9, 15, 11, 13}, -0.5, -0.33, 0.36, 0.05);
    ring({24, 28, 26, 30, 25, 31, 27, 29}, 0.5, -0.33, 0.36, 0.05);
    ring({45, 59, 51, 52, 47, 53, 54, 63, 46, 66, 58, 57, 48, 56, 55, 62}, 0, 0.95, 0.42, 0.1);
    for (const int i : {32, 36, 38, 40, 41, 44, 49, 50, 60, 61, 64, 65}) p[static_cast<size_t>(i)] = At(0, 0.5);
    p[42] = At(-0.22, 0.5), p[37] = At(-0.24, 0.57), p[33] = At(-0.14, 0.65), p[35] = At(0, 0.68);
    p[43] = At(0.22, 0.5), p[39] = At(0.24, 0.57), p[34] = At(0.14, 0.65);
    for (int i = 67; i <= 87; ++i) {
      const double angle = 3.14159265 * (i - 67) / 20;
      p[static_cast<size_t>(i)] = At(-1.12 * std::cos(angle), 0.2 + 1.8 * std::sin(angle));
    }
  }

  std::vector<Part> parts_;
};

TEST(Retouch, KeepsWhatIsNoSkinAndTheSkinsPores) {
  const PaintedFace painted;
  double before = 0;
  for (const double skin : {0.7, 1.2, 2.0, 3.0, 5.0}) {
    const Image bare = painted.Retouched(skin, false), kept = painted.Retouched(skin, true);
    for (const auto part :
         {PaintedFace::kLips, PaintedFace::kBrows, PaintedFace::kNose, PaintedFace::kRim, PaintedFace::kBeard}) {
      EXPECT_LE(painted.Change(kept, part), 0.4 * painted.Change(bare, part) + 0.1) << skin << " part " << part;
    }
    // Of the skin all but a share is as smooth as before, and more so the stronger.
    const double change = painted.Change(kept, PaintedFace::kSkin);
    EXPECT_GT(change, before) << skin;
    before = 0.9 * change;
    const double fine = painted.FineTexture(painted.image);
    EXPECT_GT(painted.FineTexture(kept), 0.3 * fine) << skin;
    EXPECT_LT(painted.FineTexture(kept), 0.95 * fine) << skin;
    EXPECT_LT(painted.FineTexture(bare), painted.FineTexture(kept)) << skin;
    // Spots are gone as far as before.
    EXPECT_NEAR(PaintedFace::Mean(painted, bare, PaintedFace::kSpots),
                PaintedFace::Mean(painted, kept, PaintedFace::kSpots), 4)
        << skin;
  }
  const Image strong = painted.Retouched(2, true);
  EXPECT_GT(PaintedFace::Mean(painted, strong, PaintedFace::kSpots),
            PaintedFace::Mean(painted, painted.image, PaintedFace::kSpots) + 20);
  EXPECT_GT(painted.Change(painted.Retouched(2, false), PaintedFace::kLips), 0.3) << "nothing to keep";
}

TEST(Retouch, TakesPointsAnywhereAndPicturesOfAnySize) {
  const PaintedFace painted;
  Retouch all = NamedRetouch("strong");
  std::mt19937 random(5);
  for (const int reach : {3, 400, 2000, 1000000}) {
    for (int round = 0; round < 8; ++round) {
      ProbedFace face = painted.face;
      const auto anywhere = [&] { return static_cast<int32_t>(random() % static_cast<unsigned>(2 * reach)) - reach; };
      for (Point& point : face.densePoints) {
        if (round % 2 == 0) point = {anywhere(), anywhere()};
      }
      for (size_t i = 0; i < 2; ++i) face.keyPoints[i] = {anywhere(), anywhere()};
      Image image = round % 3 == 0 ? painted.image : GradientImage(1 + round * 9, 70 - round * 9);
      RetouchFace(face, all, &image);
    }
  }
  Image none;
  RetouchFace(painted.face, all, &none);
  EXPECT_TRUE(none.bgr.empty());
}

TEST(Retouch, RefusesStrengthsOutOfTheirRange) {
  const PaintedFace painted;
  const auto refuses = [&painted](const Retouch& retouch) {
    Image image = painted.image;
    EXPECT_THROW(RetouchFace(painted.face, retouch, &image), Failure);
    EXPECT_EQ(painted.image.bgr, image.bgr);
  };
  for (double Retouch::*strength : {&Retouch::eyes, &Retouch::mouth, &Retouch::skin, &Retouch::face}) {
    for (const double value : {10.5, -10.5, std::nan(""), HUGE_VAL}) {
      Retouch retouch = NamedRetouch("light");
      retouch.*strength = value;
      refuses(retouch);
    }
  }
  Retouch toned;
  toned.tone = kMostTone + 1;
  refuses(toned);
}

TEST(ProgramRetouch, AnswersWrongUsageAndPhotographsWithoutAFace) {
  const TestFolder folder;
  ToVips(GradientImage(64, 64)).write_to_file((folder / "a.png").c_str());
  const std::tuple<Names, int, std::string> cases[] = {{{"-o", "b.gif"}, 2, ".png"},
                                                       {{"-o", "a.png"}, 2, "would replace"},
                                                       {{"-o", "b.png", "--eyes", "40%"}, 2, "--eyes"},
                                                       {{"-o", "b.png", "--skin", "5.01"}, 2, "--skin"},
                                                       {{"-o", "b.png", "--face", "-1"}, 2, "--face"},
                                                       {{"-o", "b.png", "--beauty", "none"}, 2, "--beauty"},
                                                       {{"-o", "b.png", "--compare"}, 1, "no face"},
                                                       {{"-o", "b.png"}, 1, "no face"}};
  for (const auto& [options, status, reason] : cases) {
    EXPECT_EQ(status, StatusOfRefusal(folder, Joined({"retouch", "a.png"}, options), reason)) << reason;
  }
  EXPECT_EQ(Names{"a.png"}, folder.Names());
}

}  // namespace
}  // namespace qx::photo
