#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "Fakes/TestFolder.hpp"
#include "base/CodeSignature.hpp"

namespace kestrelune {
namespace {

constexpr const char* kRequirement = R"(anchor apple generic and identifier "com.kestrelune.menu")"
                                     " and certificate 1[field.1.2.840.113635.100.6.2.6] exists"
                                     " and certificate leaf[field.1.2.840.113635.100.6.1.13] exists"
                                     R"( and certificate leaf[subject.OU] = "TEAM000001")";

/// A bundle of so many MB in files of 1 MB, signed by a chain of its own.
struct SignedBundle {
  TestFolder folder;
  std::string app = folder.path("Kestrelune.app");
  std::string anchor;
  bool signedWell = false;

  explicit SignedBundle(long megabytes) {
    std::filesystem::create_directories(app + "/Contents");
    std::ofstream(app + "/Contents/Info.json") << R"({"CFBundleIdentifier":"com.kestrelune.menu"})";
    std::string piece(1 << 20, '\0');
    for (long i = 0; i < megabytes; ++i) {
      for (std::size_t k = 0; k < piece.size(); k += 64) piece[k] = static_cast<char>(i + static_cast<long>(k) * 31);
      std::ofstream(app + "/Contents/file" + std::to_string(i), std::ios::binary) << piece;
    }
    const std::string packaging = KESTRELUNE_PACKAGING, keys = folder.path("keys");
    const std::string command = packaging + "/chain '" + keys + "' && " + packaging + "/sign '" KESTRELUNE_SEAL "' '" +
                                keys + "' '" + app + "'";
    signedWell = std::system(command.c_str()) == 0;
    std::ostringstream text;
    text << std::ifstream(keys + "/anchor.pem").rdbuf();
    anchor = text.str();
  }
};

void verifyBundle(benchmark::State& state) {
  const SignedBundle bundle(state.range(0));
  const CodeSignature signature(systemFiles(), bundle.anchor);
  const Date now{std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count()};
  for (auto unused : state) {
    if (!bundle.signedWell || !signature.satisfies(bundle.app, kRequirement, now)) state.SkipWithError("not satisfied");
  }
}
BENCHMARK(verifyBundle)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond)->UseRealTime();

/// What the machine's own tool takes for the same bytes.
void sha256sum(benchmark::State& state) {
  const SignedBundle bundle(state.range(0));
  const std::string command = "sha256sum '" + bundle.app + "'/Contents/file* >/dev/null";
  for (auto unused : state) {
    if (std::system(command.c_str()) != 0) state.SkipWithError("sha256sum failed");
  }
}
BENCHMARK(sha256sum)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace kestrelune
