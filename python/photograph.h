// What a caller hands over as a photograph.
#ifndef QX_PYTHON_PHOTOGRAPH_H
#define QX_PYTHON_PHOTOGRAPH_H

#include <pybind11/pybind11.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "codec/codec.h"
#include "photo/base/image.h"
#include "photo/base/photo_source.h"
#include "photo/base/pixel_view.h"
#include "python/arrays.h"

namespace qx::python {

// The path of a file, a file's bytes or an array. Made and destroyed under the interpreter's lock; the rest may be
// called without it, and throws photo::Failure as codec::FileSource does.
class Photograph {
 public:
  // `object`: str for a path, bytes for a file, else an array whose samples lie as `order` says.
  Photograph(pybind11::handle object, ChannelOrder order);

  std::string Name() const { return path_.native(); }  // as it was given; empty where there is none
  bool IsArray() const { return array_.has_value(); }
  // Of a path or bytes.
  std::unique_ptr<codec::FileSource> File(const codec::Limits& limits) const;
  // Of all three. An array is upright and sRGB as it is; a source that reads it where it lies must not outlive this.
  std::unique_ptr<photo::PhotoSource> Source(const codec::Limits& limits) const;
  photo::Image Whole(const codec::Limits& limits) const;  // of an array a copy
  // What `work` makes of all pixels: of an array where they lie.
  template <typename Work>
  auto WithPixels(const codec::Limits& limits, Work work) const {
    if (array_) return work(array_->View(order_));
    const photo::Image whole = Whole(limits);
    return work(photo::PixelView(whole));
  }
  // The file's own bytes; of an array, those of a PNG that holds the same pixels.
  photo::Bytes FileBytes(const codec::Limits& limits) const;

 private:
  std::filesystem::path path_;
  pybind11::object kept_;  // what owns the bytes
  std::string_view bytes_;
  std::optional<ArrayView> array_;
  ChannelOrder order_;
};

// A mask of the persons, handed over in the same three ways; an array of height x width.
class MaskOfPersons {
 public:
  explicit MaskOfPersons(pybind11::handle object);

  // For a photograph of that size. Throws photo::Failure, whose text says that it is about the mask.
  photo::Mask For(photo::PhotoSource& source, const codec::Limits& limits) const;

 private:
  std::optional<Photograph> file_;
  std::optional<ArrayView> array_;
};

}  // namespace qx::python

#endif  // QX_PYTHON_PHOTOGRAPH_H
