#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Files.hpp"
#include "base/Task.hpp"

/// Desktop files: what they say, what they start, and how one is written.
namespace kestrelune::desktop_entry {

/// The keys of the group "Desktop Entry" with their values unescaped. Localised keys stand as they are, "Name[de]".
using Entry = std::map<std::string, std::string, std::less<>>;

/// Lines that make no sense are skipped.
Entry parse(std::string_view text);
/// True for the value "true".
bool isTrue(const Entry& entry, std::string_view key);

/// The program and arguments of an Exec value, its field codes filled for a start without files. Empty when the value
/// is malformed.
std::vector<std::string> commandLine(const Entry& entry);
/// One argument of an Exec value, quoted so that `commandLine` gives it back whatever it holds.
std::string quotedArgument(std::string_view argument);
/// A value as it stands in the file.
std::string escapedValue(std::string_view value);

/// Reads the application with that desktop-file id, without ".desktop", from the folders of the environment, the
/// user's first. Absent when there is none, or when the user's own says that it is hidden. `path` gets the file.
std::optional<Entry> findApplication(Files& files, const Environment& environment, const std::string& home,
                                     const std::string& id, std::string* path = nullptr);

/// The desktop-file id of the application with that name: of the one whose id it is, else of the first, in the same
/// folders, that calls itself so, capitals or not.
std::optional<std::string> findByName(Files& files, const Environment& environment, const std::string& home,
                                      const std::string& name);

/// An executable by name in PATH, or by its absolute path; empty when there is none.
std::string findExecutable(Files& files, const Environment& environment, const std::string& name);

}  // namespace kestrelune::desktop_entry
