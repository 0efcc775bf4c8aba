#pragma once

#include <functional>
#include <memory>

#include "base/Messages.hpp"
#include "base/RunLoop.hpp"

namespace kestrelune {

/// The way to the screen, shared by everything that has something to show. Each member of the session keeps what it
/// wants shown; a screen that was started, for the first time or after a crash, is told of it anew.
///
/// The usual shape of a member:
///     if (port.running()) port.send(message); else port.ensure();      // `started` sends it then
class ScreenPort {
 public:
  struct Handlers {
    /// A screen is ready and shows nothing yet. `running` is true from here on.
    std::function<void(const messages::Ready&)> started;
    /// Any message but `Ready`, in the order in which it was sent. Members ignore what isn't theirs.
    std::function<void(const messages::Up&)> received;
    /// The screen ended or crashed, or couldn't be started: what it showed is gone. Who still wants something calls
    /// `ensure`.
    std::function<void()> lost;
  };

  virtual ~ScreenPort() = default;
  /// There is a display on which a screen can be started.
  virtual bool hasDisplay() const = 0;
  virtual bool running() const = 0;
  /// A menu can be opened at a place of our choice. Before a screen ran: as far as the environment tells.
  virtual bool placesPopups() const = 0;
  /// Starts a screen unless one runs or is being started; after a crash it waits before it does, longer each time.
  /// Does nothing without a display. Never calls a handler from within.
  virtual void ensure() = 0;
  /// To the running screen; dropped when there is none. Never blocks: what a slow screen hasn't taken waits here, of
  /// several trees for one window, looks of the icon, or rows of one menu only the newest.
  virtual void send(messages::Down message) = 0;
  /// Handlers are called on the main thread for as long as the subscription is kept.
  [[nodiscard]] virtual std::unique_ptr<Subscription> listen(Handlers handlers) = 0;
};

}  // namespace kestrelune
