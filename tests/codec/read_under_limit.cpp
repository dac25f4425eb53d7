// usage: read_under_limit FILE MEGABYTES
// Reads the photograph with that much more address space than the program has at its start. Ends with 0 and the
// picture's digest on standard output, with 1 when memory is short, and with 2 for any other reason.
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>

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

uint64_t Digest(const qx::photo::Image& image) {
  uint64_t digest = 1;
  for (const uint8_t sample : image.bgr) digest = digest * 1099511628211u + sample;
  return digest;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 3;
  alarm(30);  // nobody waits for a decoder that hangs
  const qx::codec::ImageLibrary images;
  try {
    LimitTo(std::strtoull(argv[2], nullptr, 10) << 20);
    qx::codec::FileSource source(argv[1]);
    const uint64_t overview = Digest(source.Overview(1'000'000));
    std::printf("%016llx\n", static_cast<unsigned long long>(overview ^ Digest(source.Whole())));
    return 0;
  } catch (const Failure& failure) {
    if (failure.Code() == FailureCode::kOutOfMemory) return 1;
    std::fprintf(stderr, "%s\n", failure.what());
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
  }
  return 2;
}
