#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Http.hpp"
#include "base/RunLoop.hpp"

namespace kestrelune {

/// Requests that exist only as what was asked for; a test says what comes back.
class FakeHttp final : public Http {
 public:
  struct Asked {
    HttpRequest request;
    std::string file;  ///< empty for one to memory
    Completed completed;
  };

  explicit FakeHttp(RunLoop& loop) : loop_(loop) {}

  void get(const HttpRequest& request, Completed completed) override {
    asked.push_back({request, "", std::move(completed)});
  }
  void download(const HttpRequest& request, const std::string& file, Completed completed) override {
    asked.push_back({request, file, std::move(completed)});
  }

  /// Answers the n-th request in a later pass of the loop. Without a response the transport failed.
  void answer(std::size_t n, const std::optional<HttpResponse>& response) {
    loop_.post([completed = std::exchange(asked.at(n).completed, nullptr), response] {
      if (completed) completed(response);
    });
  }

  std::vector<Asked> asked;

 private:
  RunLoop& loop_;
};

}  // namespace kestrelune
