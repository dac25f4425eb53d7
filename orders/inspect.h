// What the face engine finds in a photograph.
#ifndef QX_ORDERS_INSPECT_H
#define QX_ORDERS_INSPECT_H

#include <cstdint>
#include <string>
#include <vector>

#include "codec/codec.h"
#include "orders/order.h"
#include "photo/drawing/draw_faces.h"

namespace qx::orders {

class InspectOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;
  // --draw, as a flag, and --format of the drawing.
  void AddChoices(CLI::App& command) override;

  // JSON; `width` and `height`: the photograph's, in pixels.
  std::string Report(const std::string& photograph, int32_t width, int32_t height,
                     const std::vector<photo::ProbedFace>& faces) const;
  std::vector<uint8_t> Draw(const photo::Image& photograph, const std::vector<photo::ProbedFace>& faces) const;

  photo::PointSet points = photo::PointSet::kLandmarks;
  bool draw = false;
  codec::ImageFormat format = codec::ImageFormat::kPng;  // of the drawing

 private:
  // No face is an answer, too: an empty list.
  Answer Work(Materials materials, photo::Studio& studio) const override;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_INSPECT_H
