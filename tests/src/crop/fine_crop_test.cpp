// The search for the finished photograph's rectangle, against a plain walk over all heights and rows.
#include "crop/fine_crop.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <random>
#include <vector>

namespace qx::test {
namespace {

// A crop of 200 x 260 with a person in it: a head of columns 70 to 130 from row 60 on, shoulders from row 170 on.
FaceRecord Person() {
  FaceRecord face;
  face.cropWidth = 200;
  face.cropHeight = 260;
  face.offsetX = 100;
  face.fgMask.AllocateZeroed(200 * 260);
  const auto fill = [&face](int x0, int y0, int x1, int y1) {
    for (int y = y0; y <= y1; ++y) {
      for (int x = x0; x <= x1; ++x) face.fgMask[static_cast<size_t>(y * 200 + x)] = 255;
    }
  };
  fill(70, 60, 130, 169);
  fill(20, 170, 180, 259);
  face.crop.keyPoints[kLeftEyeCentre] = {85, 100};
  face.crop.keyPoints[kRightEyeCentre] = {115, 101};
  for (int i = 0; i < kAttributeCount; ++i) face.crop.attributes[i] = {75 + i % 51, 90 + i % 61};
  return face;
}

int64_t Rnd(double v) {
  return TruncToInt32(v + 0.5);
}

struct Walk {
  const FaceRecord& face;
  const FineCropParams& p;
  int64_t headTop, headBottom, left, right, bottom, chin, faceWidth;

