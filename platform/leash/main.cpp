#include <signal.h>
#include <string.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

/// Becomes another program, which the kernel then ends (SIGTERM) when the process that started it ends, in whatever
/// way. Arguments: the process id of who starts it, the program, its arguments. It must be started by the main thread:
/// what is watched is that thread's end.
int main(int count, char** arguments) {
  if (count < 3) {
    std::fprintf(stderr, "usage: %s PARENT PROGRAM [ARGUMENT...]\n", arguments[0]);
    return 2;
  }
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  // It may have ended before it could be watched.
  if (getppid() != std::atoi(arguments[1])) return 1;
  execv(arguments[2], arguments + 2);
  std::fprintf(stderr, "Kestrelune could not start: %s\n", strerror(errno));
  return 127;
}
