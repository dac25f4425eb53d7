#include "queue/amqp/properties.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "queue/amqp/link.h"

namespace qx::queue {
namespace {

constexpr int64_t kMostTold = 1'000'000;

std::string_view TextOf(amqp_bytes_t bytes) {
  return std::string_view(static_cast<const char*>(bytes.bytes), std::min(bytes.len, kMostNameBytes));
}

// Servers choose the width of a number by its size.
std::optional<int64_t> NumberOf(const amqp_field_value_t& value) {
  switch (value.kind) {
    case AMQP_FIELD_KIND_I8: return value.value.i8;
    case AMQP_FIELD_KIND_U8: return value.value.u8;
    case AMQP_FIELD_KIND_I16: return value.value.i16;
    case AMQP_FIELD_KIND_U16: return value.value.u16;
    case AMQP_FIELD_KIND_I32: return value.value.i32;
    case AMQP_FIELD_KIND_U32: return value.value.u32;
    case AMQP_FIELD_KIND_I64: return value.value.i64;
    case AMQP_FIELD_KIND_U64: return static_cast<int64_t>(std::min<uint64_t>(value.value.u64, kMostTold));
    default: return std::nullopt;
  }
}

}  // namespace

void ReadProperties(const amqp_basic_properties_t& properties, Delivery* delivery) {
  if (properties._flags & AMQP_BASIC_MESSAGE_ID_FLAG) delivery->id = TextOf(properties.message_id);
  if (!(properties._flags & AMQP_BASIC_HEADERS_FLAG)) return;
  // One that comes again was begun before even where nobody counts.
  int64_t carried = 0, counted = delivery->tries;
  for (int i = 0; i < properties.headers.num_entries; ++i) {
    const amqp_table_entry_t& header = properties.headers.entries[i];
    const std::string_view name = TextOf(header.key);
    const int64_t number = std::clamp<int64_t>(NumberOf(header.value).value_or(0), 0, kMostTold);
    if (name == kTriesHeader) carried = number;
    if (name == "x-delivery-count") counted = std::max(counted, number);
    if (name == "x-first-death-reason" && header.value.kind == AMQP_FIELD_KIND_UTF8) {
      delivery->deathReason = TextOf(header.value.value.bytes);
    }
  }
  delivery->tries = static_cast<int>(std::min(carried + counted, kMostTold));
}

}  // namespace qx::queue
