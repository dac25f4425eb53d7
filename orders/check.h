// A finished photograph measured against its document.
#ifndef QX_ORDERS_CHECK_H
#define QX_ORDERS_CHECK_H

#include "codec/codec.h"
#include "orders/options/document_options.h"
#include "orders/order.h"
#include "photo/check/check.h"

namespace qx::orders {

class CheckOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;
  // --draw, as a flag: the photograph with its measures, a PNG.
  void AddChoices(CLI::App& command) override;
  void Settle() override;

  const photo::Preset& Preset() const { return preset_; }  // once settled
  // `photograph`: the whole of that source.
  photo::PhotoCheck Look(const photo::Image& photograph, codec::FileSource& source, photo::Studio& studio) const;

  DocumentOptions document;  // those of AddMeasureOptions
  bool child = false, draw = false;

 private:
  Answer Work(Materials materials, photo::Studio& studio) const override;

  photo::Preset preset_;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_CHECK_H
