#pragma once

#include <memory>

#include "base/RunLoop.hpp"

struct sd_event;

namespace kestrelune {

class BackgroundThreads;
class PostBox;

/// The run loop on sd-event. Timers may fire a little late, by a fiftieth of their time and at most a quarter of a
/// second, so that those which fall due close together wake the process once. An exception that leaves a callback
/// ends `run`, which throws it on.
///
/// Destroying the loop drops background work that hasn't begun and waits for what has.
class SessionRunLoop final : public RunLoop {
 public:
  SessionRunLoop();
  ~SessionRunLoop() override;

  void post(Work work) override;
  [[nodiscard]] Timer after(double seconds, Work work) override;
  [[nodiscard]] Timer every(double seconds, Work work) override;
  void background(Work work) override;
  [[nodiscard]] std::unique_ptr<Subscription> watch(int descriptor, Work work) override;
  [[nodiscard]] std::unique_ptr<Subscription> onSignal(int signal, Work work) override;
  void run() override;
  void stop() override;
  [[nodiscard]] bool finish(double seconds) override;

  /// For the bus to attach itself to.
  sd_event* event() const { return event_; }

 private:
  sd_event* event_ = nullptr;
  std::unique_ptr<PostBox> posted_;
  std::unique_ptr<BackgroundThreads> threads_;
  bool stopped_ = false;
};

}  // namespace kestrelune
