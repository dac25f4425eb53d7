// A text that repeats over a picture, so that it serves nobody as it is.
#ifndef QX_ORDERS_WATERMARK_H
#define QX_ORDERS_WATERMARK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/codec.h"
#include "orders/order.h"
#include "photo/drawing/watermark.h"

namespace qx::orders {

struct WatermarkedFile {
  codec::EncodedDocument file;
  int32_t width = 0, height = 0;  // pixels, those of the picture
  int32_t dpi = 0;
  std::vector<std::string> remarks;  // what the user should know, one line each
};

class WatermarkOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;
  void AddChoices(CLI::App& command) override;
  void Settle() override;

  // A PNG stays as transparent as it was. Throws Failure (kFileSize) when no quality brings the file within the limit.
  WatermarkedFile Mark(codec::FileSource& source) const;
  std::string Report(const std::string& photograph, const std::string& output, const WatermarkedFile& file) const;

  photo::Watermark watermark;
  std::optional<int32_t> maxKb;
  std::optional<int32_t> dpi;  // none: as the file says, else 300
  codec::ImageFormat format = codec::ImageFormat::kJpeg;

 private:
  Answer Work(Materials materials, photo::Studio& studio) const override;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_WATERMARK_H
