// The faces of a photograph retouched, all else as it is.
#ifndef QX_ORDERS_RETOUCH_H
#define QX_ORDERS_RETOUCH_H

#include <cstdint>
#include <optional>
#include <vector>

#include "codec/codec.h"
#include "orders/options/retouch_options.h"
#include "orders/order.h"

namespace qx::orders {

struct RetouchedFile {
  std::vector<uint8_t> bytes, comparison;  // files of one format; no comparison when not asked for
};

class RetouchOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;
  void AddChoices(CLI::App& command) override;

  photo::Retouch Wanted() const;  // --beauty natural where nothing is asked for
  RetouchedFile Finish(const photo::RetouchedPhoto& retouched) const;

  RetouchOptions retouch;
  std::optional<int> person;  // none: all
  bool compare = false;
  codec::ImageFormat format = codec::ImageFormat::kJpeg;

 private:
  Answer Work(Materials materials, photo::Studio& studio) const override;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_RETOUCH_H
