#include "Input.hpp"
#include "base/CodeSeal.hpp"

using namespace kestrelune;

/// The list of everything in a bundle, and the links in it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::text(data, size);
  if (const auto seal = CodeSeal::parse(text))
    fuzz::require(CodeSeal::parse(seal->write()) == seal, "a list reads back");
  for (int depth = 0; depth < 3; ++depth) {
    if (!linkStaysInside(text, depth)) continue;
    fuzz::require(!text.starts_with('/'), "a link inside is relative");
    fuzz::require(linkStaysInside(text, depth + 1), "a link that stays inside does so further down too");
  }
  return 0;
}
