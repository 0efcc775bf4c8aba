#pragma once

#include <functional>
#include <string_view>

#include "base/Descriptor.hpp"
#include "base/Files.hpp"
#include "base/Task.hpp"

/// What starting and reaping a child takes, for both ways of watching one.
namespace kestrelune::spawn {

/// A child that runs, with our ends of its captured streams. They never block.
struct Child {
  pid_t pid = 0;
  Descriptor handle;  ///< a pidfd: readable once the child has ended
  Descriptor output;
  Descriptor errors;
  bool endsWithUs = false;
};

Outcome<Child> start(const TaskRequest& request);

/// By its handle: once the child is collected, its number may be another's.
void signal(const Child& child, int number);

/// For our own end: see `TaskLauncher::leave`.
void leave(const Child& child);

/// Collects a child that has ended.
TaskEnd reap(const Child& child);

enum class Drained { more, nothingYet, ended };
/// Reads what a pipe holds now, at most 256 KiB of it.
Drained drain(const Descriptor& pipe, const std::function<void(std::string_view)>& take);

}  // namespace kestrelune::spawn
