#include "server/http/metrics.h"

#include <algorithm>
#include <cstdio>

namespace qx::server {
namespace {

std::string Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

void AddHead(std::string* text, const char* name, const char* type, const char* help) {
  *text += std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
}

void AddPlain(std::string* text, const char* name, const char* type, const char* help, uint64_t value) {
  AddHead(text, name, type, help);
  *text += std::string(name) + " " + std::to_string(value) + "\n";
}

}  // namespace

void Metrics::Answered(std::string_view label, unsigned status, std::chrono::nanoseconds time, size_t received,
                       size_t sent) {
  ++answers_[{std::string(label), status}];
  Times& times = times_[std::string(label)];
  const double seconds = std::chrono::duration<double>(time).count();
  const auto place = std::lower_bound(kSeconds.begin(), kSeconds.end(), seconds) - kSeconds.begin();
  ++times.counts[static_cast<size_t>(place)];
  times.sum += seconds;
  received_ += received;
  sent_ += sent;
}

std::string Metrics::Text(const Now& now) const {
  std::string text;
  AddHead(&text, "idphoto_requests_total", "counter", "Requests answered, by path and status.");
  for (const auto& [key, count] : answers_) {
    text += "idphoto_requests_total{path=\"" + key.first + "\",status=\"" + std::to_string(key.second) + "\"} " +
            std::to_string(count) + "\n";
  }
  AddHead(&text, "idphoto_request_seconds", "histogram", "From the end of a request's head to its answer.");
  for (const auto& [label, times] : times_) {
    const std::string path = "path=\"" + label + "\"";
    uint64_t count = 0;
    for (size_t i = 0; i < times.counts.size(); ++i) {
      count += times.counts[i];
      const std::string bound = i < kSeconds.size() ? Number(kSeconds[i]) : "+Inf";
      text += "idphoto_request_seconds_bucket{" + path + ",le=\"" + bound + "\"} " + std::to_string(count) + "\n";
    }
    text += "idphoto_request_seconds_sum{" + path + "} " + Number(times.sum) + "\n";
    text += "idphoto_request_seconds_count{" + path + "} " + std::to_string(count) + "\n";
  }
  AddPlain(&text, "idphoto_connections_total", "counter", "Connections accepted.", accepted_);
  AddPlain(&text, "idphoto_timeouts_total", "counter", "Connections cut for being too slow.", timedOut_);
  AddPlain(&text, "idphoto_received_bytes_total", "counter", "Bytes of bodies received.", received_);
  AddPlain(&text, "idphoto_sent_bytes_total", "counter", "Bytes of bodies sent.", sent_);
  AddPlain(&text, "idphoto_connections", "gauge", "Connections that are open.", now.connections);
  AddPlain(&text, "idphoto_waiting", "gauge", "Requests that wait for a slot.", now.waiting);
  AddPlain(&text, "idphoto_slots", "gauge", "Photographs that may be in memory at once.", now.slots);
  AddPlain(&text, "idphoto_slots_free", "gauge", "Slots that are free.", now.freeSlots);
  AddPlain(&text, "idphoto_draining", "gauge", "1 while the server finishes what runs and takes nothing new.",
           now.draining ? 1 : 0);
  return text;
}

}  // namespace qx::server
