#pragma once

#include <string>
#include <string_view>

#include "base/Files.hpp"

namespace kestrelune {

/// SHA-256 of the bytes as 64 lower-case hexadecimal digits.
std::string sha256(std::string_view bytes);

/// SHA-256 of a file, read in pieces of 1 MiB, so that memory doesn't grow with it. An error is the number of the
/// system call that failed.
Outcome<std::string> sha256OfFile(Files& files, const std::string& path);

}  // namespace kestrelune
