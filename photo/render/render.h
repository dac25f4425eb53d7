// The pixels of a finished document.
#ifndef QX_PHOTO_RENDER_RENDER_H
#define QX_PHOTO_RENDER_RENDER_H

#include "photo/base/image.h"
#include "photo/document/presets.h"
#include "photo/place/person_geometry.h"
#include "photo/render/background.h"

namespace qx::photo {

// Lays the person (colours without the old background's share, and the mask, both of the photograph's size) over the
// background and brings the rectangle to the document's pixels in one step. Beside and above the photograph there is
// background; below it and at sides where the rectangle stays inside, the photograph's border pixels serve the kernel.
// With a kept background the colours are taken as they are and the rectangle lies inside the photograph.
Image RenderPhoto(const Image& colours, const Mask& mask, const Background& background, const Rectangle& rectangle,
                  const Document& document);

}  // namespace qx::photo

#endif  // QX_PHOTO_RENDER_RENDER_H
