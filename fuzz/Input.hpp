#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// What a fuzz target gets, and how it says that a property doesn't hold.
namespace kestrelune::fuzz {

inline std::string_view text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

inline void require(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "doesn't hold: %s\n", property);
  std::abort();
}

}  // namespace kestrelune::fuzz
