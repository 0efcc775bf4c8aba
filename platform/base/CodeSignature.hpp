#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/CodeSeal.hpp"
#include "base/Dates.hpp"
#include "base/Files.hpp"

namespace kestrelune {

/// The certificate (PEM) under which all signatures are judged, as the build was given it; empty: nothing is signed.
extern const std::string_view kCompiledAnchor;

/// Who a bundle is from. A bundle carries a list of everything in it (`CodeSeal`), a maker's signature over that list
/// and, where it was accepted by the notary, the notary's over the same list. A maker's signature is judged at the time
/// of the notary's, so that it outlives its certificate; without one, now.
class CodeSignature {
 public:
  CodeSignature(Files& files, std::string anchor) : files_(files), anchor_(std::move(anchor)) {}

  /// What the signature's certificate names as its team, whether or not anything else about it is right.
  std::optional<std::string> team(const std::string& bundle) const;
  /// Whether the bundle as it lies there, all of it, satisfies a requirement. Understood is one form of text, with an
  /// identifier and a team in it: anchor, identifier, the marks of both certificates, and the leaf's organisational
  /// unit. Anything else is satisfied by nothing.
  bool satisfies(const std::string& bundle, std::string_view requirement, Date now) const;
  /// The notary's answer about a bundle that is as it was signed.
  enum class Assessment { rejected, unnotarized, notarized };
  Assessment assess(const std::string& bundle, Date now) const;

 private:
  struct Judged;
  Judged judge(const std::string& bundle, Date now) const;

  Files& files_;
  const std::string anchor_;
};

}  // namespace kestrelune
