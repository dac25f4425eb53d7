// usage: read_under_limit FILE MEGABYTES [write]
// Reads the photograph and writes it again with that much more address space than the program has at its start,
// or, with the word, when it begins to write. Ends with 0 and the digest of both on standard output, with 1 when it
// says that memory is short, and with 2 otherwise.
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string_view>

#include "codec/codec.h"
#include "photo/base/failure.h"

namespace {

using qx::photo::Failure;
using qx::photo::FailureCode;

void LimitTo(uint64_t more) {
  uint64_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t most = pages * static_cast<uint64_t>(sysconf(_SC_PAGESIZE)) + more;
  const rlimit limit{most, most};
  setrlimit(RLIMIT_AS, &limit);
}

template <typename Bytes>
uint64_t Digest(const Bytes& bytes) {
  uint64_t digest = 1;
  for (const uint8_t byte : bytes) digest = digest * 1099511628211u + byte;
  return digest;
}

bool IsShortMemory(const Failure& failure) {
  return failure.Code() == FailureCode::kOutOfMemory &&
         std::string_view(failure.what()).substr(0, 17) == "not enough memory";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 3;
  alarm(30);  // nobody waits for a decoder that hangs
  const qx::codec::ImageLibrary images;
  try {
    const uint64_t more = std::strtoull(argv[2], nullptr, 10) << 20;
    if (argc == 3) LimitTo(more);
    qx::codec::FileSource source(argv[1]);
    const uint64_t overview = Digest(source.Overview(1'000'000).bgr);
    const qx::photo::Image whole = source.Whole();
    if (argc > 3) LimitTo(more);
    const uint64_t written = Digest(qx::codec::EncodeImage(whole, qx::codec::ImageFormat::kJpeg));
    std::printf("%016llx\n", static_cast<unsigned long long>(overview ^ Digest(whole.bgr) ^ written));
    return 0;
  } catch (const Failure& failure) {
    if (IsShortMemory(failure)) return 1;
    std::fprintf(stderr, "%s\n", failure.what());
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
  }
  return 2;
}
