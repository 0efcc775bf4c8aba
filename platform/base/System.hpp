#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "base/Task.hpp"
#include "base/Url.hpp"

/// Facts about the account and the machine.
namespace kestrelune::system {

Environment environment();
/// Gives these variables of ours the values that they have in `from`, and removes those that it lacks. On the main
/// thread, while nothing elsewhere reads the environment.
void adoptVariables(const std::vector<std::string>& names, const Environment& from);
/// The home folder of the account (passwd database), never the variable HOME.
Url homeFolder();
uid_t userId();
pid_t processId();

/// The user's languages, first choice first, as gettext reads LANGUAGE, LC_ALL, LC_MESSAGES and LANG; "de-CH" form.
/// Empty in the "C" and "POSIX" locales.
std::vector<std::string> preferredLanguages();
/// The same from given variables.
std::vector<std::string> preferredLanguages(const Environment& environment);
/// The identifier of the current locale, such as "de_DE"; "en_US" where none is set.
std::string localeIdentifier(const Environment& environment);

/// True in a program that links the test support, which defines `kestreluneRunsTests`.
bool isRunningTests();

/// "x64" or "arm64".
std::string processor();
/// The system's version as dotted numbers (the kernel's release, without suffix).
std::string systemVersion();
/// The first three numbers of a kernel's release: "6.6.87.2-vendor" is "6.6.87".
std::string versionOf(std::string_view release);
/// The text of an error number.
std::string errorText(int number);

/// $XDG_CONFIG_HOME, or ".config" in the home folder where it is unset or relative.
Url configFolder();

/// Prints one line on standard output and flushes. A closed output is ignored.
void printLine(const std::string& line);
void printErrorLine(const std::string& line);

}  // namespace kestrelune::system
