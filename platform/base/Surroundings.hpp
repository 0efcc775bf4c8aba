#pragma once

#include <span>
#include <string_view>

#include "base/Task.hpp"

/// What the environment may tell a program of ours. It may choose a language, a look, a display, a bus, folders of the
/// user's and a proxy; never where code, certificates, time zones, modules or settings of a library come from.
namespace kestrelune::surroundings {

/// Variables that are refused for the same reason; a star at the end of a name stands for any that begins so.
struct Group {
  std::string_view reason;
  std::string_view names;  ///< with spaces between
};
std::span<const Group> refused();

/// Whether a variable may be there. Besides those that are refused, LD_PRELOAD may name libraries of the system only,
/// and TZ a zone, not a file.
bool isAdmitted(std::string_view name, std::string_view value);

/// Removes what isn't admitted from our own environment, and thereby from that of whatever we start. First in `main`,
/// while there is one thread: what libraries have read by then was read by the dynamic linker.
void clear();

/// The part by which a proxy is named.
Environment proxies(const Environment& environment);

}  // namespace kestrelune::surroundings
