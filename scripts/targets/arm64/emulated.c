/*
 * To be preloaded where the program runs under user-mode emulation, which lacks what the processes for strangers'
 * photographs need: it starts no other program of the emulated processor, it takes no filters of system calls, and it
 * is slow. EMULATOR: the command that emulates, which reads the folder with the libraries from QEMU_LD_PREFIX.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <limits.h>
#include <seccomp.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

/* Filters are put together as for a system that takes them, and then not handed over but written out. */
__attribute__((constructor)) static void ExpectFilters(void) {
  seccomp_api_set(3);
}

static int isConfined = 0;

int seccomp_load(const scmp_filter_ctx filter) {
  seccomp_export_pfc(filter, STDERR_FILENO);
  fputs("confined\n", stderr);
  isConfined = 1;
  return 0;
}

/* From then on files are refused, as a filter does that does not end the process for the try. */
FILE* fopen(const char* name, const char* mode) {
  FILE* (*open)(const char*, const char*);
  *(void**)&open = dlsym(RTLD_NEXT, "fopen");
  if (!isConfined) return open(name, mode);
  fprintf(stderr, "openat(\"%s\") refused\n", name);
  errno = EACCES;
  return NULL;
}

/* The program's own way of starting itself again, with one argument. The process tells all calls that it makes. */
int posix_spawn(pid_t* id, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]) {
  int (*start)(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*, char* const[],
               char* const[]);
  *(void**)&start = dlsym(RTLD_NEXT, "posix_spawn");
  char program[PATH_MAX], preload[PATH_MAX + 16];
  if (!realpath(path, program)) return ENOENT;
  snprintf(preload, sizeof preload, "LD_PRELOAD=%s", getenv("LD_PRELOAD"));
  char* const emulated[] = {EMULATOR, "-strace",    "-L", getenv("QEMU_LD_PREFIX"), "-E", preload,
                            program,  arguments[1], NULL};
  return start(id, EMULATOR, actions, attributes, emulated, environment);
}

/* A server gives a photograph twenty seconds: with SLOWNESS in its environment, so many times longer ones. */
int clock_gettime(clockid_t clock, struct timespec* time) {
  const char* slowness = getenv("SLOWNESS");
  const int status = (int)syscall(SYS_clock_gettime, clock, time);
  if (status == 0 && clock == CLOCK_MONOTONIC && slowness) {
    const long long billion = 1000000000, slow = (time->tv_sec * billion + time->tv_nsec) / atoi(slowness);
    *time = (struct timespec){slow / billion, slow % billion};
  }
  return status;
}

/* Nor does it hear how long a process has computed, for which it would end it too. */
int clock_getcpuclockid(pid_t id, clockid_t* clock) {
  (void)id, (void)clock;
  return ENOSYS;
}
