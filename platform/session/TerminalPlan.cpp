#include "session/TerminalPlan.hpp"

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>

namespace kestrelune::terminal_plan {
namespace {

struct Known {
  std::string_view name;
  std::string_view option;
  Emulator::Form form = Emulator::Form::arguments;
};

constexpr std::array<Known, 11> kKnown = {{{"xdg-terminal-exec", ""},
                                           {"x-terminal-emulator", "-e"},
                                           {"gnome-terminal", "--"},
                                           {"konsole", "-e"},
                                           {"xfce4-terminal", "-x"},
                                           {"lxterminal", "--command=", Emulator::Form::text},
                                           {"mate-terminal", "-x"},
                                           {"kitty", ""},
                                           {"alacritty", "-e"},
                                           {"foot", ""},
                                           {"xterm", "-e"}}};

// Interactive, because that is where people set their PATH. The terminal stays after the command, also after one that
// failed or was interrupted; "set -m" gives the keyboard back to the shell after that.
constexpr const char* kScript = R"(rm -f -- "$1"; trap : INT; set -m; "$2" -l -i -c "$3"; trap - INT; exec "$2" -i)";

std::string value(const Environment& environment, const char* name) {
  const auto found = environment.find(name);
  return found == environment.end() ? "" : found->second;
}

std::string_view baseName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

std::vector<Emulator> candidates(const Environment& environment) {
  std::vector<Emulator> found;
  std::istringstream words(value(environment, "TERMINAL"));
  if (Emulator chosen; words >> chosen.name) {
    for (std::string word; words >> word;) chosen.own.push_back(word);
    chosen.option = "-e";
    takeForm(chosen, baseName(chosen.name));
    found.push_back(std::move(chosen));
  }
  for (const Known& known : kKnown) {
    Emulator emulator;
    emulator.name = known.name;
    emulator.option = known.option;
    emulator.form = known.form;
    found.push_back(std::move(emulator));
  }
  return found;
}

std::vector<std::string> shellArguments(const std::string& shell, const std::string& marker,
                                        const std::string& command) {
  return {"/bin/sh", "-c", kScript, "kestrelune", marker, shell, command};
}

std::vector<std::string> emulatorArguments(const Emulator& emulator, const std::vector<std::string>& program) {
  std::vector<std::string> arguments = emulator.own;
  if (emulator.form == Emulator::Form::text) {
    std::string text = emulator.option;
    for (const std::string& argument : program) {
      if (&argument != program.data()) text += ' ';
      text += shellQuoted(argument);
    }
    arguments.push_back(text);
    return arguments;
  }
  if (!emulator.option.empty()) arguments.push_back(emulator.option);
  arguments.insert(arguments.end(), program.begin(), program.end());
  return arguments;
}

std::string shellQuoted(std::string_view argument) {
  std::string text = "'";
  for (const char c : argument) {
    if (c == '\'')
      text.append("'\\''");
    else
      text += c;
  }
  return text += '\'';
}

void takeForm(Emulator& emulator, std::string_view name) {
  for (const Known& known : kKnown) {
    if (known.name != name) continue;
    emulator.option = known.option;
    emulator.form = known.form;
  }
}

std::string shellOf(const Environment& environment) {
  const std::string shell = value(environment, "SHELL");
  constexpr std::array<std::string_view, 6> kFit = {"bash", "zsh", "ksh", "mksh", "dash", "sh"};
  const bool fits =
      !shell.empty() && shell.front() == '/' && std::find(kFit.begin(), kFit.end(), baseName(shell)) != kFit.end();
  return fits ? shell : "/bin/sh";
}

}  // namespace kestrelune::terminal_plan
