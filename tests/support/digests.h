// Results as readable lines.
#ifndef QX_TESTS_SUPPORT_DIGESTS_H
#define QX_TESTS_SUPPORT_DIGESTS_H

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <sstream>
#include <string>

namespace qx::test {

// One line a result: its name, its size in bytes, and FNV-1a of 64 bits over them; or its name and a few numbers.
class Digests {
 public:
  template <typename Samples>
  void Add(const std::string& name, const Samples& bytes) {
    uint64_t digest = 14695981039346656037u;
    for (const uint8_t b : bytes) digest = (digest ^ b) * 1099511628211u;
    char line[160];
    std::snprintf(line, sizeof line, "%-44s %8zu %016llx\n", name.c_str(), bytes.size(),
                  static_cast<unsigned long long>(digest));
    lines_ += line;
  }
  void Add(const std::string& name, std::initializer_list<int32_t> numbers) {
    std::string line = name;
    line.resize(44, ' ');
    for (const int32_t v : numbers) line += " " + std::to_string(v);
    lines_ += line + "\n";
  }
  const std::string& Lines() const { return lines_; }

 private:
  std::string lines_;
};

// The lines of one text that the other has not.
inline std::string Missing(const std::string& from, const std::string& in, const char* mark) {
  std::istringstream lines(from);
  std::string missing;
  for (std::string line; std::getline(lines, line);) {
    if (("\n" + in).find("\n" + line + "\n") == std::string::npos) missing += mark + line + "\n";
  }
  return missing;
}

}  // namespace qx::test

#endif  // QX_TESTS_SUPPORT_DIGESTS_H
