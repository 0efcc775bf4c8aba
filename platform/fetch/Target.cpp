#include "Target.hpp"

#include <curl/curl.h>
#include <strings.h>

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

}  // namespace kestrelune::fetch
