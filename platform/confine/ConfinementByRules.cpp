#include <cstring>

#include "confine/Parts.hpp"

namespace kestrelune {

// A unit of its own, so that who doesn't make filters doesn't load what does.
std::string confine(const Confinement& wanted) {
  const Confinement confinement = withSanitizers(wanted);
  const std::string open = closeIn(confinement);
  if (!open.empty()) return open;
  const int error = calls::load(confinement.calls);
  return error == 0 ? "" : std::string("system calls: ") + std::strerror(error);
}

}  // namespace kestrelune
