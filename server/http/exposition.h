// Counts in the text format of Prometheus (version 0.0.4), for whatever answers /metrics.
#ifndef QX_SERVER_HTTP_EXPOSITION_H
#define QX_SERVER_HTTP_EXPOSITION_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>

namespace qx::server {

// How long things took. One thread.
class Histogram {
 public:
  // Upper bounds of the first classes, in seconds, ascending and inclusive; one more holds the rest.
  using Limits = std::array<double, 9>;

  explicit Histogram(const Limits& limits) : limits_(&limits) {}
  // `limits` is kept, not copied.
  explicit Histogram(Limits&& limits) = delete;

  void Add(double seconds);

 private:
  friend class Exposition;

  const Limits* limits_;
  std::array<uint64_t, std::tuple_size_v<Limits> + 1> counts_{};
  double sum_ = 0;
};

class Exposition {
 public:
  // Once for a name, before its lines. Type: "counter", "gauge" or "histogram".
  void Head(const char* name, const char* type, const char* help);
  // Labels: name="value" with commas between them, or empty.
  void Line(const std::string& name, const std::string& labels, uint64_t value) {
    Line(name, labels, std::to_string(value));
  }
  void Lines(const std::string& name, const std::string& labels, const Histogram& times);
  // A name that has one line.
  void Single(const char* name, const char* type, const char* help, uint64_t value);

  const std::string& Text() const { return text_; }

 private:
  void Line(const std::string& name, const std::string& labels, const std::string& value);

  std::string text_;
};

}  // namespace qx::server

#endif  // QX_SERVER_HTTP_EXPOSITION_H
