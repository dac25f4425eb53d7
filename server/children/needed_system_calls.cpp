#include <fcntl.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <system_error>

#include "server/children/confinement.h"

namespace qx::server {
namespace {

// Whatever their arguments. Descriptors are those that are open already; the process cannot get others.
constexpr int kNeeded[] = {
    // The connection and the log.
    SCMP_SYS(read), SCMP_SYS(write), SCMP_SYS(writev), SCMP_SYS(poll), SCMP_SYS(ppoll), SCMP_SYS(close),
    // Memory.
    SCMP_SYS(brk), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise),
    // Threads of decoders.
    SCMP_SYS(futex), SCMP_SYS(set_robust_list), SCMP_SYS(rseq), SCMP_SYS(gettid), SCMP_SYS(getpid),
    SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity), SCMP_SYS(exit), SCMP_SYS(exit_group),
    // Time, chance, how much memory there is (asked by the C library where it sorts), and signals that end the process.
    SCMP_SYS(clock_gettime), SCMP_SYS(clock_nanosleep), SCMP_SYS(gettimeofday), SCMP_SYS(getrandom), SCMP_SYS(sysinfo),
    SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(restart_syscall)};

// The library's own macros are C's.
scmp_arg_cmp Where(unsigned argument, scmp_compare how, scmp_datum_t a, scmp_datum_t b = 0) {
  return {argument, how, a, b};
}

class Filter {
 public:
  explicit Filter(uint32_t otherwise) : context_(seccomp_init(otherwise), seccomp_release) {
    if (!context_) throw std::bad_alloc();
  }
  template <typename... Conditions>
  void Add(uint32_t action, int call, Conditions... conditions) {
    Check(seccomp_rule_add(context_.get(), action, call, sizeof...(conditions), conditions...));
  }
  void Load() { Check(seccomp_load(context_.get())); }

 private:
  static void Check(int result) {
    if (result != 0) throw std::system_error(-result, std::generic_category(), "the filter of system calls");
  }
  std::unique_ptr<void, void (*)(void*)> context_;
};

}  // namespace

void AllowOnlyNeededCalls() {
  constexpr unsigned kThread = 0x10000;  // CLONE_THREAD of <linux/sched.h>
  Filter filter(SCMP_ACT_KILL_PROCESS);
  for (const int call : kNeeded) filter.Add(SCMP_ACT_ALLOW, call);
  // Memory is for data: none of it becomes code.
  for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mprotect)})
    filter.Add(SCMP_ACT_ALLOW, call, Where(2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0));
  // Threads, not processes. The newer call hides what it makes behind a pointer; the C library does without it.
  filter.Add(SCMP_ACT_ALLOW, SCMP_SYS(clone), Where(0, SCMP_CMP_MASKED_EQ, kThread, kThread));
  filter.Add(SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3));
  filter.Add(SCMP_ACT_ALLOW, SCMP_SYS(prctl), Where(0, SCMP_CMP_EQ, PR_SET_NAME));
#if defined(__aarch64__)
  // There each thread's first use of libjpeg asks a file which processor this is, and does well without the answer.
  filter.Add(SCMP_ACT_ERRNO(EACCES), SCMP_SYS(openat), Where(2, SCMP_CMP_EQ, O_RDONLY));
#endif
  // abort() ends the process by its own signal.
  filter.Add(SCMP_ACT_ALLOW, SCMP_SYS(tgkill), Where(0, SCMP_CMP_EQ, static_cast<scmp_datum_t>(getpid())));
  filter.Load();
}

bool CanFilterCalls() {
  return true;
}

}  // namespace qx::server
