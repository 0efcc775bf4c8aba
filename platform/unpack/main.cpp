#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "Rights.hpp"
#include "Unpack.hpp"
#include "base/Surroundings.hpp"

/// Unpacks a release: `ditto -x -k ARCHIVE FOLDER`.
int main(int count, char** arguments) {
  if (count != 5 || std::string_view(arguments[1]) != "-x" || std::string_view(arguments[2]) != "-k") {
    std::fprintf(stderr, "usage: %s -x -k ARCHIVE FOLDER\n", arguments[0]);
    return 2;
  }
  kestrelune::surroundings::clear();
  std::error_code error;
  const std::filesystem::path archive = std::filesystem::absolute(arguments[3], error);
  std::string reason = kestrelune::confine(kestrelune::unpack::rights(archive.string(), arguments[4]));
  if (reason.empty()) reason = kestrelune::unpack::unpack(archive.string(), arguments[4]);
  if (!reason.empty()) std::fprintf(stderr, "ditto: %s\n", reason.c_str());
  return reason.empty() ? 0 : 1;
}
