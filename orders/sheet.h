// Finished photographs on a sheet of photo paper, at their true size.
#ifndef QX_ORDERS_SHEET_H
#define QX_ORDERS_SHEET_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/codec.h"
#include "orders/order.h"
#include "photo/sheet/sheet.h"

namespace qx::orders {

struct SheetFile {
  photo::SheetSpec spec;
  photo::SheetLayout layout;
  std::vector<photo::Image> pictures;  // of each photograph, at the sheet's resolution
  std::vector<uint8_t> bytes;
};

class SheetOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;
  void AddChoices(CLI::App& command) override;
  void Settle() override;

  // The print size of photographs that do not tell theirs; once settled.
  const std::optional<photo::Size>& PrintSize() const { return printSize_; }

  // One photograph as it goes onto the sheet; `name` printable. Throws Failure: as FileSource does, and kBadOption when
  // nothing tells its print size or it has another shape.
  photo::SheetPhotograph Take(codec::FileSource& source, const std::string& name) const;
  // Throws Failure when they do not fit.
  SheetFile Draw(const std::vector<photo::SheetPhotograph>& photographs) const;

  std::string paper = "4x6";
  std::string margin = "3mm", gap = "2mm";
  std::string size;  // empty: as the files say
  std::optional<int32_t> dpi;
  std::optional<int> copies;
  codec::PrintFormat format = codec::PrintFormat::kJpeg;

 private:
  Answer Work(Materials materials, photo::Studio& studio) const override;
  std::vector<photo::SheetPhotograph> TakeAll(Materials* materials) const;

  photo::SheetSpec spec_;
  std::optional<photo::Size> printSize_;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_SHEET_H
