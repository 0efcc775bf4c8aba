#pragma once

#include <string>

#include "base/Task.hpp"
#include "confine/Confinement.hpp"

namespace kestrelune {

/// What is left to the screen: the system's files, what fonts, themes and input methods keep in the home folder, the
/// caches that they write, the graphics card, and sockets of this machine: its companion's, the display's and the
/// buses'. Not the helper's folder nor anything else of the user's, no network but to a display on another machine, no
/// child. Its libraries come from the desktop and no list of the calls they use would be whole, so the filter refuses
/// some, and the rest is allowed. `libraries`: the folder of
/// the application's own.
Confinement screenRights(const Environment& environment, const std::string& home, const std::string& libraries);

/// The filter in them.
calls::Filter screenFilter(bool hasNetwork);

/// Leaves only these to this process. Empty, or why not.
std::string confineScreen(const Environment& environment, const std::string& home, const std::string& libraries);

}  // namespace kestrelune
