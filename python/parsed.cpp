#include "python/parsed.h"

#include "photo/base/failure.h"

namespace qx::python {

codec::ImageFormat PictureFormat(codec::PrintFormat format) {
  if (format == codec::PrintFormat::kTiff) {
    throw photo::Failure(photo::FailureCode::kBadOption, "only sheets are written as TIFF; choose jpg or png",
                         {{"option", "format"}});
  }
  return format == codec::PrintFormat::kPng ? codec::ImageFormat::kPng : codec::ImageFormat::kJpeg;
}

std::string OutputName(const std::string& photograph, codec::PrintFormat format) {
  return orders::StemOf(photograph) + orders::EndingOf(format);
}

}  // namespace qx::python