  bool Admissible(int64_t h) const {
    const auto d = static_cast<double>(h);
    const int64_t length = headBottom - headTop;
    return !(p.headMin > 0 && p.headMax > 0) || (Rnd(d * p.headMin) <= length && length <= Rnd(d * p.headMax));
  }
  bool RowFits(int64_t h, int64_t b) const {
    const auto d = static_cast<double>(h);
    const int64_t eye = b - (face.crop.keyPoints[kLeftEyeCentre].y + face.crop.keyPoints[kRightEyeCentre].y) / 2,
                  top = headTop - b + h;
    if (p.eyeMin > 0 && p.eyeMax > 0 && !(Rnd(d * p.eyeMin) <= eye && eye <= Rnd(d * p.eyeMax))) return false;
    return !(p.topMin > 0 && p.topMax > 0) || (Rnd(d * p.topMin) <= top && top <= Rnd(d * p.topMax));
  }
  std::optional<int64_t> MainRow(int64_t h, int64_t maxWidth) const {
    if (!Admissible(h)) return std::nullopt;
    std::optional<int64_t> first;
    int64_t last = chin;
    for (int64_t b = bottom; b > chin; --b) {
      bool fits = RowFits(h, b);
      if (p.faceWidthMin >= 0 && p.faceWidthMax >= 0) {
        const auto w = static_cast<double>(maxWidth), f = static_cast<double>(faceWidth);
        fits = fits && w * p.faceWidthMin <= f && f <= w * p.faceWidthMax;
      }
      if (fits && !first) first = b;
      if (!fits && first) {
        last = b;
        break;
      }
    }
    if (!first) return std::nullopt;
    return (*first + last) / 2;
  }
  std::optional<std::pair<int64_t, int64_t>> Find() const {
    const double reach = std::min(face.offsetX - static_cast<double>(left), static_cast<double>(right) - face.offsetX);
    const int64_t m = TruncToInt32(reach), maxWidth = 2 * m + 1, maxH = maxWidth * p.height / p.width;
    const int64_t minH = TruncToInt32((1.4 * static_cast<double>(faceWidth) + 1.0) * p.height / p.width + 0.5);
    if (minH <= maxH) {
      const int64_t h0 = (2 * maxH) / 3 + minH / 3;
      for (int64_t h = h0; h <= maxH; ++h) {
        if (const auto b = MainRow(h, maxWidth)) return std::pair(h, *b);
      }
      for (int64_t h = h0; h >= minH; --h) {
        if (const auto b = MainRow(h, maxWidth)) return std::pair(h, *b);
      }
    }
    for (int64_t h = ((2 * m + 1) * p.height) / p.width; h <= ((3 * m + 1) * p.height) / p.width; ++h) {
      for (int64_t b = bottom; Admissible(h) && b > chin; --b) {
        if (RowFits(h, b)) return std::pair(h, b);
      }
    }
    return std::nullopt;
  }
};

TEST(FineCrop, EmptyMasksAndOddBoundsFailQuietly) {
  FaceRecord face = Person();
  FineCropParams p = {1, 1, 0.7, 0.8, 0, 0, 0, 0, -1, -1};
  p.topMin = p.topMax = std::nan("");
  CropRect rect = {1, 2, 3, 4};
  EXPECT_TRUE(FineCropSingle(face, p, &rect)) << "a bound that is no number is off";
  rect = {1, 2, 3, 4};
  face.fgMask.AllocateZeroed(200 * 260);
  EXPECT_FALSE(FineCropSingle(face, p, &rect));
  EXPECT_EQ(rect.left, 1);
}

TEST(FineCrop, AgreesWithThePlainWalk) {
  std::mt19937 random(3);
  const auto real = [&random](double low, double high) { return std::uniform_real_distribution(low, high)(random); };
  int found = 0;
  for (int round = 0; round < 3000; ++round) {
    FaceRecord face = Person();
    face.offsetX = real(40, 160);
    const int lift = static_cast<int>(real(-100, 60));
    for (Point& q : face.crop.attributes) q.y += lift;
    FineCropParams p = {static_cast<int32_t>(real(1, 60)), static_cast<int32_t>(real(1, 60)), 0, 0, 0, 0, 0, 0, -1, -1};
    const auto bounds = [&](double* low, double* high) {
      if (random() % 3 == 0) return;
      *low = real(0, 1.1);
      *high = *low + real(0, random() % 2 == 0 ? 0.02 : 0.4);
    };
    bounds(&p.headMin, &p.headMax);
    bounds(&p.topMin, &p.topMax);
    bounds(&p.eyeMin, &p.eyeMax);
    if (random() % 2 == 0) bounds(&p.faceWidthMin, &p.faceWidthMax);
    if (random() % 8 == 0) p.faceWidthMin = p.faceWidthMax = 0;  // in force, unlike the others at zero
    const int64_t chin = 150 + lift;
    const Walk walk = {face, p, chin >= 60 ? 60 : 259, chin, 20, 180, 259, chin, 50};
    const auto expected = walk.Find();
    CropRect rect = {};
    ASSERT_EQ(FineCropSingle(face, p, &rect), expected.has_value()) << round;
    if (!expected) continue;
    ++found;
    ASSERT_EQ(rect.bottom, expected->second) << round;
    ASSERT_EQ(rect.top, expected->second - expected->first + 1) << round;
    const auto half = static_cast<double>((p.width * expected->first / p.height - 1) / 2);
    ASSERT_EQ(rect.left, TruncToInt32(face.offsetX - half)) << round;
    ASSERT_EQ(rect.right, TruncToInt32(face.offsetX + half)) << round;
  }
  EXPECT_GT(found, 500);
}

TEST(FineCrop, HostileGeometryNeedsNoWalk) {
  FaceRecord face = Person();
  const double fractions[] = {1e-300, 1e-9, 1e-6, 0.3, 0.7, 1 - 1e-6, 1 - 1e-9, 1, 5, 1e300, INFINITY};
  std::vector<std::pair<double, double>> pairs = {{0, 0}};
  for (const double low : fractions) {
    for (const double high : fractions) {
      if (low <= high) pairs.emplace_back(low, high);
    }
  }
  for (const auto& [w, h] : {std::pair(1, 5000000), std::pair(5000000, 1), std::pair(1, 2147483647)}) {
    for (const int32_t chin : {150, 2147483647, -2147483647}) {
      for (Point& q : face.crop.attributes) q.y = chin;
      for (const auto& eye : pairs) {
        for (const auto& top : pairs) {
          const FineCropParams p = {w, h, 0, 0, top.first, top.second, eye.first, eye.second, -1, -1};
          CropRect rect;
          FineCropSingle(face, p, &rect);
        }
      }
    }
  }
}

TEST(FineCrop, ThePairSearchKeepsProportions) {
  FaceRecord faces[2] = {Person(), Person()};
  PairCrop pair;
  pair.boxes[0] = {0, 0, 200, 260};
  pair.boxes[1] = {150, 10, 350, 270};
  CropRect rect = {};
  ASSERT_TRUE(FineCropPair(faces, pair, &rect));
  // Points from 75 to 125 + 150: centre 175, half width from trunc(200 * 0.7) = 140 to (330 - 20) / 2 = 155. Chin row
  // 160, head top 60, face width 50: bottoms from 184 to 218, top margin 15 to 40. Half 140: 187 rows, bottoms from
  // 207 to 232, so 218.
  EXPECT_EQ(std::pair(rect.left, rect.right), std::pair(35, 315));
  EXPECT_EQ(std::pair(rect.top, rect.bottom), std::pair(218 - 187 + 1, 218));
  for (Point& q : faces[1].crop.attributes) q.y = 400;
  EXPECT_FALSE(FineCropPair(faces, pair, &rect));
}

}  // namespace
}  // namespace qx::test
