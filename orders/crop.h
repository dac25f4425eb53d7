// Every face of a photograph, upright and framed.
#ifndef QX_ORDERS_CROP_H
#define QX_ORDERS_CROP_H

#include <cstddef>
#include <string>

#include "codec/codec.h"
#include "orders/order.h"

namespace qx::orders {

class CropOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;

  // Of the face of that number, from 1: "holiday_face1.png".
  std::string FileName(const std::string& stem, size_t number) const;

  photo::CropSettings settings;
  codec::ImageFormat format = codec::ImageFormat::kPng;

 private:
  Answer Work(Materials materials, photo::Studio& studio) const override;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_CROP_H
