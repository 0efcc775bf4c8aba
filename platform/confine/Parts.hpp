#pragma once

#include <string>

#include "confine/Confinement.hpp"

/// What both ways to confine a process are made of.
namespace kestrelune {

/// The runtimes of sanitizers reserve terabytes, read their own maps, write a log where they are told, and look for
/// leaks from a process beside; nothing of that is in what is shipped.
Confinement withSanitizers(Confinement confinement);

/// Everything but the calls, which come last: the rest needs some that a filter may forbid. Empty, or why not.
std::string closeIn(const Confinement& confinement);

}  // namespace kestrelune
