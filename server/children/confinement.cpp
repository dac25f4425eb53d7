#include "server/children/confinement.h"

#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <system_error>

#include "server/children/process.h"

namespace qx::server {
namespace {

void Check(int result, const char* what) {
  if (result != 0) throw std::system_error(errno, std::generic_category(), what);
}

void Limit(__rlimit_resource resource, rlim_t most) {
  const rlimit limit{most, most};
  Check(setrlimit(resource, &limit), "a limit");
}

}  // namespace

void CutLoose() {
  std::signal(SIGPIPE, SIG_IGN);
  // One heap for all threads: each further one takes 64 MB of addresses, and asks a file about the system's ways before
  // it shrinks.
  mallopt(M_ARENA_MAX, 1);
  // What one step gives back the next one takes; a child that rests returns it to the system.
  constexpr int kMost = 256 << 20;
  mallopt(M_MMAP_THRESHOLD, kMost);
  mallopt(M_TRIM_THRESHOLD, kMost);
  tzset();  // colour profiles are stamped with the local time, whose rules lie in a file
  Check(prctl(PR_SET_PDEATHSIG, SIGKILL), "the end with the server");
  Check(close_range(kChildSocket + 1, ~0U, 0), "inherited descriptors");
}

// No limit of processes: the system counts those of the user, others' included. The filter lets threads be made alone.
void Confine(const ChildLimits& limits) {
  Limit(RLIMIT_CORE, 0);  // a photograph must not end up in a file
  Limit(RLIMIT_FSIZE, 0);
  Limit(RLIMIT_NOFILE, 16);
  Check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "no new privileges");
#ifdef QX_CHILDREN_UNCONFINED
  static_cast<void>(limits);
#else
  Check(prctl(PR_SET_DUMPABLE, 0), "not to be looked into");
  Limit(RLIMIT_AS, limits.addressBytes);
  AllowOnlyNeededCalls();
#endif
}

}  // namespace qx::server
