#pragma once

#include <string>

#include "confine/Confinement.hpp"
#include "unpack/Unpack.hpp"

namespace kestrelune::unpack {

/// What is left to a process that unpacks an archive into a folder: to read the one and fill the other. No socket and
/// no other process.
Confinement rights(const std::string& archive, const std::string& folder, const Limits& limits = {});

}  // namespace kestrelune::unpack
