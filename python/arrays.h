// NumPy arrays <-> pictures.
#ifndef QX_PYTHON_ARRAYS_H
#define QX_PYTHON_ARRAYS_H

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <string>

#include "photo/base/image.h"
#include "photo/base/pixel_view.h"

namespace qx::python {

using photo::ChannelOrder;

// "rgb" or "bgr". Raises ValueError for all else.
ChannelOrder ParseChannelOrder(const std::string& name);

// The memory of an array of a caller's, kept alive and read where it lies. Made and destroyed under the interpreter's
// lock, read without it.
class ArrayView {
 public:
  // `channels`: 3 for height x width x 3, 1 for height x width. Raises TypeError for what is no plain array of uint8,
  // ValueError for another shape, gaps between rows and sizes that no picture has.
  ArrayView(pybind11::handle array, int channels);

  photo::PixelView View(ChannelOrder order) const { return {samples_, width_, height_, order}; }
  photo::Mask Mask() const;  // a copy

 private:
  pybind11::array array_;
  const uint8_t* samples_ = nullptr;
  int32_t width_ = 0, height_ = 0;
};

// New arrays, which own their memory.
pybind11::array_t<uint8_t> ToArray(const photo::Image& image, ChannelOrder order);
pybind11::array_t<uint8_t> ToArray(const photo::Mask& mask);

}  // namespace qx::python

#endif  // QX_PYTHON_ARRAYS_H
