// What the tests of the skin retouch stage share: noise, tables and a painted face.
#ifndef QX_TESTS_SRC_BEAUTY_SKIN_FIXTURE_H
#define QX_TESTS_SRC_BEAUTY_SKIN_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "beauty/retouch_skin.h"
#include "beauty/skin/lab_tables.h"
#include "reference/plain_skin.h"

namespace qx::test {

inline std::mt19937& Random() {
  static std::mt19937 random(3);
  return random;
}
inline Picture Noise(int width, int height, int channels, unsigned levels = 256) {
  Picture p(width, height, channels);
  for (uint8_t& b : p.bytes) b = static_cast<uint8_t>(Random()() % levels);
  return p;
}
inline LabTables Tables() {
  LabTables tables;
  EXPECT_EQ(BuildLabTables(&tables), Status::kOk);
  EXPECT_EQ(BuildLevelTable(&tables), Status::kOk);
  return tables;
}
inline Bytes Taken(const ByteBuffer& buffer, size_t count) {
  return {buffer.data(), buffer.data() + count};
}

inline constexpr Point kSpots[] = {{-30, 12}, {32, 8}, {-22, 30}, {0, -42}};  // in hundredths of the face's side

// A face of even skin with textured hair around it. Its box is a square of `side` pixels around the middle.
struct PaintedFace {
  PaintedFace(int width, int height, int faceSide, int x, int y)
      : image(width, height, 3), feature(width, height, 1), side(faceSide), centreX(x), centreY(y) {
    Paint();
    Describe();
  }

  double U(double hundredths) const { return hundredths * side / 100; }
  Point At(double dx, double dy) const {
    return {centreX + static_cast<int>(U(dx)), centreY + static_cast<int>(U(dy))};
  }
  void Disc(double dx, double dy, double rx, double ry, int b, int g, int r, bool isFeature = true) {
    for (int y = 0; y < image.height; ++y) {
      for (int x = 0; x < image.width; ++x) {
        const double u = (x - centreX - U(dx)) / U(rx), v = (y - centreY - U(dy)) / U(ry);
        if (u * u + v * v > 1) continue;
        const int colour[] = {b, g, r};
        for (int c = 0; c < 3; ++c) image.At(x, y, c) = static_cast<uint8_t>(colour[c]);
        feature.At(x, y) = isFeature ? 1 : 0;
      }
    }
  }
  void Paint() {
    std::mt19937 random(7);
    for (size_t i = 0; i < feature.bytes.size(); ++i) {
      const auto shade = static_cast<uint8_t>(random() % (4 + i % 64 * (i % 64) / 18));
      for (size_t c = 0; c < 3; ++c) image.bytes[3 * i + c] = static_cast<uint8_t>(shade + 4 * c);
      feature.bytes[i] = 1;
    }
    Disc(0, 0, 44, 49, 125, 155, 205, false);
    for (const int s : {-1, 1}) {
      Disc(s * 20, -18, 12, 3, 70, 85, 110);   // brow
      Disc(s * 20, -8, 9, 4, 75, 80, 85);      // eye
      Disc(s * 20, -8, 2.2, 2.2, 40, 30, 30);  // iris
      Disc(s * 5, 16, 2.5, 1.5, 50, 60, 110);  // nostril
    }
    Disc(0, 30, 16, 5, 100, 90, 190);  // lips
    for (const Point s : kSpots) Disc(s.x, s.y, 0.8, 0.8, 45, 75, 125, false);
    for (size_t i = 0; i < image.bytes.size(); ++i) {
      if (feature.bytes[i / 3] == 0) image.bytes[i] = static_cast<uint8_t>(image.bytes[i] + random() % 4);
    }
  }
  void Describe() {
    const int half = side / 2;
    const Point corners[] = {{centreX - half, centreY - half},
                             {centreX - half + side, centreY - half},
                             {centreX - half, centreY - half + side},
                             {centreX - half + side, centreY - half + side}};
    std::copy(std::begin(corners), std::end(corners), set.FaceBox());
    set.Eyes()[0] = At(-20, -8);
    set.Eyes()[1] = At(20, -8);
    Point* p = set.Attributes();
    std::fill_n(p, 88, At(0, 10));
    const DensePoint top[] = {kLeftBrowOuterEnd,  kLeftBrowTopOuter,  kLeftBrowTopMiddle, kLeftBrowTopInner,
                              kLeftBrowInnerEnd,  kRightBrowInnerEnd, kRightBrowTopInner, kRightBrowTopMiddle,
                              kRightBrowTopOuter, kRightBrowOuterEnd};
    for (int i = 0; i < 10; ++i) p[top[i]] = At(-36 + 8 * i, -18);
    for (int i = kOutlineLeftEnd; i <= kOutlineRightEnd; ++i) {
      const double angle = (i - kOutlineLeftEnd) * 3.14159 / 20;
      p[i] = At(-40 * std::cos(angle), -10 + 56 * std::sin(angle));
    }
    p[kLeftNoseWing] = At(-9, 12), p[kRightNoseWing] = At(9, 12), p[kNoseTip] = At(0, 8);
    p[kLeftNostril] = At(-6, 16), p[kRightNostril] = At(6, 16), p[kNoseBase] = At(0, 18);
    p[kUpperLipMiddle] = At(0, 26);
    p[kLeftMouthCorner] = At(-17, 30), p[kUpperLipLeft] = At(-10, 26), p[kLowerLipLeft] = At(-10, 34);
    p[kRightMouthCorner] = At(17, 30), p[kUpperLipRight] = At(10, 26), p[kLowerLipRight] = At(10, 34);
  }
  PaintedFace Turned() const {
    PaintedFace t = *this;
    const int h = image.height;
    t.image = Picture(h, image.width, 3);
    t.feature = Picture(h, image.width, 1);
    for (int y = 0; y < image.width; ++y) {
      for (int x = 0; x < h; ++x) {
        for (int c = 0; c < 3; ++c) t.image.At(x, y, c) = image.At(y, h - 1 - x, c);
        t.feature.At(x, y) = feature.At(y, h - 1 - x);
      }
    }
    const auto turn = [h](Point* points, int count) {
      for (int i = 0; i < count; ++i) points[i] = {h - 1 - points[i].y, points[i].x};
    };
    turn(t.set.FaceBox(), 4);
    turn(t.set.Eyes(), 2);
    turn(t.set.Attributes(), 88);
    return t;
  }
  Bytes Retouch(double strength) const {
    LandmarkSet own = set;
    Bytes out = image.bytes, work(out.size());
    RetouchSkin({out.data(), image.width, image.height, 3}, strength, &own, work.data());
    return out;
  }

  Picture image, feature;
  LandmarkSet set;
  int side, centreX, centreY;
};

}  // namespace qx::test

#endif  // QX_TESTS_SRC_BEAUTY_SKIN_FIXTURE_H
