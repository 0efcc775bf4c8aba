#include <memory>

#include "Input.hpp"
#include "base/ModuleLoader.hpp"
#include "base/SignatureEngine.hpp"

using namespace kestrelune;

namespace {

/// Made with packaging/chain; nobody has its key.
constexpr std::string_view kAnchor = R"(-----BEGIN CERTIFICATE-----
MIIBhTCCASugAwIBAgIJANEr4yXb0qcnMAoGCCqGSM49BAMCMCYxEzARBgNVBAoM
ClRocm93LWF3YXkxDzANBgNVBAMMBkFuY2hvcjAeFw0yMTExMjMwNDE5NTNaFw00
NjExMjMwNDE5NTNaMCYxEzARBgNVBAoMClRocm93LWF3YXkxDzANBgNVBAMMBkFu
Y2hvcjBZMBMGByqGSM49AgEGCCqGSM49AwEHA0IABGkrcXXrhOQCWlunIi3qGlmH
UWwVRCYhOnbHJzsoHMrlDlZn5cawyie6LpJ2pcS2JQ7Kg8RuZiFkl/S0juPCaCij
QjBAMA8GA1UdEwEB/wQFMAMBAf8wDgYDVR0PAQH/BAQDAgEGMB0GA1UdDgQWBBRV
0FnhXtNKLTYM3gQ0PoOmSbJHvDAKBggqhkjOPQQDAgNIADBFAiAW75TeYW/MniJv
T+QO7CzO8xGu2L93WNIq6F+YnksSQAIhAO3/miU4ELlVc7YNuaoM5ZGVcuES0oke
9pxQgjeV4Qi5
-----END CERTIFICATE-----
)";
constexpr std::string_view kContent = "a list";
constexpr std::int64_t kThen = 1'800'000'000;

SignatureAnswer ask(const SignatureQuestion& question) {
  static auto* const engine =
      reinterpret_cast<decltype(&kestreluneSignature)>(loadModule("libKestreluneSignature.so", "kestreluneSignature"));
  fuzz::require(engine != nullptr, "the module is there");
  return *std::unique_ptr<SignatureAnswer>(engine(&question));
}

}  // namespace

/// A bundle's signature: whatever it is, it counts for nothing but what it was made over.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view signature = fuzz::text(data, size);
  const SignatureAnswer right = ask({kContent, signature, kAnchor, kThen});
  fuzz::require(!right.valid || right.team == "TEAM000001" || right.notary, "a valid one is from a known leaf");
  fuzz::require(!right.valid || size > 500, "a signature has its certificates with it");
  fuzz::require(!ask({"another list", signature, kAnchor, kThen}).valid, "it isn't over another list");
  fuzz::require(!ask({kContent, signature, "", kThen}).valid, "without an anchor nothing is valid");
  fuzz::require(!ask({kContent, signature, kAnchor, 0}).valid, "the chain wasn't valid then");
  ask({kContent, signature, kAnchor, std::nullopt});
  return 0;
}
