#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "base/Clock.hpp"
#include "base/CodeSignature.hpp"
#include "base/Surroundings.hpp"

using namespace kestrelune;

namespace {

constexpr int kRejected = 3;

/// What is said of an application, the reason in the last line, and the exit status.
int report(const char* path, CodeSignature::Assessment assessment) {
  switch (assessment) {
    case CodeSignature::Assessment::notarized:
      std::printf("%s: accepted\nsource=Notarized Developer ID\n", path);
      return 0;
    case CodeSignature::Assessment::unnotarized:
      std::printf("%s: rejected\nsource=Unnotarized Developer ID\n", path);
      return kRejected;
    case CodeSignature::Assessment::rejected: break;
  }
  std::printf("%s: rejected\nsource=no usable signature\n", path);
  return kRejected;
}

}  // namespace

/// Asks whether an application as it lies there was accepted by the notary.
int main(int count, char** arguments) {
  surroundings::clear();
  const std::vector<std::string_view> given(arguments + 1, arguments + count);
  if (given.size() != 5 || given[0] != "--assess" || given[1] != "--type" || given[2] != "execute" ||
      given[3] != "-v") {
    std::fprintf(stderr, "usage: %s --assess --type execute -v APPLICATION\n", arguments[0]);
    return 2;
  }
  const CodeSignature signature(systemFiles(), std::string(kCompiledAnchor));
  return report(arguments[5], signature.assess(arguments[5], SystemClock().now()));
}
