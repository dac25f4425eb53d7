// Orders of a caller's options.
#ifndef QX_PYTHON_PARSED_H
#define QX_PYTHON_PARSED_H

#include <algorithm>
#include <memory>
#include <string>

#include "codec/codec.h"
#include "orders/order.h"

namespace qx::python {

// A settled order of a command whose class is known. Throws photo::Failure.
template <typename Kind>
std::shared_ptr<Kind> Parsed(const char* command, const orders::OptionPairs& options) {
  const codec::Limits most{codec::kHighestMaxPixels};
  std::shared_ptr<orders::Order> order = orders::ParseOrder(command, options, most);
  // As on the command line, the usual limit may be raised, by those who ask for it.
  const bool isLimited =
      std::any_of(options.begin(), options.end(), [](const auto& option) { return option.first == "max-megapixels"; });
  if (!isLimited) order->limits = codec::Limits();
  return std::static_pointer_cast<Kind>(order);
}

// Of pictures: JPEG or PNG. Throws photo::Failure (kBadOption) for TIFF.
codec::ImageFormat PictureFormat(codec::PrintFormat format);

// What a finished file's report calls it: the place is not known yet.
std::string OutputName(const std::string& photograph, codec::PrintFormat format);

}  // namespace qx::python

#endif  // QX_PYTHON_PARSED_H
