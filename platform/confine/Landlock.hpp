#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The kernel's own fences around files, TCP and other processes, by its system calls: the C library knows none of
/// them, and the headers of an older system lack what a newer kernel can do.
namespace kestrelune::landlock {

/// What stays open. Everything else is closed as far as the kernel knows it.
struct Openings {
  std::vector<std::string> read;     ///< files, and folders with what is below
  std::vector<std::string> write;    ///< likewise: read, made, changed and removed, but neither linked nor moved about
  std::vector<std::string> devices;  ///< likewise: read, written and ordered about
  std::vector<std::uint16_t> ports;  ///< to which TCP connections may be made
  bool nameless = false;             ///< sockets of this machine that lie in no folder, such as those of older buses
};

/// The version of the interface that this kernel has; 0: none, or it isn't to be had here.
int version();

/// Closes everything else, for this thread and whatever it starts, for ever. What an opening names and isn't there is
/// left out. An error number, or 0; also 0 where the kernel has nothing of it. Needs `PR_SET_NO_NEW_PRIVS`.
int close(const Openings& openings);

}  // namespace kestrelune::landlock
