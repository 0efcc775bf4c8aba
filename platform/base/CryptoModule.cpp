#include <gcrypt.h>

#include "base/CryptoEngine.hpp"

namespace kestrelune {
namespace {

/// Before its first use the library wants to be told that nothing secret will be kept.
bool begin() {
  if (!gcry_check_version(GCRYPT_VERSION)) return false;
  if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) return true;
  gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
  return gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0) == 0;
}

class Sha256 final : public DigestStream {
 public:
  explicit Sha256(gcry_md_hd_t handle) : handle_(handle) {}
  ~Sha256() override { gcry_md_close(handle_); }
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void add(std::string_view bytes) override { gcry_md_write(handle_, bytes.data(), bytes.size()); }

  std::string finish() override {
    static constexpr char kHex[] = "0123456789abcdef";
    const unsigned char* bytes = gcry_md_read(handle_, GCRY_MD_SHA256);
    std::string text;
    for (unsigned i = 0; i < gcry_md_get_algo_dlen(GCRY_MD_SHA256); ++i) {
      text += kHex[bytes[i] >> 4];
      text += kHex[bytes[i] & 15];
    }
    return text;
  }

 private:
  gcry_md_hd_t handle_;
};

}  // namespace
}  // namespace kestrelune

[[gnu::visibility("default")]] kestrelune::DigestStream* kestreluneSha256() {
  static const bool ready = kestrelune::begin();
  gcry_md_hd_t handle = nullptr;
  if (!ready || gcry_md_open(&handle, GCRY_MD_SHA256, 0) != 0) return nullptr;
  return new kestrelune::Sha256(handle);
}
