#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "session/UserService.hpp"

using namespace kestrelune;

namespace {

/// Below the time that its callers give it.
constexpr double kPatience = 12;
/// Statuses above have meanings of their own.
constexpr int kLargestStatus = 125;

int usage(const char* program) {
  std::fprintf(stderr, "usage: %s kickstart [-k] gui/USER-ID/SERVICE\n", program);
  return EINVAL;
}

}  // namespace

/// Starts a service of the user's; with -k anew where it runs. The exit status is 0 or an error number, and what went
/// wrong stands on standard error.
int main(int count, char** arguments) {
  std::vector<std::string_view> words(arguments + 1, arguments + count);
  const bool again = std::erase(words, "-k") > 0;
  if (words.size() != 2 || words[0] != "kickstart" || words[1].starts_with('-')) return usage(arguments[0]);
  const std::string domain = "gui/" + std::to_string(getuid()) + "/";
  if (!words[1].starts_with(domain)) {
    std::fprintf(stderr, "%s: only services of this user, %s…\n", arguments[0], domain.c_str());
    return EPERM;
  }
  const ServiceOutcome outcome =
      startUserService(std::string(words[1].substr(domain.size())) + ".service", again, kPatience);
  if (outcome.error == 0) return 0;
  std::fprintf(stderr, "%s\n", outcome.reason.c_str());
  return std::clamp(outcome.error, 1, kLargestStatus);
}
