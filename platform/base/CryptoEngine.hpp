#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace kestrelune {

/// A hash under way.
class DigestStream {
 public:
  virtual ~DigestStream() = default;
  virtual void add(std::string_view bytes) = 0;
  /// 64 lower-case hexadecimal digits. Nothing is added afterwards.
  virtual std::string finish() = 0;
};

}  // namespace kestrelune

/// What the cryptography's module exports; the caller owns the stream. Null when the library can't be used.
extern "C" kestrelune::DigestStream* kestreluneSha256();
