// The pixels of a finished document.
#ifndef QX_PHOTO_RENDER_RENDER_H
#define QX_PHOTO_RENDER_RENDER_H

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/document/presets.h"
#include "photo/render/background.h"

namespace qx::photo {

// A picture of a part of the photograph, and where it lies.
struct PhotographPart {
  Image picture;
  PixelBox box;                   // in pixels of the photograph; the picture shows all of it
  int32_t width = 0, height = 0;  // of the photograph

  double ScaleX() const { return static_cast<double>(picture.width) / box.Width(); }
  double ScaleY() const { return static_cast<double>(picture.height) / box.Height(); }
};

// Lays the person (the part's picture without the old background's share in its colours, and the mask of the same size)
// over the background and brings the rectangle, which lies in the turned photograph, to the document's pixels: turned
// and scaled in one resampling, a Lanczos kernel of three lobes along the rows and then along the columns (E. Catmull,
// A. R. Smith, "3-D Transformations of Images in Scanline Order", 1980), so for turns far from a right angle.
// Beside and above the photograph there is background; below it, at sides where the rectangle stays inside, and where
// the part ends, the border pixels serve the kernel. With a kept background the mask is not looked at, and what lies
// outside of the photograph takes its border pixels. A transparent one fills `alpha`, which is not looked at otherwise:
// the document's pixels are then the person's own colours, not multiplied by it; see ExtendColours for those of none.
// `own`, for a background of colours: takes these too, and `alpha` is filled as well; the picture stays the same.
Image RenderPhoto(const PhotographPart& part, const Mask& mask, const Background& background, const Turn& turn,
                  const Rectangle& rectangle, const Document& document, Mask* alpha = nullptr, Image* own = nullptr);

// Pixels of the part that the kernel reaches on each side of what it is asked for, at this many of them for one pixel
// of the document.
int32_t RenderReach(double scale);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_RENDER_H
