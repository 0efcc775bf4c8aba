#include "BackgroundCommandRunner.hpp"

#include <memory>
#include <utility>

#include "Strings.hpp"
#include "base/System.hpp"
#include "base/Task.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kMostBytes = 8192;
constexpr std::size_t kMostCharacters = 8192;

using Completed = std::function<void(const HelperCommandResult&)>;

std::string cleaned(std::string_view line) { return text::trimmed(text::repairedUtf8(line)); }

TaskRequest requestFor(const HelperCommand& command) {
  TaskRequest request;
  request.executable = command.executable;
  request.arguments = command.arguments;
  request.environment = command.environment;
  request.endsWithUs = command.endsWithUs;
  return request;
}

HelperCommandResult resultOf(const WatchedEnd& ended, std::string lastLine) {
  if (!ended.timedOut) return {ended.end.status, std::move(lastLine)};
  if (lastLine.empty()) lastLine = Copy::text(Copy::Key::setupTimeout);
  return {HelperCommandResult::kTimedOut, std::move(lastLine)};
}

/// For the background; the result is made, and everything that came along let go, on the main thread.
void watch(RunLoop& loop, WatchedTask& task, double timeout, Completed completed) {
  LastLine output;
  WatchedEnd ended = task.watch(timeout, [&](std::string_view piece) { output.add(piece); });
  loop.post([ended = std::move(ended), lastLine = output.text(), completed = std::move(completed)] {
    completed(resultOf(ended, lastLine));
  });
}

}  // namespace

void LastLine::add(std::string_view piece) {
  rest_.append(piece);
  if (const std::size_t end = rest_.rfind('\n'); end != std::string::npos) {
    // From the last one back: only the first that isn't empty is wanted.
    std::string_view lines = std::string_view(rest_).substr(0, end);
    while (true) {
      const std::size_t before = lines.rfind('\n');
      const std::string line = cleaned(lines.substr(before + 1));
      if (!line.empty()) last_ = text::lastCharacters(line, kMostCharacters);
      if (!line.empty() || before == std::string_view::npos) break;
      lines = lines.substr(0, before);
    }
    rest_.erase(0, end + 1);
  }
  if (rest_.size() > kMostBytes) rest_.erase(0, rest_.size() - kMostBytes);
}

std::string LastLine::text() const {
  std::string line = cleaned(rest_);
  return line.empty() ? last_ : line;
}

ExecuteCommand HelperCommandRunner::executor() const {
  return [&loop = loop_, running = running_](const HelperCommand& command, double timeout, Completed completed) {
    const Outcome<std::shared_ptr<WatchedTask>> started = startWatched(requestFor(command));
    if (!started) {
      loop.post([error = started.error, completed = std::move(completed)] {
        completed({HelperCommandResult::kNotStarted, system::errorText(error)});
      });
      return;
    }
    std::erase_if(*running, [](const auto& task) { return task.expired(); });
    running->push_back(started.value);
    loop.background([&loop, task = started.value, timeout, completed = std::move(completed)]() mutable {
      watch(loop, *task, timeout, std::move(completed));
    });
  };
}

void HelperCommandRunner::leave() const {
  for (const auto& weak : *running_)
    if (const auto task = weak.lock()) task->leave();
}

}  // namespace kestrelune
