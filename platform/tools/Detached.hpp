#pragma once

#include <string>

namespace kestrelune::tools {

/// Starts a program that goes on without us: in a session of its own, with nothing of ours open and default signal
/// handling. 0 or an error number.
int startDetached(const std::string& program);

/// The program of an application bundle: the one that its Info.json names, else the only one in Contents/MacOS. Empty
/// when there is none.
std::string programOf(const std::string& bundle);

}  // namespace kestrelune::tools
