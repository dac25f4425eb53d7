#include "photo/drawing/draw_check.h"

#include <algorithm>
#include <cmath>

#include "photo/drawing/canvas.h"

namespace qx::photo {
namespace {

constexpr Ink kGood{60, 200, 60}, kBad{40, 40, 230}, kShown{230, 160, 40};

class Sketch {
 public:
  explicit Sketch(const Image& photograph)
      : canvas_(photograph, 1), thickness_(std::max(1, std::max(photograph.width, photograph.height) / 400)) {}

  void Row(double y, Ink ink) { Fill(0, y, canvas_.Width(), y + thickness_, ink); }
  void Column(double x, double top, double bottom, Ink ink) { Fill(x, top, x + thickness_, bottom, ink); }
  // Rows in which something may lie.
  void Band(double from, double to, Ink ink) {
    constexpr int kFaint = 70;
    Fill(0, from, canvas_.Width() / 8.0, to, ink, kFaint);
    Fill(canvas_.Width() - canvas_.Width() / 8.0, from, canvas_.Width(), to, ink, kFaint);
  }
  Image Take() { return canvas_.Take(); }

 private:
  void Fill(double left, double top, double right, double bottom, Ink ink, int share = 256) {
    const auto clip = [](double place, double size) {
      return static_cast<int32_t>(std::clamp(std::round(place), 0.0, size));
    };
    canvas_.Fill({clip(left, canvas_.Width()), clip(top, canvas_.Height()), clip(right, canvas_.Width()),
                  clip(bottom, canvas_.Height())},
                 ink, share);
  }

  Canvas canvas_;
  int thickness_;
};

}  // namespace

Image DrawCheck(const Image& photograph, const PhotoCheck& check) {
  Sketch sketch(photograph);
  if (!check.person) return sketch.Take();
  const PersonGeometry& person = *check.person;
  const auto inkOf = [&check](const char* name) {
    for (const CheckLine& line : check.lines) {
      if (line.name == name) return !line.min && !line.max ? kShown : line.Passed() ? kGood : kBad;
    }
    return kShown;
  };
  const Document& document = check.document;
  const double height = photograph.height;
  if (document.top) sketch.Band(document.top->min * height, document.top->max * height, inkOf("space above"));
  if (document.head) {
    sketch.Band(person.headTop + document.head->min * height, person.headTop + document.head->max * height,
                inkOf("head"));
  }
  if (document.eyes) {
    sketch.Band(height - document.eyes->max * height, height - document.eyes->min * height, inkOf("eyes"));
  }
  sketch.Row(person.headTop, inkOf("space above"));
  sketch.Row(person.eyes, inkOf("eyes"));
  sketch.Row(person.chin, inkOf("head"));
  for (const double side : {person.faceLeft, person.faceLeft + person.faceWidth}) {
    sketch.Column(side, person.headTop, person.chin, inkOf("face width"));
  }
  return sketch.Take();
}

}  // namespace qx::photo
