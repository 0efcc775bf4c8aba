#include "Target.hpp"

#include <curl/curl.h>
#include <strings.h>

#include <charconv>
#include <memory>

namespace kestrelune::fetch {
namespace {

struct Free {
  void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
};
using Parsed = std::unique_ptr<CURLU, Free>;

Parsed parsed(const std::string& address) {
  Parsed url(curl_url());
  // Only this scheme has a port that is known, so others fail here or below.
  if (url && curl_url_set(url.get(), CURLUPART_URL, address.c_str(), 0) != CURLUE_OK) url.reset();
  return url;
}

/// Empty where the address has no such part.
std::string part(const Parsed& url, CURLUPart which) {
  if (!url) return "";
  char* text = nullptr;
  if (curl_url_get(url.get(), which, &text, CURLU_DEFAULT_PORT) != CURLUE_OK) return "";
  std::string result = text;
  curl_free(text);
  return result;
}

bool isAdmitted(const Parsed& url) {
  return url && part(url, CURLUPART_SCHEME) == "https" && part(url, CURLUPART_USER).empty() &&
         part(url, CURLUPART_PASSWORD).empty();
}

std::uint16_t numberOf(const std::string& text) {
  std::uint16_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() ? number : std::uint16_t{0};
}

}  // namespace

bool isAdmitted(const std::string& address) { return isAdmitted(parsed(address)); }

std::optional<std::string> redirect(const std::string& from, const std::string& to) {
  const Parsed here = parsed(from);
  const Parsed there = parsed(to);
  if (!isAdmitted(here) || !isAdmitted(there)) return std::nullopt;
  const bool sameHost = strcasecmp(part(here, CURLUPART_HOST).c_str(), part(there, CURLUPART_HOST).c_str()) == 0;
  if (!sameHost || part(here, CURLUPART_PORT) != part(there, CURLUPART_PORT)) return std::nullopt;
  return to;
}

std::uint16_t portOf(const std::string& address) { return numberOf(part(parsed(address), CURLUPART_PORT)); }

std::uint16_t proxyPortOf(const std::string& proxy) {
  constexpr std::uint16_t kUsual = 1080, kUsualSecure = 443;
  const Parsed url(curl_url());
  if (proxy.empty() || !url) return 0;
  // A bare host and port are one as well, and proxies have schemes that nothing else has.
  constexpr unsigned kAnyForm = CURLU_NON_SUPPORT_SCHEME | CURLU_GUESS_SCHEME;
  if (curl_url_set(url.get(), CURLUPART_URL, proxy.c_str(), kAnyForm) != CURLUE_OK) return 0;
  char* text = nullptr;
  if (curl_url_get(url.get(), CURLUPART_PORT, &text, 0) != CURLUE_OK)
    return part(url, CURLUPART_SCHEME) == "https" ? kUsualSecure : kUsual;
  const std::string port = text;
  curl_free(text);
  return numberOf(port);
}

}  // namespace kestrelune::fetch
