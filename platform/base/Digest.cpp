#include "base/Digest.hpp"

#include <fcntl.h>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <vector>

#include "base/CryptoEngine.hpp"
#include "base/ModuleLoader.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kPiece = 1 << 20;

std::unique_ptr<DigestStream> newSha256() {
  static auto* const make =
      reinterpret_cast<decltype(&kestreluneSha256)>(loadModule("libKestreluneCrypto.so", "kestreluneSha256"));
  return std::unique_ptr<DigestStream>(make ? make() : nullptr);
}

}  // namespace

std::string sha256(std::string_view bytes) {
  const auto stream = newSha256();
  // Without its module an installation is damaged, and no digest may be made up.
  if (!stream) throw std::runtime_error("libKestreluneCrypto.so is missing");
  stream->add(bytes);
  return stream->finish();
}

Outcome<std::string> sha256OfFile(Files& files, const std::string& path) {
  const auto stream = newSha256();
  if (!stream) return {.error = ELIBACC};
  const auto file = openRegular(files, path, O_RDONLY);
  if (!file) return {.error = file.error};
  std::vector<char> piece(kPiece);
  while (true) {
    const auto got = files.read(file.value, piece.data(), piece.size());
    if (!got || got.value == 0) {
      files.close(file.value);
      return got ? Outcome<std::string>{.value = stream->finish()} : Outcome<std::string>{.error = got.error};
    }
    stream->add({piece.data(), got.value});
  }
}

}  // namespace kestrelune
