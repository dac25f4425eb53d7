// Photographs of painted faces and what an engine finds in them, made from whole numbers alone: the same everywhere.
#ifndef QX_TESTS_GOLDEN_PAINTED_PORTRAIT_H
#define QX_TESTS_GOLDEN_PAINTED_PORTRAIT_H

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>
#include <vector>

#include "face/landmark_set.h"
#include "src/scripted_engine.h"

namespace qx::test {

// A face of even skin with spots, of `side` pixels around (x, y), and textured hair all around it.
class PaintedPortrait {
 public:
  PaintedPortrait(int32_t width, int32_t height, int32_t side, int32_t x, int32_t y)
      : photo(width, height), side_(side), centreX_(x), centreY_(y) {
    Paint();
    faces = {Describe()};
  }

  // The right part of another photograph of the same size, from a column on, with its face.
  void Join(const PaintedPortrait& other, int32_t fromColumn) {
    for (size_t i = 0; i < photo.pixels.size(); ++i) {
      if (static_cast<int32_t>(i / 3) % photo.width >= fromColumn) photo.pixels[i] = other.photo.pixels[i];
    }
    faces.push_back(other.faces[0]);
  }
  void TurnClockwise() {
    for (ScriptedFace& f : faces) f = qx::test::TurnClockwise(f, photo.height);
    photo = photo.TurnedClockwise();
  }

  Photo photo;
  std::vector<ScriptedFace> faces;

 private:
  // Lengths in thousandths of the face's side.
  int32_t Length(int32_t thousandths) const { return thousandths * side_ / 1000; }
  Point At(int32_t dx, int32_t dy) const { return {centreX_ + Length(dx), centreY_ + Length(dy)}; }

  struct Colour {
    uint8_t bgr[3];
  };
  void Disc(Point thousandths, int32_t across, int32_t down, Colour colour, bool skin = false) {
    const Point centre = At(thousandths.x, thousandths.y);
    const int64_t rx = std::max(Length(across), 1), ry = std::max(Length(down), 1);
    for (int32_t y = 0; y < photo.height; ++y) {
      for (int32_t x = 0; x < photo.width; ++x) {
        const int64_t u = (x - centre.x) * ry, v = (y - centre.y) * rx;
        if (u * u + v * v > rx * rx * ry * ry) continue;
        uint8_t* pixel = photo.pixels.data() +
                         (static_cast<size_t>(y) * static_cast<size_t>(photo.width) + static_cast<size_t>(x)) * 3;
        for (int c = 0; c < 3; ++c) pixel[c] = static_cast<uint8_t>(colour.bgr[c] + (skin ? random_() % 4 : 0));
      }
    }
  }

  void Paint() {
    for (size_t i = 0; i < photo.pixels.size() / 3; ++i) {
      const auto shade = static_cast<uint8_t>(random_() % (4 + i % 64 * (i % 64) / 18));
      for (size_t c = 0; c < 3; ++c) photo.pixels[3 * i + c] = static_cast<uint8_t>(shade + 4 * c);
    }
    Disc({0, 0}, 440, 490, {{125, 155, 205}}, true);
    for (const int32_t s : {-1, 1}) {
      Disc({s * 200, -180}, 120, 30, {{70, 85, 110}});  // brow
      Disc({s * 200, -80}, 90, 40, {{75, 80, 85}});     // eye
      Disc({s * 200, -80}, 22, 22, {{40, 30, 30}});     // iris
      Disc({s * 50, 160}, 25, 15, {{50, 60, 110}});     // nostril
    }
    Disc({0, 300}, 160, 50, {{100, 90, 190}});  // lips
    for (const Point spot : {Point{-300, 120}, Point{320, 80}, Point{-220, 300}, Point{0, -420}}) {
      Disc(spot, 8, 8, {{45, 75, 125}}, true);
    }
  }

  ScriptedFace Describe() const {
    ScriptedFace face;
    const int32_t left = centreX_ - side_ / 2, top = centreY_ - side_ / 2;
    const int32_t corners[] = {left, top, left + side_, top, left, top + side_, left + side_, top + side_};
    std::copy(std::begin(corners), std::end(corners), face.corners);
    face.keyPoints[kLeftEyeCentre] = At(-200, -80);
    face.keyPoints[kRightEyeCentre] = At(200, -80);
    const auto put = [&face](int at, const Point(&points)[4]) { std::copy_n(points, 4, face.landmarks + at); };
    put(kLeftEyeOuterCorner, {At(-290, -80), At(-110, -80), At(-200, -120), At(-200, -40)});
    put(kRightEyeInnerCorner, {At(110, -80), At(290, -70), At(200, -120), At(200, -40)});
    face.landmarks[kMouthLeftEnd] = At(-160, 300);
    face.landmarks[kMouthRightEnd] = At(160, 300);
    face.landmarks[kMouthTop] = At(0, 250);
    face.landmarks[kMouthBottom] = At(0, 350);
    DescribeDensely(face.attributes);
    return face;
  }
  void DescribeDensely(Point* p) const {
    std::fill_n(p, QX_FACE_ATTRIBUTE_POINTS, At(0, 100));
    const DensePoint brows[] = {kLeftBrowOuterEnd,  kLeftBrowTopOuter,  kLeftBrowTopMiddle, kLeftBrowTopInner,
                                kLeftBrowInnerEnd,  kRightBrowInnerEnd, kRightBrowTopInner, kRightBrowTopMiddle,
                                kRightBrowTopOuter, kRightBrowOuterEnd};
    for (int i = 0; i < 10; ++i) p[brows[i]] = At(-360 + 80 * i, -180);
    // Half an ellipse; sines of multiples of 9 degrees in thousandths.
    constexpr int32_t kSines[] = {0, 156, 309, 454, 588, 707, 809, 891, 951, 988, 1000};
    for (int i = 0; i <= 20; ++i) {
      const int32_t sine = kSines[i <= 10 ? i : 20 - i], cosine = i <= 10 ? kSines[10 - i] : -kSines[i - 10];
      p[kOutlineLeftEnd + i] = At(-400 * cosine / 1000, -100 + 560 * sine / 1000);
    }
    p[kNoseRoot] = At(10, -140), p[kNoseTip] = At(0, 80), p[kNoseBase] = At(0, 180);
    p[kLeftNoseWing] = At(-90, 120), p[kRightNoseWing] = At(90, 120);
    p[kLeftNostril] = At(-60, 160), p[kRightNostril] = At(60, 160);
    p[kUpperLipMiddle] = At(0, 260);
    p[kLeftMouthCorner] = At(-170, 300), p[kUpperLipLeft] = At(-100, 260), p[kLowerLipLeft] = At(-100, 340);
    p[kRightMouthCorner] = At(170, 300), p[kUpperLipRight] = At(100, 260), p[kLowerLipRight] = At(100, 340);
  }

  int32_t side_, centreX_, centreY_;
  std::mt19937 random_{7};
};

}  // namespace qx::test

#endif  // QX_TESTS_GOLDEN_PAINTED_PORTRAIT_H
