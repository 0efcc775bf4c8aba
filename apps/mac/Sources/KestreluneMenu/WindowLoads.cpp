#include "WindowLoads.hpp"

#include <csignal>

namespace kestrelune {

void WindowLoads::start(const std::string& helper) {
  if (loads_.size() < kMostAtATime) return launch(helper);
  if (clock_.uptime() - loads_.front().since < kPatience) {
    next_ = helper;
    return;
  }
  loads_.front().task->signal(SIGKILL);
  loads_.pop_front();
  launch(helper);
}

void WindowLoads::launch(const std::string& helper) {
  TaskRequest request{.executable = helper,
                      .arguments = arguments_,
                      .output = TaskRequest::Stream::capture,
                      .endsWithUs = true,
                      .captureLimit = kLongestAnswer};
  const int id = ++lastId_;
  auto launched = tasks_.launch(request, lifetime_.guarded([this, id](const TaskEnd& end) {
    ended(id);
    if (end.reason == TaskEnd::Reason::exited && end.status == 0) answered_(end.output);
  }));
  if (launched) loads_.push_back({id, clock_.uptime(), std::move(launched.value)});
}

void WindowLoads::ended(int id) {
  std::erase_if(loads_, [id](const Load& load) { return load.id == id; });
  if (const auto helper = std::exchange(next_, std::nullopt)) start(*helper);
}

void WindowLoads::stop() {
  next_.reset();
  for (Load& load : loads_) load.task->signal(SIGKILL);
  loads_.clear();
}

}  // namespace kestrelune
