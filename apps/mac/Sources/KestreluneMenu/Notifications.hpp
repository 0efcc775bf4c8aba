#pragma once

#include <functional>
#include <string>

#include "NoticeTracker.hpp"
#include "RuntimeActionRunner.hpp"
#include "base/Defaults.hpp"
#include "base/Lifetime.hpp"
#include "base/Session.hpp"

namespace kestrelune {

/// Turns notices into notifications of the desktop, and a click on one into its action. In a dry run it prints what it
/// would have announced.
class Notifications {
 public:
  static constexpr const char* kMutedKey = "notificationsMuted";

  struct Reach {
    RunLoop& loop;
    NotificationCenter& center;
    Defaults& defaults;
    std::function<void(const std::string&)> output;
  };

  Notifications(bool dryRun, ActionRunner& actions, Reach reach);

  void start();
  /// A notice that can't be delivered, or comes while notifications are muted, is lost.
  void send(const Notice& notice);

 private:
  void clicked(const std::string& identifier);

  const bool dryRun_;
  ActionRunner& actions_;
  Reach reach_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
