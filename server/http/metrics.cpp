#include "server/http/metrics.h"

#include "server/http/exposition.h"

namespace qx::server {

void Metrics::Answered(std::string_view label, unsigned status, std::chrono::nanoseconds time, size_t received,
                       size_t sent) {
  ++answers_[{std::string(label), status}];
  times_.try_emplace(std::string(label), kLimits).first->second.Add(std::chrono::duration<double>(time).count());
  received_ += received;
  sent_ += sent;
}

std::string Metrics::Text(const Now& now) const {
  Exposition text;
  text.Head("idphoto_requests_total", "counter", "Requests answered, by path and status.");
  for (const auto& [key, count] : answers_) {
    const std::string labels = "path=\"" + key.first + "\",status=\"" + std::to_string(key.second) + "\"";
    text.Line("idphoto_requests_total", labels, count);
  }
  text.Head("idphoto_request_seconds", "histogram", "From the end of a request's head to its answer.");
  for (const auto& [label, times] : times_) {
    text.Lines("idphoto_request_seconds", "path=\"" + label + "\"", times);
  }
  text.Single("idphoto_connections_total", "counter", "Connections accepted.", accepted_);
  text.Single("idphoto_timeouts_total", "counter", "Connections cut for being too slow.", timedOut_);
  text.Single("idphoto_received_bytes_total", "counter", "Bytes of bodies received.", received_);
  text.Single("idphoto_sent_bytes_total", "counter", "Bytes of bodies sent.", sent_);
  text.Single("idphoto_connections", "gauge", "Connections that are open.", now.connections);
  text.Single("idphoto_waiting", "gauge", "Requests that wait for a slot.", now.waiting);
  text.Single("idphoto_slots", "gauge", "Photographs that may be in memory at once.", now.slots);
  text.Single("idphoto_slots_free", "gauge", "Slots that are free.", now.freeSlots);
  text.Single("idphoto_draining", "gauge", "1 while the server finishes what runs and takes nothing new.",
              now.draining ? 1 : 0);
  return text.Text();
}

}  // namespace qx::server
