#include <openssl/evp.h>

#include <array>

#include "base/CryptoEngine.hpp"

namespace kestrelune {
namespace {

class Sha256 final : public DigestStream {
 public:
  Sha256() { EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr); }

  void add(std::string_view bytes) override { EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()); }

  std::string finish() override {
    static constexpr char kHex[] = "0123456789abcdef";
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned size = 0;
    EVP_DigestFinal_ex(context_.get(), bytes.data(), &size);
    std::string text;
    for (unsigned i = 0; i < size; ++i) {
      text += kHex[bytes[i] >> 4];
      text += kHex[bytes[i] & 15];
    }
    return text;
  }

 private:
  struct Free {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };
  std::unique_ptr<EVP_MD_CTX, Free> context_{EVP_MD_CTX_new()};
};

}  // namespace
}  // namespace kestrelune

[[gnu::visibility("default")]] kestrelune::DigestStream* kestreluneSha256() { return new kestrelune::Sha256; }
