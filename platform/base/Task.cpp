#include "base/Task.hpp"

#include <signal.h>

#include <set>
#include <string_view>
#include <utility>

#include "base/TaskSpawn.hpp"

namespace kestrelune {
namespace {

/// A captured stream: what is kept of it, and the watch that drains it.
struct Capture {
  std::string kept;
  std::unique_ptr<Subscription> watch;
};

void keep(std::string& kept, std::string_view piece, std::size_t limit) {
  if (kept.size() < limit) kept.append(piece.substr(0, limit - kept.size()));
}

struct RunningChild {
  spawn::Child child;
  std::size_t limit = 0;
  TaskLauncher::Ended ended;
  Capture output, errors;
  std::unique_ptr<Subscription> end;
  bool running = true;

  void drain(const Descriptor& pipe, Capture& capture) {
    if (!pipe) return;
    const auto result = spawn::drain(pipe, [&](std::string_view piece) { keep(capture.kept, piece, limit); });
    if (result == spawn::Drained::ended) capture.watch.reset();
  }

  void signal(int number) const {
    if (running) spawn::signal(child, number);
  }
};

class ChildTask final : public Task {
 public:
  explicit ChildTask(std::shared_ptr<RunningChild> child) : child_(std::move(child)) {}
  pid_t pid() const override { return child_->child.pid; }
  bool running() const override { return child_->running; }
  void terminate() override { child_->signal(SIGTERM); }
  void signal(int number) override { child_->signal(number); }

 private:
  std::shared_ptr<RunningChild> child_;
};

class SpawnLauncher final : public TaskLauncher {
 public:
  explicit SpawnLauncher(RunLoop& loop) : loop_(loop) {}
  ~SpawnLauncher() override {
    // A `Task` that outlives us keeps its record, which must not watch a loop that is gone.
    for (const auto& child : children_) {
      child->end.reset();
      child->output.watch.reset();
      child->errors.watch.reset();
    }
  }

  Outcome<std::unique_ptr<Task>> launch(const TaskRequest& request, Ended ended) override {
    Outcome<spawn::Child> started = spawn::start(request);
    if (!started) return {nullptr, started.error};
    auto child = std::make_shared<RunningChild>();
    child->child = std::move(started.value);
    child->limit = request.captureLimit;
    child->ended = std::move(ended);
    children_.insert(child);
    watchStreams(*child);
    child->end = loop_.watch(child->child.handle.number(), [this, raw = child.get()] { finish(*raw); });
    return {std::make_unique<ChildTask>(std::move(child)), 0};
  }

  void leave() override {
    for (const auto& child : children_) spawn::leave(child->child);
  }

 private:
  void watchStreams(RunningChild& child) {
    const auto watch = [&](const Descriptor& pipe, Capture& capture) {
      if (pipe) capture.watch = loop_.watch(pipe.number(), [&child, &pipe, &capture] { child.drain(pipe, capture); });
    };
    watch(child.child.output, child.output);
    watch(child.child.errors, child.errors);
  }

  void finish(RunningChild& raw) {
    const std::shared_ptr<RunningChild> child = taken(raw);
    child->running = false;
    child->end.reset();
    TaskEnd end = spawn::reap(child->child);
    child->drain(child->child.output, child->output);
    child->drain(child->child.errors, child->errors);
    child->output.watch.reset();
    child->errors.watch.reset();
    end.output = std::move(child->output.kept);
    end.errors = std::move(child->errors.kept);
    child->child.handle.reset();
    child->child.output.reset();
    child->child.errors.reset();
    if (const Ended ended = std::exchange(child->ended, nullptr)) ended(end);
  }

  std::shared_ptr<RunningChild> taken(RunningChild& raw) {
    for (auto it = children_.begin(); it != children_.end(); ++it)
      if (it->get() == &raw) {
        std::shared_ptr<RunningChild> child = *it;
        children_.erase(it);
        return child;
      }
    return nullptr;
  }

  RunLoop& loop_;
  std::set<std::shared_ptr<RunningChild>> children_;
};

}  // namespace

std::unique_ptr<TaskLauncher> makeTaskLauncher(RunLoop& loop) { return std::make_unique<SpawnLauncher>(loop); }

}  // namespace kestrelune
