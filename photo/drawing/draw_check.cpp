// DrawCheck of check_photo.h.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "photo/check/check.h"

namespace qx::photo {
namespace {

struct Tint {
  uint8_t blue, green, red;
};
constexpr Tint kGood{60, 200, 60}, kBad{40, 40, 230}, kShown{230, 160, 40};

class Sketch {
 public:
  explicit Sketch(const Image& photograph)
      : image_(photograph), thickness_(std::max(1, std::max(photograph.width, photograph.height) / 400)) {}

  // From (left, top) to (right, bottom), exclusive; `share` of 256 parts is the tint's.
  void Fill(double left, double top, double right, double bottom, Tint tint, int share) {
    const auto clip = [](double v, int32_t size) {
      return static_cast<int32_t>(std::clamp(std::round(v), 0.0, double{1} * size));
    };
    const int32_t x1 = clip(right, image_.width), y1 = clip(bottom, image_.height);
    for (int32_t y = clip(top, image_.height); y < y1; ++y) {
      for (int32_t x = clip(left, image_.width); x < x1; ++x) {
        uint8_t* pixel =
            &image_.bgr[3 * (static_cast<size_t>(y) * static_cast<size_t>(image_.width) + static_cast<size_t>(x))];
        const uint8_t colour[] = {tint.blue, tint.green, tint.red};
        for (int c = 0; c < 3; ++c)
          pixel[c] = static_cast<uint8_t>((pixel[c] * (256 - share) + colour[c] * share) / 256);
      }
    }
  }
  void Row(double y, Tint tint) { Fill(0, y, image_.width, y + thickness_, tint, 256); }
  void Column(double x, double top, double bottom, Tint tint) { Fill(x, top, x + thickness_, bottom, tint, 256); }
  // Rows in which something may lie.
  void Band(double from, double to, Tint tint) {
    constexpr int kFaint = 70;
    Fill(0, from, image_.width / 8.0, to, tint, kFaint);
    Fill(image_.width - image_.width / 8.0, from, image_.width, to, tint, kFaint);
  }
  Image Take() { return std::move(image_); }

 private:
  Image image_;
  int thickness_;
};

}  // namespace

Image DrawCheck(const Image& photograph, const PhotoCheck& check) {
  Sketch sketch(photograph);
  if (!check.person) return sketch.Take();
  const PersonGeometry& person = *check.person;
  const auto tintOf = [&check](const char* name) {
    for (const CheckLine& line : check.lines) {
      if (line.name == name) return !line.min && !line.max ? kShown : line.Passed() ? kGood : kBad;
    }
    return kShown;
  };
  const Document& document = check.document;
  const double height = photograph.height;
  if (document.top) sketch.Band(document.top->min * height, document.top->max * height, tintOf("space above"));
  if (document.head) {
    sketch.Band(person.headTop + document.head->min * height, person.headTop + document.head->max * height,
                tintOf("head"));
  }
  if (document.eyes) {
    sketch.Band(height - document.eyes->max * height, height - document.eyes->min * height, tintOf("eyes"));
  }
  sketch.Row(person.headTop, tintOf("space above"));
  sketch.Row(person.eyes, tintOf("eyes"));
  sketch.Row(person.chin, tintOf("head"));
  for (const double side : {person.faceLeft, person.faceLeft + person.faceWidth}) {
    sketch.Column(side, person.headTop, person.chin, tintOf("face width"));
  }
  return sketch.Take();
}

}  // namespace qx::photo
