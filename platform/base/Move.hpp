#pragma once

#include <string>

#include "base/Files.hpp"

namespace kestrelune {

/// Gives a file or folder another path, at which nothing may stand but an empty folder. Within a file system this is
/// one step. Across file systems it is copied beside `to` (a name that begins with ".moving-"), synced, compared, and
/// only then named `to`; after that the old one leaves `from` in one step and is removed. So at each moment a whole one
/// stands at `from` or `to`. Returns 0 or an error number; then `from` stands, and nothing at `to`. Leftovers of a move
/// that was killed are removed by the next one between the same two names.
int moveItem(Files& files, const std::string& from, const std::string& to);

/// Copies a file or folder to another path, at which nothing may stand but an empty folder: beside `to` (a name that
/// begins with ".moving-"), synced, compared, and only then named `to`. Returns 0 or an error number; then there is
/// nothing at `to`. A leftover of one that was killed is removed by the next one to the same name.
int copyItem(Files& files, const std::string& from, const std::string& to);

/// Removes a file or a whole folder, without following links. Returns 0 or the first error number; goes on past it.
int removeTree(Files& files, const std::string& path);

}  // namespace kestrelune
