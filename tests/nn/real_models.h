// The networks in use, read from the installed packages.
#ifndef QX_TESTS_NN_REAL_MODELS_H
#define QX_TESTS_NN_REAL_MODELS_H

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace qx::nn {

inline std::vector<uint8_t> ReadBytes(const std::string& path, size_t limit = SIZE_MAX) {
  std::ifstream file(path, std::ios::binary);
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (bytes.size() > limit) bytes.resize(limit);
  return bytes;
}

inline std::vector<uint8_t> FullRangeBytes() {
  return ReadBytes(QX_MODEL_FACE_FULL_RANGE);
}
inline std::vector<uint8_t> ShortRangeBytes() {
  return ReadBytes(QX_MODEL_FACE_SHORT_RANGE);
}
inline std::vector<uint8_t> PersonMaskBytes() {
  return ReadBytes(QX_MODEL_PERSON_MASK);
}
inline std::vector<uint8_t> LandmarkBytes() {  // the first entry of the pack
  return ReadBytes(QX_MODEL_FACE_LANDMARKS_FILE, QX_MODEL_FACE_LANDMARKS_BYTES);
}

}  // namespace qx::nn

#endif  // QX_TESTS_NN_REAL_MODELS_H
