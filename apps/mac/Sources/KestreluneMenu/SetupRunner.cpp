#include "SetupRunner.hpp"

#include <utility>

#include "base/System.hpp"

namespace kestrelune {

void SetupRunner::start(const HelperFiles& files, double timeout) {
  if (running()) return;
  if (dryRun_) {
    output_("DRY_RUN setup");
    return;
  }
  change({State::Case::running, 0, ""});
  const HelperCommand command{
      files.node().path(), {files.helper().path(), "install", "--in-app"}, system::environment()};
  execute_(command, timeout, lifetime_.guarded([this](const HelperCommandResult& result) {
    change({State::Case::finished, result.code, result.lastLine});
  }));
}

void SetupRunner::fail(const RuntimeError& error) {
  change({State::Case::finished, HelperCommandResult::kNotStarted, error.description()});
}

void SetupRunner::change(State state) {
  state_ = std::move(state);
  if (onChange) onChange(state_);
}

}  // namespace kestrelune
