#include "Transfer.hpp"

#include <curl/curl.h>

#include <memory>

#include "Target.hpp"

namespace kestrelune::fetch {
namespace {

constexpr int kMostRedirects = 5;

struct Free {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Handle = std::unique_ptr<CURL, Free>;
using Headers = std::unique_ptr<curl_slist, Free>;

/// Where a body goes: only that of a success is worth its bytes.
struct Sink {
  const Order& order;
  CURL* handle;
  std::int64_t left;
};

std::size_t receive(char* bytes, std::size_t one, std::size_t count, void* context) {
  auto& sink = *static_cast<Sink*>(context);
  const std::size_t size = one * count;
  sink.left -= static_cast<std::int64_t>(size);
  if (sink.left < 0) return 0;
  long status = 0;
  curl_easy_getinfo(sink.handle, CURLINFO_RESPONSE_CODE, &status);
  if (status != 200) return size;
  return writeAll(sink.order.output.number(), bytes, size) == 0 ? size : 0;
}

void prepare(CURL* handle, const Order& order, const Headers& headers, Sink& sink) {
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "https");
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);  // each redirect is judged here first
  curl_easy_setopt(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(handle, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, order.timeout);
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, order.timeout);
  curl_easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(order.limit));
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, receive);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &sink);
}

}  // namespace

long transfer(const Order& order, std::string& reason) {
  if (!isAdmitted(order.address)) {
    reason = "not an https address";
    return 0;
  }
  const Handle handle(curl_easy_init());
  const Headers headers(curl_slist_append(curl_slist_append(nullptr, "Cache-Control: no-cache"), "Pragma: no-cache"));
  Sink sink{order, handle.get(), order.limit};
  prepare(handle.get(), order, headers, sink);

  std::string address = order.address;
  double spent = 0;
  for (int redirects = 0; redirects <= kMostRedirects; ++redirects) {
    const long left = order.wholeTimeout - static_cast<long>(spent);
    if (left <= 0) break;
    curl_easy_setopt(handle.get(), CURLOPT_TIMEOUT, left);
    curl_easy_setopt(handle.get(), CURLOPT_URL, address.c_str());
    sink.left = order.limit;  // a redirect may bring words of its own
    if (const CURLcode code = curl_easy_perform(handle.get()); code != CURLE_OK) {
      reason = curl_easy_strerror(code);
      return 0;
    }
    double seconds = 0;
    long status = 0;
    char* next = nullptr;
    curl_easy_getinfo(handle.get(), CURLINFO_TOTAL_TIME, &seconds);
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(handle.get(), CURLINFO_REDIRECT_URL, &next);
    if (!next) return status;
    const auto admitted = redirect(address, next);
    if (!admitted) {
      reason = "redirected elsewhere";
      return 0;
    }
    address = *admitted;
    spent += seconds;
  }
  reason = "redirected too often or for too long";
  return 0;
}

}  // namespace kestrelune::fetch
