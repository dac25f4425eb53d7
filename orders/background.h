// Another background for a whole photograph, at its own size.
#ifndef QX_ORDERS_BACKGROUND_H
#define QX_ORDERS_BACKGROUND_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/codec.h"
#include "orders/order.h"
#include "photo/render/background.h"

namespace qx::orders {

struct BackgroundFile {
  std::vector<uint8_t> bytes;
  int32_t width = 0, height = 0;     // pixels
  bool wasTransparent = false;       // the picture was cut out already
  std::vector<std::string> remarks;  // what the user should know, one line each
};

class BackgroundOrder final : public Order {
 public:
  void AddOptions(CLI::App& command) override;
  void AddChoices(CLI::App& command) override;
  void Settle() override;

  const photo::Background& Wanted() const { return wanted_; }  // once settled

  // Behind what is opaque of a picture that is transparent somewhere; of all others, behind the persons that the studio
  // finds. The file has the photograph's resolution where that is told and no other asked for. Throws
  // Failure as Studio::CutOut does, and kFileSize.
  BackgroundFile Change(codec::FileSource& source, photo::Studio& studio) const;
  std::string Report(const std::string& photograph, const std::string& output, const BackgroundFile& file) const;

  std::optional<std::string> background;
  std::optional<int> person;
  bool pair = false, keepRim = false;
  std::optional<int32_t> maxKb;
  std::optional<int32_t> dpi;                // none: as the file says
  std::optional<codec::ImageFormat> format;  // none: .jpg, or .png for what is transparent

 private:
  Answer Work(Materials materials, photo::Studio& studio) const override;
  codec::ImageFormat Format() const;

  photo::Background wanted_;
  photo::CutOutRequest request_;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_BACKGROUND_H
