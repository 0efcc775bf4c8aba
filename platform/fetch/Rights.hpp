#pragma once

#include <cstdint>
#include <string>

#include "base/Task.hpp"
#include "confine/Confinement.hpp"

namespace kestrelune::fetch {

/// What is left to a process that has opened the file it writes, and fetches an address: the system's certificates and
/// what a name is looked up by to read, the address's port or its proxy's to connect to, and that port only. Neither a
/// file to write, nor a socket of this machine, nor a process. `limit`: bytes that it may write.
Confinement rights(const std::string& address, std::int64_t limit, const Environment& environment);

}  // namespace kestrelune::fetch
