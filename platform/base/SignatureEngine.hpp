#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrelune {

/// A detached signature (CMS, DER) over `content`, and the certificate (PEM) at which its chain must end.
struct SignatureQuestion {
  std::string_view content;
  std::string_view signature;
  std::string_view anchor;
  std::optional<std::int64_t> at;  ///< when the chain must be valid, in seconds since 1970; absent: when it was signed
};

struct SignatureAnswer {
  bool valid = false;               ///< one signer, over this content, for code, with a chain to the anchor, valid then
  std::string team;                 ///< the leaf's one organisational unit; empty: none
  bool leafMarked = false;          ///< certificate extension 1.2.840.113635.100.6.1.13
  bool intermediateMarked = false;  ///< 1.2.840.113635.100.6.2.6 on the certificate above the leaf
  bool notary = false;              ///< the extension that makes a leaf a notary's
  std::optional<std::int64_t> signedAt;  ///< as the signer says, in seconds since 1970
};

}  // namespace kestrelune

/// What the signature module exports.
extern "C" kestrelune::SignatureAnswer* kestreluneSignature(const kestrelune::SignatureQuestion* question);
