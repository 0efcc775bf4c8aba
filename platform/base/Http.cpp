#include "base/Http.hpp"

#include <charconv>
#include <cmath>
#include <utility>

#include "base/Surroundings.hpp"
#include "base/System.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

std::string wholeSeconds(double seconds) { return std::to_string(static_cast<std::int64_t>(std::ceil(seconds))); }

class ChildHttp final : public Http {
 public:
  ChildHttp(TaskLauncher& tasks, RunLoop& loop, Files& files, std::string program)
      : tasks_(tasks), loop_(loop), files_(files), program_(std::move(program)) {}

  void get(const HttpRequest& request, Completed completed) override { start(request, "", std::move(completed)); }

  void download(const HttpRequest& request, const std::string& file, Completed completed) override {
    start(request, file, [this, file, completed = std::move(completed)](const std::optional<HttpResponse>& response) {
      if (!response) files_.unlink(file);
      completed(response);
    });
  }

 private:
  void start(const HttpRequest& request, const std::string& file, Completed completed) {
    TaskRequest task;
    task.executable = program_;
    task.arguments = {request.url.text(), std::to_string(request.limit), wholeSeconds(request.timeout),
                      wholeSeconds(request.wholeTimeout)};
    task.environment = surroundings::proxies(system::environment());
    if (!file.empty()) task.arguments.push_back(file);
    task.output = TaskRequest::Stream::capture;
    task.errors = TaskRequest::Stream::capture;
    task.endsWithUs = true;
    task.captureLimit = static_cast<std::size_t>(request.limit) + 1;
    const auto child = tasks_.launch(task, [completed, limit = request.limit](const TaskEnd& end) {
      completed(responseOf(end, static_cast<std::size_t>(limit)));
    });
    if (!child) loop_.post([completed = std::move(completed)] { completed(std::nullopt); });
  }

  /// The child ends with 0 for any response of a server, whose status it tells on standard error.
  static std::optional<HttpResponse> responseOf(const TaskEnd& end, std::size_t limit) {
    if (end.reason != TaskEnd::Reason::exited || end.status != 0 || end.output.size() > limit) return std::nullopt;
    const std::string number = text::trimmed(end.errors);
    HttpResponse response;
    const auto [rest, error] = std::from_chars(number.data(), number.data() + number.size(), response.status);
    if (error != std::errc{} || rest != number.data() + number.size()) return std::nullopt;
    response.body = end.output;
    return response;
  }

  TaskLauncher& tasks_;
  RunLoop& loop_;
  Files& files_;
  const std::string program_;
};

}  // namespace

std::unique_ptr<Http> makeChildHttp(TaskLauncher& tasks, RunLoop& loop, Files& files, std::string program) {
  return std::make_unique<ChildHttp>(tasks, loop, files, std::move(program));
}

}  // namespace kestrelune
