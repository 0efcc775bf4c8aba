#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Messages.hpp"
#include "session/ScreenChannel.hpp"

namespace kestrelune {

/// The screen without a display: it takes the companion's lines, shows what they say as values, and can be used as a
/// person would. It may also end, stall or talk nonsense at any moment.
class SimulatedScreen {
 public:
  explicit SimulatedScreen(RunLoop& loop) : loop_(loop) {}

  /// Whether one could be started now.
  bool canStart = true;
  ScreenStarter starter();

  /// A screen is there, was greeted, and reacts.
  bool usable() const { return current_ && current_->greeted && !current_->stalled; }
  bool showsNothing() const;
  const std::map<std::string, View>& windows() const { return current_->windows; }
  const std::optional<messages::Ask>& question() const { return current_->question; }
  const std::optional<messages::ShowMenu>& menu() const { return current_->menu; }
  const std::optional<StatusItemLook>& icon() const { return current_->icon; }

  void clickIcon() { say(messages::StatusItemClicked{}); }
  void choose(const MenuChoice& choice);
  void answer(std::optional<int> button, const std::string& text);
  void close(const std::string& window);
  void say(const messages::Up& message);
  /// A line of whatever content.
  void sayLine(const std::string& line);
  /// It ends, whatever it showed; `cleanly`: it says so before.
  void end(bool cleanly);
  /// It takes no more than `room` bytes from now on, does nothing and says nothing.
  void stall(std::size_t room);
  void goOn();

 private:
  struct Process {
    ScreenChannel::Events events;
    std::string heard;  ///< not yet understood
    std::size_t room = 0;
    bool greeted = false, stalled = false, connected = true;
    std::map<std::string, View> windows;
    std::optional<messages::Ask> question;
    std::optional<messages::ShowMenu> menu;
    std::optional<StatusItemLook> icon;
  };
  class Channel;

  void understand(Process& process);
  void carryOut(Process& process, const messages::Down& message);
  void reply(Process& process, const messages::Up& message);

  RunLoop& loop_;
  std::shared_ptr<Process> current_;  ///< null: none runs
};

}  // namespace kestrelune
