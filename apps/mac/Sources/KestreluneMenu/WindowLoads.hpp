#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Clock.hpp"
#include "base/Lifetime.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// One kind of question to the helper, of which the last answer to come wins. Whoever asks again and again must not
/// pile up children, nor keep any from ending: at most two are asked at a time, and however many questions come
/// meanwhile, one more follows. A helper that hangs for ten seconds is ended by the next question.
class WindowLoads {
 public:
  /// Gets the whole output of a run that ended well; nothing is told of any other.
  using Answered = std::function<void(const std::string& output)>;

  WindowLoads(TaskLauncher& tasks, const Clock& clock, std::vector<std::string> arguments, Answered answered)
      : tasks_(tasks), clock_(clock), arguments_(std::move(arguments)), answered_(std::move(answered)) {}
  ~WindowLoads() { stop(); }

  void start(const std::string& helper);
  void stop();

 private:
  static constexpr std::size_t kMostAtATime = 2;
  static constexpr std::size_t kLongestAnswer = 256u << 20;
  static constexpr double kPatience = 10;

  struct Load {
    int id;
    double since;
    std::unique_ptr<Task> task;
  };

  void launch(const std::string& helper);
  void ended(int id);

  TaskLauncher& tasks_;
  const Clock& clock_;
  const std::vector<std::string> arguments_;
  const Answered answered_;
  std::deque<Load> loads_;
  std::optional<std::string> next_;  ///< the helper to ask when one has ended
  int lastId_ = 0;
  Lifetime lifetime_;
};

}  // namespace kestrelune
