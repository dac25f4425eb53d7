#include "server/http/exposition.h"

#include <algorithm>
#include <cstdio>

namespace qx::server {
namespace {

std::string Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

}  // namespace

void Histogram::Add(double seconds) {
  ++counts_[static_cast<size_t>(std::lower_bound(limits_->begin(), limits_->end(), seconds) - limits_->begin())];
  sum_ += seconds;
}

void Exposition::Head(const char* name, const char* type, const char* help) {
  text_ += std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
}

void Exposition::Line(const std::string& name, const std::string& labels, const std::string& value) {
  text_ += name + (labels.empty() ? "" : "{" + labels + "}") + " " + value + "\n";
}

void Exposition::Lines(const std::string& name, const std::string& labels, const Histogram& times) {
  const std::string before = labels.empty() ? "" : labels + ",";
  uint64_t count = 0;
  for (size_t i = 0; i < times.counts_.size(); ++i) {
    count += times.counts_[i];  // each class holds those below it
    const std::string limit = i < times.limits_->size() ? Number((*times.limits_)[i]) : "+Inf";
    Line(name + "_bucket", before + "le=\"" + limit + "\"", count);
  }
  Line(name + "_sum", labels, Number(times.sum_));
  Line(name + "_count", labels, count);
}

void Exposition::Single(const char* name, const char* type, const char* help, uint64_t value) {
  Head(name, type, help);
  Line(name, "", value);
}

}  // namespace qx::server
