#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Clock.hpp"
#include "base/Lifetime.hpp"
#include "base/Session.hpp"
#include "session/ActivationToken.hpp"
#include "session/ScreenPort.hpp"

namespace kestrelune {

/// The program's windows on the screen. What is open here is told to each screen anew. A window whose tree ended the
/// screen three times in 30 seconds is closed, with its event: after a crash the windows that are under suspicion are
/// sent last and one by one, so that the guilty one is known.
class ScreenWindows final : public Windows {
 public:
  ScreenWindows(RunLoop& loop, const Clock& clock, ScreenPort& port, ActivationToken& activation, bool dryRun = false);

  /// Without a display a line on standard output tells, and `closed` follows. A dry run keeps to its own lines.
  void show(const WindowSpec& spec, const View& tree, Events events) override;
  void update(const std::string& id, const View& tree) override;
  void raise(const std::string& id) override;
  void close(const std::string& id) override;
  bool isVisible(const std::string& id) const override { return open_.contains(id); }
  void bounds(std::function<void(std::vector<Rect>)> answer) override;

 private:
  struct Open {
    WindowSpec spec;
    View tree;
    Events events;
    bool sent = false;
    bool wantsRaise = false;
    std::string token;
    std::deque<double> crashes;  ///< times at which its tree ended a screen, the latest
  };

  void started();
  void received(const messages::Up& message);
  void lost();
  void blame();
  void send(const std::string& id, Open& window);
  void sendNext();
  Open* find(const std::string& id);
  void closedByItself(const std::string& id);

  RunLoop& loop_;
  const Clock& clock_;
  ScreenPort& port_;
  ActivationToken& activation_;
  const bool dryRun_;
  std::map<std::string, Open> open_;
  std::deque<std::string> heldBack_;  ///< still to be sent, the least suspect first
  Timer next_;
  std::string lastSent_;  ///< whose tree the screen got last
  double lastSentAt_ = 0;
  int boundsId_ = 0;
  std::map<int, std::function<void(std::vector<Rect>)>> boundsAsked_;
  std::unique_ptr<Subscription> listening_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
