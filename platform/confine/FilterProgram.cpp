#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cerrno>

#include "confine/SystemCalls.hpp"

namespace kestrelune::calls {

int load(Program program) {
  const sock_fprog taken = {static_cast<unsigned short>(program.size()), const_cast<sock_filter*>(program.data())};
  if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &taken) == 0) return 0;
  return errno == EINVAL || errno == ENOSYS ? 0 : errno;
}

}  // namespace kestrelune::calls
