#include "python/arrays.h"

#include <algorithm>

#include "codec/codec.h"

namespace qx::python {
namespace py = pybind11;
namespace {

std::string ShapeOf(const py::array& array) {
  return py::str(array.attr("shape")).cast<std::string>();
}

void CheckKind(py::handle object) {
  if (!py::isinstance<py::array>(object)) {
    throw py::type_error("a picture is a NumPy array, not " +
                         py::str(py::type::handle_of(object).attr("__name__")).cast<std::string>());
  }
  if (py::hasattr(object, "mask")) {
    throw py::type_error("a masked array is no picture, its mask would be lost; hand over array.filled(...)");
  }
  const auto dtype = py::reinterpret_borrow<py::array>(object).dtype();
  if (!dtype.is(py::dtype::of<uint8_t>()) && !dtype.equal(py::dtype::of<uint8_t>())) {
    throw py::type_error("a picture holds uint8 from 0 to 255, not " + dtype.attr("name").cast<std::string>() +
                         "; convert it first");
  }
}

void CheckShape(const py::array& array, int channels) {
  const bool isMask = channels == 1;
  if (array.ndim() != (isMask ? 2 : 3) || (!isMask && array.shape(2) != channels)) {
    throw py::value_error(std::string("the shape is to be ") + (isMask ? "(height, width)" : "(height, width, 3)") +
                          ", not " + ShapeOf(array));
  }
  constexpr py::ssize_t kMost = codec::kHighestMaxPixels;
  const py::ssize_t height = array.shape(0), width = array.shape(1);
  if (height < 1 || width < 1) throw py::value_error("the array is empty: " + ShapeOf(array));
  if (height > kMost || width > kMost / height) throw py::value_error("the array is too large: " + ShapeOf(array));
  if ((array.flags() & py::array::c_style) == 0) {
    throw py::value_error("the array has gaps or lies in another order; hand over numpy.ascontiguousarray(array)");
  }
}

}  // namespace

ChannelOrder ParseChannelOrder(const std::string& name) {
  if (name == "rgb") return ChannelOrder::kRgb;
  if (name == "bgr") return ChannelOrder::kBgr;
  throw py::value_error("order is \"rgb\" or \"bgr\"");
}

ArrayView::ArrayView(py::handle object, int channels) {
  CheckKind(object);
  array_ = py::reinterpret_borrow<py::array>(object);
  CheckShape(array_, channels);
  height_ = static_cast<int32_t>(array_.shape(0));
  width_ = static_cast<int32_t>(array_.shape(1));
  samples_ = static_cast<const uint8_t*>(array_.data());
}

photo::Mask ArrayView::Mask() const {
  photo::Mask mask(width_, height_);
  std::copy_n(samples_, mask.values.size(), mask.values.data());
  return mask;
}

py::array_t<uint8_t> ToArray(const photo::Image& image, ChannelOrder order) {
  py::array_t<uint8_t> array({py::ssize_t{image.height}, py::ssize_t{image.width}, py::ssize_t{3}});
  if (order == ChannelOrder::kRgb) {
    photo::SwapChannels(image.bgr.data(), array.mutable_data(), image.Pixels());
  } else {
    std::copy_n(image.bgr.data(), image.bgr.size(), array.mutable_data());
  }
  return array;
}

py::array_t<uint8_t> ToArray(const photo::Mask& mask) {
  py::array_t<uint8_t> array({py::ssize_t{mask.height}, py::ssize_t{mask.width}});
  std::copy_n(mask.values.data(), mask.values.size(), array.mutable_data());
  return array;
}

}  // namespace qx::python
