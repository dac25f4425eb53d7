// The outline of a person's hair: maps, faces, pictures and windows of the fuzzer's choosing, followed, laid over
// pictures, and the old background taken out.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <vector>

#include "photo/foreground/foreground.h"
#include "photo/person/hair.h"
#include "photo/person/mask.h"

namespace {

using namespace qx::photo;

class Inventor {
 public:
  Inventor(const uint8_t* data, size_t size) : input_(data, size) {}

  int Side() {
    return input_.ConsumeBool() ? input_.ConsumeIntegralInRange(1, 12) : 84 - input_.ConsumeIntegralInRange(0, 83);
  }
  bool Chance() { return input_.ConsumeBool(); }

  // Mostly near a small picture.
  double Place() {
    switch (input_.ConsumeIntegralInRange(0, 7)) {
      case 6: return input_.ConsumeFloatingPointInRange(-1e9, 1e9);
      case 7: return input_.ConsumeFloatingPointInRange(-3e3, 3e3);
      default: return input_.ConsumeFloatingPointInRange(-40.0, 160.0);
    }
  }

  std::vector<FaceBox> Faces(int most) {
    std::vector<FaceBox> faces;
    for (int i = input_.ConsumeIntegralInRange(0, most); i > 0; --i) {
      if (input_.ConsumeBool()) {
        faces.push_back({26, 24, 52, 50});
        continue;
      }
      const double left = Place(), top = Place();
      const bool square = input_.ConsumeBool();
      const double side = input_.ConsumeFloatingPointInRange(20.0, 90.0);
      faces.push_back({left, top, square ? left + side : Place(), square ? top + side : Place()});
    }
    return faces;
  }

  // Not empty.
  Rectangle Window(int width, int height) {
    if (input_.ConsumeBool()) return {0, 0, 1.0 * width, 1.0 * height};
    if (!input_.ConsumeBool()) return {3.2, 2.7, 0.8 * width, 0.7 * height};
    const double left = Place(), top = Place();
    return {left, top, std::max(1e-3, std::abs(Place())), std::max(1e-3, std::abs(Place()))};
  }

  // A plain or noisy ground with hair around a face's usual place and a few boxes on it.
  Image Picture(int width, int height) {
    Image picture(width, height);
    const uint32_t noise = input_.ConsumeBool() ? 1 : input_.ConsumeIntegralInRange<uint32_t>(1, 255);
    const Bytes ground = Values(3), slopes = Values(2);
    const uint8_t hair = static_cast<uint8_t>(130 + Values(1)[0]);
    uint32_t random = 1;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        for (size_t c = 0; c < 3; ++c) {
          random = random * 1664525 + 1013904223;
          const int slope = (x * (slopes[0] % 8) + y * (slopes[1] % 8)) / 4;
          const int level = IsHair(x, y, (random >> 10) % 8) ? hair : ground[c] + slope;
          picture.At(x, y)[c] = static_cast<uint8_t>(level + static_cast<int>((random >> 16) % noise));
        }
      }
    }
    Boxes(width, height, [&](int x, int y, uint8_t value) {
      for (int c = 0; c < 3; ++c) picture.At(x, y)[c] = static_cast<uint8_t>(value + 40 * c);
    });
    return picture;
  }

  Mask Coverage(int width, int height) {
    Mask mask(width, height, input_.ConsumeBool() ? Values(1)[0] : uint8_t{0});
    if (!input_.ConsumeBool()) {
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) mask.Row(y)[x] = IsHair(x, y, 0) ? 255 : mask.Row(y)[x];
      }
    }
    Boxes(width, height, [&](int x, int y, uint8_t value) { mask.Row(y)[x] = value > 150 ? 255 : value; });
    return mask;
  }

 private:
  // A head, ragged by that many pixels, and a body.
  static bool IsHair(int x, int y, uint32_t ragged) {
    return std::hypot(x - 39, y - 36) < 19 + ragged || (y > 56 && std::abs(x - 39) < 22);
  }
  Bytes Values(size_t count) {
    Bytes values;
    for (size_t i = 0; i < count; ++i) values.push_back(input_.ConsumeIntegral<uint8_t>());
    return values;
  }

  template <typename Paint>
  void Boxes(int width, int height, Paint paint) {
    for (int i = input_.ConsumeIntegralInRange(0, 4); i > 0; --i) {
      const int left = input_.ConsumeIntegralInRange(0, width - 1), top = input_.ConsumeIntegralInRange(0, height - 1);
      const int right = input_.ConsumeIntegralInRange(left, width - 1);
      const int bottom = input_.ConsumeIntegralInRange(top, height - 1);
      const auto value = input_.ConsumeIntegral<uint8_t>();
      for (int y = top; y <= bottom; ++y) {
        for (int x = left; x <= right; ++x) paint(x, y, value);
      }
    }
  }

  FuzzedDataProvider input_;
};

bool IsShare(float value) {
  return value >= 0 && value <= 1;
}

void Check(const HairMap& hair, size_t persons) {
  if (!hair.alpha.IsOf(hair.colours) || hair.faces.size() != persons || !(hair.faceWidth > 0)) std::abort();
  if (!IsShare(hair.doubt.left) || !IsShare(hair.doubt.right) || !IsShare(hair.doubt.above)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Places come first: when an input is at its end, only colours are missing.
  Inventor inventor(data, size);
  const std::vector<FaceBox> persons = inventor.Faces(3), others = inventor.Faces(2);
  const int width = inventor.Side(), height = inventor.Side();
  const int partWidth = inventor.Side(), partHeight = inventor.Side();
  const Rectangle partWindow = inventor.Window(partWidth, partHeight);
  const double faceWidth = std::max(0.1, std::abs(inventor.Place()));
  const Rim rim = inventor.Chance() ? Rim::kReduce : Rim::kKeep;
  PersonMap map;
  map.faceWidth = 1 + std::abs(std::fmod(inventor.Place(), 192));
  map.scaleX = inventor.Chance() ? 0.37 : 1;
  map.scaleY = inventor.Chance() ? 0.9 : map.scaleX;
  map.coverage = inventor.Coverage(width, height);
  map.colours = inventor.Picture(width, height);
  const Image picture = inventor.Chance() ? inventor.Picture(inventor.Side(), inventor.Side()) : map.colours;
  const Rectangle window = inventor.Window(picture.width, picture.height);
  map.hair = FollowHair(map, picture, window, persons, others);
  if (map.hair) Check(*map.hair, persons.size());

  const Image part = inventor.Picture(partWidth, partHeight);
  const Mask mask = RefineMask(map, part, partWindow);
  if (!mask.IsOf(part)) std::abort();
  const Image cleaned = EstimateForeground(part, mask, faceWidth, rim);
  if (!mask.IsOf(cleaned)) std::abort();
  for (size_t i = 0; rim == Rim::kKeep && i < part.bgr.size(); ++i) {
    if (mask.values[i / 3] % 255 == 0 && part.bgr[i] != cleaned.bgr[i]) std::abort();
  }
  return 0;
}
