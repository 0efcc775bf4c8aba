#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Lifetime.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// One kind of question to the helper, of which the last answer to come wins. A helper that hangs must not pile up
/// children: at most two are asked at a time, and a third ends the oldest.
class WindowLoads {
 public:
  explicit WindowLoads(TaskLauncher& tasks) : tasks_(tasks) {}
  ~WindowLoads() { stop(); }

  /// `answered` gets the whole output of a run that ended well; nothing is told of any other.
  void start(const std::string& helper, const std::vector<std::string>& arguments,
             const std::function<void(const std::string& output)>& answered);
  void stop();

 private:
  static constexpr std::size_t kMostAtATime = 2;
  static constexpr std::size_t kLongestAnswer = 256u << 20;

  struct Load {
    int id;
    std::unique_ptr<Task> task;
  };

  void ended(int id);

  TaskLauncher& tasks_;
  std::deque<Load> loads_;
  int lastId_ = 0;
  Lifetime lifetime_;
};

}  // namespace kestrelune
