// The person taken out of a photograph.
#ifndef QX_ORDERS_MASK_H
#define QX_ORDERS_MASK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orders/order.h"

namespace qx::orders {

class MaskOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;
  // --cutout, as a flag: the person alone instead of the mask; --both: the mask and the cut-out.
  void AddChoices(CLI::App& command) override;
  void Settle() override;

  // Once settled. Its colours are asked for only where the cut-out is wanted.
  const photo::CutOutRequest& Request() const { return request_; }

  // JSON; `outputs`: names of the files.
  std::string Report(const std::string& photograph, const std::vector<std::string>& outputs,
                     const photo::CutOut& cutOut) const;
  // A PNG file.
  std::vector<uint8_t> EncodeCutOut(const photo::CutOut& cutOut) const;

  std::optional<int> person;
  std::optional<int32_t> dpi;  // of the cut-out's file; none: it says none
  bool pair = false, keepRim = false;
  bool wantsCutOut = false, wantsBoth = false;

 private:
  Answer Work(Materials materials, photo::Studio& studio) const override;

  photo::CutOutRequest request_;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_MASK_H
