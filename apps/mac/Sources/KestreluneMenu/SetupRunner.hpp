#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "BackgroundCommand.hpp"
#include "Runtime.hpp"
#include "SetupFiles.hpp"
#include "base/Lifetime.hpp"

namespace kestrelune {

/// The state of the one long command, the helper's own install. Main thread only.
class SetupRunner {
 public:
  struct State {
    enum class Case { idle, running, finished };
    Case kind = Case::idle;
    std::int32_t code = 0;  ///< of `finished`; whether it is a success is for the listener to say
    std::string lastLine;

    bool operator==(const State&) const = default;
  };

  SetupRunner(bool dryRun, ExecuteCommand execute, std::function<void(const std::string& line)> output)
      : dryRun_(dryRun), execute_(std::move(execute)), output_(std::move(output)) {}

  /// Called after every change of the state.
  std::function<void(const State&)> onChange;

  const State& state() const { return state_; }
  bool running() const { return state_.kind == State::Case::running; }

  /// Runs the install command of the helper in `files`. Does nothing while one runs; in a dry run only says so.
  void start(const HelperFiles& files, double timeout);
  /// Finishes without a command, for what failed before it could be started.
  void fail(const RuntimeError& error);

 private:
  void change(State state);

  bool dryRun_;
  ExecuteCommand execute_;
  std::function<void(const std::string&)> output_;
  State state_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
