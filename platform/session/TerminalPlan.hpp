#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Task.hpp"

/// How a command comes into a terminal emulator unharmed.
namespace kestrelune::terminal_plan {

/// An emulator as it may be asked for: a name or path, and what stands before the arguments of its own.
struct Emulator {
  enum class Form {
    arguments,  ///< after `option`, or at once where there is none, come program and arguments
    text,       ///< `option` and one text that the emulator splits as a shell would
  };
  std::string name;
  std::vector<std::string> own;  ///< arguments that the user wants it to have
  std::string option;
  Form form = Form::arguments;
  bool operator==(const Emulator&) const = default;
};

/// The user's choice first, then what desktops bring along.
std::vector<Emulator> candidates(const Environment& environment);

/// Runs `command` in the user's shell as a login shell would, and leaves a shell open after it, so that the outcome can
/// be read. The file `marker` is removed first: it tells that the terminal came so far. The command is one argument of
/// the result, as it stands.
std::vector<std::string> shellArguments(const std::string& shell, const std::string& marker,
                                        const std::string& command);

/// The arguments for the emulator to run `program`.
std::vector<std::string> emulatorArguments(const Emulator& emulator, const std::vector<std::string>& program);

/// Gives the emulator the form of the one known by that name: a common name may be a link to it. Any other name
/// changes nothing.
void takeForm(Emulator& emulator, std::string_view name);

/// One word for sh, whatever it holds.
std::string shellQuoted(std::string_view argument);

/// SHELL where it is a shell that takes "-l -i -c" and the syntax of sh, else /bin/sh.
std::string shellOf(const Environment& environment);

}  // namespace kestrelune::terminal_plan
