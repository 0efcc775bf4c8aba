#pragma once

#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/RunLoop.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// Children that exist only as what was asked for. A test says how each one ends; `autoEnd` ends each at once.
class FakeTaskLauncher final : public TaskLauncher {
 public:
  struct Child {
    TaskRequest request;
    Ended ended;
    pid_t pid = 0;
    bool running = true;
    std::vector<int> signals;
  };

  explicit FakeTaskLauncher(RunLoop& loop) : loop_(loop) {}

  Outcome<std::unique_ptr<Task>> launch(const TaskRequest& request, Ended ended) override {
    if (launchError != 0) return {nullptr, launchError};
    auto child = std::make_shared<Child>();
    child->request = request;
    child->ended = std::move(ended);
    child->pid = static_cast<pid_t>(4000 + children.size());
    children.push_back(child);
    if (autoEnd) end(children.size() - 1, *autoEnd);
    return {std::make_unique<Handle>(child), 0};
  }
  void leave() override {}

  /// Ends a child; its end is told in a later pass of the loop.
  void end(std::size_t index, TaskEnd how) {
    const auto child = children.at(index);
    if (!std::exchange(child->running, false)) return;
    loop_.post([child, how = std::move(how)] {
      if (child->ended) child->ended(how);
    });
  }

  /// The command line of a child, joined with blanks.
  std::string commandLine(std::size_t index) const {
    const TaskRequest& request = children.at(index)->request;
    std::string line = request.executable;
    for (const std::string& argument : request.arguments) line += " " + argument;
    return line;
  }

  std::vector<std::shared_ptr<Child>> children;
  int launchError = 0;
  std::optional<TaskEnd> autoEnd;

 private:
  struct Handle final : Task {
    explicit Handle(std::shared_ptr<Child> held) : child(std::move(held)) {}
    pid_t pid() const override { return child->pid; }
    bool running() const override { return child->running; }
    void terminate() override { child->signals.push_back(SIGTERM); }
    void signal(int number) override { child->signals.push_back(number); }
    std::shared_ptr<Child> child;
  };

  RunLoop& loop_;
};

}  // namespace kestrelune
