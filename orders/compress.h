// A picture brought to a size of file and a resolution.
#ifndef QX_ORDERS_COMPRESS_H
#define QX_ORDERS_COMPRESS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/codec.h"
#include "orders/order.h"

namespace qx::orders {

struct CompressedFile {
  codec::EncodedDocument file;
  int32_t width = 0, height = 0;  // pixels, those of the photograph
  int32_t dpi = 0;
  bool keepsPixels = false;          // all are to the bit what the photograph's file shows
  std::vector<std::string> remarks;  // what the user should know, one line each
};

// Pixels an inch as the file says, in whole numbers, or as documents have.
int32_t UsualDpi(const codec::FileSource& source);

class CompressOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;
  void AddChoices(CLI::App& command) override;
  void Settle() override;

  // Never scales. A JPEG that is within the limits keeps its compressed pixels. Throws Failure (kFileSize) when no
  // quality brings the file within the limits.
  CompressedFile Compress(codec::FileSource& source) const;
  std::string Report(const std::string& photograph, const std::string& output, const CompressedFile& file) const;

  std::optional<int32_t> minKb, maxKb;
  std::optional<int32_t> dpi;  // none: as the file says, else 300
  codec::ImageFormat format = codec::ImageFormat::kJpeg;

 private:
  Answer Work(Materials materials, photo::Studio& studio) const override;
  void Encode(codec::FileSource& source, CompressedFile* compressed) const;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_COMPRESS_H
