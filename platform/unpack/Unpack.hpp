#pragma once

#include <cstdint>
#include <string>

namespace kestrelune::unpack {

struct Limits {
  std::int64_t bytes = 4LL << 30;  ///< of everything unpacked
  int entries = 100'000;
};

/// Unpacks a zip archive into a folder that exists and is empty, and makes it durable. Only plain files, folders, and
/// links that stay inside are admitted; nothing is written over. Returns an empty text, or the reason why not; what was
/// unpacked until then is left for the caller to remove.
std::string unpack(const std::string& archive, const std::string& folder, const Limits& limits = {});

/// Whether a path in an archive names something inside: relative, without empty, "." or ".." pieces, of usable
/// characters. A folder's may end with a slash.
bool isInside(const std::string& path);

}  // namespace kestrelune::unpack
