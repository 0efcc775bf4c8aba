#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/Task.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// What is asked for: an https URL, without any cache. Redirects are followed within the same host only.
struct HttpRequest {
  Url url;
  double timeout = 60;       ///< seconds in which something must arrive
  double wholeTimeout = 60;  ///< seconds after which it must be whole
  std::int64_t limit = 0;    ///< bytes; a longer answer is a failure

  bool operator==(const HttpRequest&) const = default;
};

struct HttpResponse {
  int status = 0;
  std::string body;  ///< empty for a download
};

/// Reaches the network. A seam, so that what asks can be tried without one. Completions are called once, on the main
/// thread, never from within the call; without a response there is none to look at.
class Http {
 public:
  using Completed = std::function<void(const std::optional<HttpResponse>&)>;

  virtual ~Http() = default;
  virtual void get(const HttpRequest& request, Completed completed) = 0;
  /// Writes the body to `file`, which is made anew, readable by nobody else. A failure leaves no file.
  virtual void download(const HttpRequest& request, const std::string& file, Completed completed) = 0;
};

/// Each request in a short-lived child of its own, `program`, so that whatever parses what a network sends is never in
/// this process.
std::unique_ptr<Http> makeChildHttp(TaskLauncher& tasks, RunLoop& loop, Files& files, std::string program);

}  // namespace kestrelune
