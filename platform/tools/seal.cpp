#include <cstdio>

#include "base/Bundle.hpp"
#include "base/CodeSeal.hpp"

using namespace kestrelune;

/// Prints the list of everything in a bundle that is about to be signed. Part of making a release; not shipped.
int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: %s BUNDLE\n", arguments[0]);
    return 2;
  }
  const auto identifier = Bundle(Url::file(arguments[1])).infoString("CFBundleIdentifier");
  const auto seal = identifier ? CodeSeal::of(systemFiles(), arguments[1], *identifier) : std::nullopt;
  if (!seal) {
    std::fprintf(stderr, "seal: %s\n", identifier ? "a file can't be read, or a link leads outside" : "no identifier");
    return 1;
  }
  std::printf("%s", seal->write().c_str());
  return std::fflush(stdout) == 0 ? 0 : 1;
}
