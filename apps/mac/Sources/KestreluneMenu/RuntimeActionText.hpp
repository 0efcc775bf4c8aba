#pragma once

#include <string>

#include "RuntimeAction.hpp"

/// What an action would do, in words, and the commands that the user sees run.
namespace kestrelune::ActionText {

/// What a dry run prints in place of carrying the action out.
std::string description(const Action& action);

/// The command that downloads and runs the installation script.
std::string installCommand();
/// The command that brings one AI application up to date. The shell of the terminal resolves the tilde.
std::string updateCommand(const std::string& host);

}  // namespace kestrelune::ActionText
