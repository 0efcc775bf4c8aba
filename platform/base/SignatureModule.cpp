#include <openssl/cms.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <memory>

#include "base/SignatureEngine.hpp"

namespace kestrelune {
namespace {

constexpr const char* kLeafMark = "1.2.840.113635.100.6.1.13";
constexpr const char* kIntermediateMark = "1.2.840.113635.100.6.2.6";
constexpr const char* kNotaryMark = "2.25.12910121626874709265688791445441127486";
/// At least as strong as 112 bits, which leaves out SHA-1 and short keys.
constexpr int kSecurityLevel = 2;

template <auto function>
struct Free {
  template <class T>
  void operator()(T* object) const {
    function(object);
  }
};
using Bio = std::unique_ptr<BIO, Free<BIO_free_all>>;
using Certificate = std::unique_ptr<X509, Free<X509_free>>;
using Store = std::unique_ptr<X509_STORE, Free<X509_STORE_free>>;
using Context = std::unique_ptr<X509_STORE_CTX, Free<X509_STORE_CTX_free>>;
using Message = std::unique_ptr<CMS_ContentInfo, Free<CMS_ContentInfo_free>>;
using Object = std::unique_ptr<ASN1_OBJECT, Free<ASN1_OBJECT_free>>;

struct FreeCertificates {
  void operator()(STACK_OF(X509) * certificates) const { sk_X509_pop_free(certificates, X509_free); }
};
using Certificates = std::unique_ptr<STACK_OF(X509), FreeCertificates>;

Bio reading(std::string_view bytes) { return Bio(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size()))); }

bool has(const X509* certificate, const char* extension) {
  const Object object(OBJ_txt2obj(extension, 1));
  return object && X509_get_ext_by_OBJ(certificate, object.get(), -1) >= 0;
}

std::string teamOf(const X509* certificate) {
  X509_NAME* name = X509_get_subject_name(certificate);
  const int first = X509_NAME_get_index_by_NID(name, NID_organizationalUnitName, -1);
  if (first < 0 || X509_NAME_get_index_by_NID(name, NID_organizationalUnitName, first) >= 0) return "";
  unsigned char* text = nullptr;
  const int size = ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, first)));
  if (size < 0) return "";
  std::string team(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size));
  OPENSSL_free(text);
  return team;
}

std::optional<std::int64_t> timeOf(CMS_SignerInfo* signer) {
  const int at = CMS_signed_get_attr_by_NID(signer, NID_pkcs9_signingTime, -1);
  if (at < 0) return std::nullopt;
  const ASN1_TYPE* value = X509_ATTRIBUTE_get0_type(CMS_signed_get_attr(signer, at), 0);
  if (!value || (value->type != V_ASN1_UTCTIME && value->type != V_ASN1_GENERALIZEDTIME)) return std::nullopt;
  std::tm parts{};
  // Both forms of time are the one structure that the union names three times.
  if (ASN1_TIME_to_tm(value->value.asn1_string, &parts) != 1) return std::nullopt;
  return static_cast<std::int64_t>(timegm(&parts));
}

/// May sign code, and is no authority itself.
bool isForCode(X509* leaf) {
  const std::uint32_t flags = X509_get_extension_flags(leaf);
  if ((flags & EXFLAG_CA) != 0 || (flags & EXFLAG_XKUSAGE) == 0) return false;
  return (X509_get_extended_key_usage(leaf) & XKU_CODE_SIGN) != 0 &&
         (X509_get_key_usage(leaf) & KU_DIGITAL_SIGNATURE) != 0;
}

bool isStrong(CMS_SignerInfo* signer) {
  X509_ALGOR* digest = nullptr;
  CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &digest, nullptr);
  const int kind = digest ? OBJ_obj2nid(digest->algorithm) : NID_undef;
  return kind == NID_sha256 || kind == NID_sha384 || kind == NID_sha512;
}

bool isOver(CMS_ContentInfo* message, std::string_view content) {
  // The library copies a plain memory source, and loses the copy when the message names a digest that it doesn't know.
  Bio source(BIO_new(BIO_f_null()));
  Bio bytes = reading(content);
  if (!source || !bytes) return false;
  BIO_push(source.get(), bytes.release());
  // The chain is judged here, where it can be looked at afterwards.
  return CMS_verify(message, nullptr, nullptr, source.get(), nullptr,
                    CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY | CMS_NOCRL) == 1;
}

/// The chain from leaf to anchor that is valid at that time; null: there is none.
Certificates chainOf(X509* leaf, STACK_OF(X509) * others, X509* anchor, std::int64_t at) {
  const Store store(X509_STORE_new());
  const Context context(X509_STORE_CTX_new());
  if (!store || !context || X509_STORE_add_cert(store.get(), anchor) != 1 ||
      X509_STORE_CTX_init(context.get(), store.get(), leaf, others) != 1) {
    return nullptr;
  }
  X509_VERIFY_PARAM* rules = X509_STORE_CTX_get0_param(context.get());
  X509_VERIFY_PARAM_set_flags(rules, X509_V_FLAG_X509_STRICT);
  X509_VERIFY_PARAM_set_auth_level(rules, kSecurityLevel);
  X509_VERIFY_PARAM_set_time(rules, static_cast<time_t>(at));
  if (X509_verify_cert(context.get()) != 1) return nullptr;
  return Certificates(X509_STORE_CTX_get1_chain(context.get()));
}

void examine(const SignatureQuestion& question, SignatureAnswer& answer) {
  const Message message(d2i_CMS_bio(reading(question.signature).get(), nullptr));
  const Certificate anchor(PEM_read_bio_X509(reading(question.anchor).get(), nullptr, nullptr, nullptr));
  if (!message || OBJ_obj2nid(CMS_get0_type(message.get())) != NID_pkcs7_signed) return;
  const auto* signers = CMS_get0_SignerInfos(message.get());
  if (sk_CMS_SignerInfo_num(signers) != 1) return;
  CMS_SignerInfo* signer = sk_CMS_SignerInfo_value(signers, 0);
  X509* leaf = nullptr;
  if (CMS_set1_signers_certs(message.get(), nullptr, 0) != 1) return;
  CMS_SignerInfo_get0_algs(signer, nullptr, &leaf, nullptr, nullptr);
  if (!leaf) return;

  answer.team = teamOf(leaf);
  answer.leafMarked = has(leaf, kLeafMark);
  answer.notary = has(leaf, kNotaryMark);
  answer.signedAt = timeOf(signer);
  const auto at = question.at ? question.at : answer.signedAt;
  if (!anchor || !at || !isForCode(leaf) || !isStrong(signer) || !isOver(message.get(), question.content)) return;

  const Certificates others(CMS_get1_certs(message.get()));
  const Certificates chain = chainOf(leaf, others.get(), anchor.get(), *at);
  if (!chain || sk_X509_num(chain.get()) < 2) return;
  answer.intermediateMarked = has(sk_X509_value(chain.get(), 1), kIntermediateMark);
  answer.valid = true;
}

}  // namespace
}  // namespace kestrelune

[[gnu::visibility("default")]] kestrelune::SignatureAnswer* kestreluneSignature(
    const kestrelune::SignatureQuestion* question) {
  auto answer = std::make_unique<kestrelune::SignatureAnswer>();
  kestrelune::examine(*question, *answer);
  return answer.release();
}
