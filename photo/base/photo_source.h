// Where the pixels of a photograph come from, at the size at which they are needed.
//
// A finished document needs a small part of what a camera takes: the faces are found in an overview, and only the part
// that becomes the document is then asked for, at about one and a half times its finished size. A source that can
// decode at a reduced size, or one part alone, saves most of the time and memory.
#ifndef QX_PHOTO_BASE_PHOTO_SOURCE_H
#define QX_PHOTO_BASE_PHOTO_SOURCE_H

#include <cstdint>

#include "photo/base/geometry.h"
#include "photo/base/image.h"
#include "photo/base/pixel_view.h"

namespace qx::photo {

// A program may have sources of its own: the studio asks for the size, for one overview and then for parts, a further
// one when what it is told to make next needs more of the photograph.
// All places are pixels of the upright photograph at its full size. One thread at a time. The same calls give the same
// pictures, which belong to the caller. Every call throws Failure when the photograph cannot be read.
class PhotoSource {
 public:
  virtual ~PhotoSource();

  virtual int32_t Width() = 0;   // pixels, 1 or above
  virtual int32_t Height() = 0;  // pixels, 1 or above

  // The whole photograph at its size or reduced, by the same factor on both sides but for rounding, to no less than
  // `leastPixels` pixels, where it has so many.
  virtual Image Overview(int64_t leastPixels) = 0;

  // Takes back what Overview gave and the caller needs no more: parts may come from it where it is fine enough. A
  // source need not do anything with it.
  virtual void Keep(Image) {}

  // The box, which lies inside the photograph and is not empty, as width x height pixels, neither of them above the
  // box's own: reduced with a kernel that neither blurs nor aliases.
  virtual Image Part(const PixelBox& box, int32_t width, int32_t height) = 0;
};

// A photograph in memory that belongs to somebody else, upright, of at least one pixel: read where it lies, of all of
// it only the overview is made. Parts are resampled with a Lanczos kernel of three lobes.
class ViewSource : public PhotoSource {
 public:
  explicit ViewSource(const PixelView& view);  // whose memory outlives the source
  ~ViewSource() override;

  int32_t Width() override { return view_.width; }
  int32_t Height() override { return view_.height; }
  Image Overview(int64_t leastPixels) override;
  Image Part(const PixelBox& box, int32_t width, int32_t height) override;

 private:
  const PixelView view_;
};

// The same of a photograph that belongs to the source.
class ImageSource : public PhotoSource {
 public:
  explicit ImageSource(Image image);
  ~ImageSource() override;

  int32_t Width() override { return image_.width; }
  int32_t Height() override { return image_.height; }
  Image Overview(int64_t leastPixels) override;
  Image Part(const PixelBox& box, int32_t width, int32_t height) override;

 private:
  Image image_;
};

}  // namespace qx::photo

#endif  // QX_PHOTO_BASE_PHOTO_SOURCE_H
