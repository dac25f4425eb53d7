// What a message of the wire says of itself.
#ifndef QX_QUEUE_AMQP_PROPERTIES_H
#define QX_QUEUE_AMQP_PROPERTIES_H

#include <amqp.h>

#include <cstddef>

namespace qx::queue {

struct Delivery;

inline constexpr size_t kMostNameBytes = 255;
// Tries that a message brings along that was sent anew.
inline constexpr char kTriesHeader[] = "x-idphoto-tries";

// Of hostile properties: id, tries and deathReason.
void ReadProperties(const amqp_basic_properties_t& properties, Delivery* delivery);

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_PROPERTIES_H
