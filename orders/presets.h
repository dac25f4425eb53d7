// The documents that photographs can be made for.
#ifndef QX_ORDERS_PRESETS_H
#define QX_ORDERS_PRESETS_H

#include <string>
#include <vector>

#include "orders/order.h"
#include "photo/document/presets.h"

namespace qx::orders {

// A JSON object, or an array of them. Without an end of line.
std::string PresetJson(const photo::Preset& preset);
std::string PresetsJson(const std::vector<const photo::Preset*>& presets);

// Needs no photograph. The report is the JSON of one document or of a list.
class PresetsOrder final : public Order {
 public:
  // --search and --country.
  void AddOptions(CLI::App& command) override;
  // --name, in place of the command line's argument.
  void AddChoices(CLI::App& command) override;
  void Settle() override;

  // Those that search and country leave. Throws Failure as SearchPresets does.
  std::vector<const photo::Preset*> Found() const;

  std::string name;             // empty: all that the next two leave
  std::string search, country;  // empty: any

 private:
  Answer Work(Materials materials, photo::Studio& studio) const override;
};

}  // namespace qx::orders

#endif  // QX_ORDERS_PRESETS_H
