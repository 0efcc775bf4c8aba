#include "WindowLoads.hpp"

#include <csignal>

namespace kestrelune {

void WindowLoads::start(const std::string& helper, const std::vector<std::string>& arguments,
                        const std::function<void(const std::string&)>& answered) {
  if (loads_.size() == kMostAtATime) {
    loads_.front().task->signal(SIGKILL);
    loads_.pop_front();
  }
  TaskRequest request{.executable = helper,
                      .arguments = arguments,
                      .output = TaskRequest::Stream::capture,
                      .captureLimit = kLongestAnswer};
  const int id = ++lastId_;
  auto launched = tasks_.launch(request, lifetime_.guarded([this, id, answered](const TaskEnd& end) {
    ended(id);
    if (end.reason == TaskEnd::Reason::exited && end.status == 0) answered(end.output);
  }));
  if (launched) loads_.push_back({id, std::move(launched.value)});
}

void WindowLoads::ended(int id) {
  std::erase_if(loads_, [id](const Load& load) { return load.id == id; });
}

void WindowLoads::stop() {
  for (Load& load : loads_) load.task->signal(SIGKILL);
  loads_.clear();
}

}  // namespace kestrelune
