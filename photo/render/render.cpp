#include "photo/render/render.h"

#include <algorithm>
#include <cmath>

#include "photo/base/resize.h"

namespace qx::photo {
namespace {

// The pixels around the rectangle, with `reach` more on each side.
struct Area {
  int32_t left, top, width, height;
};

Area AreaAround(const Rectangle& rectangle, int32_t reach) {
  const auto left = static_cast<int32_t>(std::floor(rectangle.left)) - reach;
  const auto top = static_cast<int32_t>(std::floor(rectangle.top)) - reach;
  const auto right = static_cast<int32_t>(std::ceil(rectangle.Right())) + reach;
  const auto bottom = static_cast<int32_t>(std::ceil(rectangle.Bottom())) + reach;
  return {left, top, right - left, bottom - top};
}

}  // namespace

Image RenderPhoto(const Image& colours, const Mask& mask, const Background& background, const Rectangle& rectangle,
                  const Document& document) {
  if (background.IsKeep()) return ResizeLanczos(colours, rectangle, document.width, document.height);
  const Area area = AreaAround(rectangle, LanczosReach(rectangle.height / document.height));
  Image person(area.width, area.height);
  std::fill(person.bgr.begin(), person.bgr.end(), uint8_t{0});
  Mask coverage(area.width, area.height, 0);
  // Where the rectangle ends inside the photograph, the border pixels continue: they are no end of the person.
  const bool continueLeft = rectangle.left >= 0, continueRight = rectangle.Right() <= colours.width;
  const bool continueTop = rectangle.top >= 0;
  size_t at = 0;
  for (int32_t y = 0; y < area.height; ++y) {
    const int32_t sourceY = area.top + y;
    const bool rowInside = sourceY >= 0 || continueTop;
    const auto row =
        static_cast<size_t>(std::clamp(sourceY, 0, colours.height - 1)) * static_cast<size_t>(colours.width);
    for (int32_t x = 0; x < area.width; ++x, ++at) {
      const int32_t sourceX = area.left + x;
      if (!rowInside || (sourceX < 0 && !continueLeft) || (sourceX >= colours.width && !continueRight)) continue;
      const size_t from = row + static_cast<size_t>(std::clamp(sourceX, 0, colours.width - 1));
      coverage.values[at] = mask.values[from];
      std::copy_n(&colours.bgr[3 * from], 3, &person.bgr[3 * at]);
    }
  }
  Rectangle inArea = rectangle;
  inArea.left -= area.left;
  inArea.top -= area.top;
  return ResizeLanczos(Composite(person, coverage, background), inArea, document.width, document.height);
}

}  // namespace qx::photo
