#include "SetupPayload.hpp"

#include <algorithm>
#include <charconv>

#include "Runtime.hpp"
#include "base/Digest.hpp"
#include "base/System.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kDigestDigits = 64;

std::optional<std::int64_t> parseComponent(std::string_view piece) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  if (piece.empty() || !std::all_of(piece.begin(), piece.end(), isDigit)) return std::nullopt;
  std::int64_t number = 0;
  const auto result = std::from_chars(piece.data(), piece.data() + piece.size(), number);
  return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

bool isDigest(std::string_view text) {
  return text.size() == kDigestDigits && text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

bool isVersion(const std::optional<std::string>& text) { return text && HelperVersion::parse(*text); }

bool isNodeVersion(const std::optional<std::string>& text) {
  return text && text->starts_with('v') && HelperVersion::parse(text->substr(1));
}

}  // namespace

std::optional<HelperVersion> HelperVersion::parse(std::string_view text) {
  std::vector<std::int64_t> components;
  while (true) {
    const std::size_t point = text.find('.');
    const std::optional<std::int64_t> component = parseComponent(text.substr(0, point));
    if (!component) return std::nullopt;
    components.push_back(*component);
    if (point == std::string_view::npos) return HelperVersion(std::move(components));
    text.remove_prefix(point + 1);
  }
}

bool HelperVersion::operator<(const HelperVersion& other) const {
  const auto at = [](const std::vector<std::int64_t>& components, std::size_t i) {
    return i < components.size() ? components[i] : 0;
  };
  const std::size_t length = std::max(components_.size(), other.components_.size());
  for (std::size_t i = 0; i < length; ++i)
    if (at(components_, i) != at(other.components_, i)) return at(components_, i) < at(other.components_, i);
  return false;
}

std::string_view name(HelperArchitecture architecture) {
  return architecture == HelperArchitecture::arm64 ? "arm64" : "x64";
}

HelperArchitecture currentArchitecture() {
  return system::processor() == "arm64" ? HelperArchitecture::arm64 : HelperArchitecture::x64;
}

std::optional<HelperPayload> HelperPayload::load(const Bundle& bundle, Files& files) {
  const std::optional<std::string> version = bundle.infoString("KestreluneHelperVersion");
  const std::optional<std::string> digest = bundle.infoString("KestreluneHelperSHA256");
  const std::optional<std::string> nodeVersion = bundle.infoString("KestreluneNodeVersion");
  if (!isVersion(version) || !digest || !isDigest(*digest) || !isNodeVersion(nodeVersion)) return std::nullopt;

  HelperPayload payload;
  payload.helperURL = bundle.contents("Resources/helper/kestrelune-runner.mjs");
  for (const HelperArchitecture architecture : {HelperArchitecture::arm64, HelperArchitecture::x64})
    payload.nodeURLs[architecture] =
        bundle.contents("Helpers/node-darwin-" + std::string(name(architecture)) + "/node");
  payload.helperVersion = *version;
  payload.helperSHA256 = text::lowercased(*digest);
  payload.nodeVersion = *nodeVersion;

  if (!isReadableFile(files, payload.helperURL.path())) return std::nullopt;
  for (const auto& [architecture, node] : payload.nodeURLs)
    if (!isExecutableFile(files, node.path())) return std::nullopt;
  const Outcome<std::string> actual = sha256OfFile(files, payload.helperURL.path());
  if (!actual || actual.value != payload.helperSHA256) return std::nullopt;
  return payload;
}

std::string HelperPayload::sha256(Files& files, const Url& url) {
  Outcome<std::string> digest = sha256OfFile(files, url.path());
  if (!digest) throw RuntimeError::posix(digest.error);
  return std::move(digest.value);
}

}  // namespace kestrelune
