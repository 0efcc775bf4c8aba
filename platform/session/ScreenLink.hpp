#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Clock.hpp"
#include "base/Lifetime.hpp"
#include "session/Listeners.hpp"
#include "session/ScreenChannel.hpp"
#include "session/ScreenOutbox.hpp"
#include "session/ScreenPort.hpp"

namespace kestrelune {

/// The one way to the screen: starts it when something must be shown, agrees on the version, and holds to it that it
/// may die, hang, talk nonsense or without an end, or read nothing, at any moment. A screen that ended in disorder is
/// started again, on the next `ensure`, after a wait that doubles from half a second to a minute and is forgotten once
/// a screen served a minute.
class ScreenLink final : public ScreenPort {
 public:
  /// What the environment tells of the display.
  struct Display {
    bool exists = false;
    bool placesPopups = false;
    static Display of(const Environment& environment);
  };

  ScreenLink(RunLoop& loop, const Clock& clock, ScreenStarter starter, Display display, std::string language);
  ~ScreenLink() override;

  /// Shows everything on another display from now on, or, with `sameDisplay`, goes on there if it is still to be had.
  /// Earlier failures are forgotten.
  void move(ScreenStarter starter, Display display, bool sameDisplay);

  bool hasDisplay() const override { return display_.exists; }
  bool running() const override { return ready_; }
  bool placesPopups() const override { return display_.placesPopups; }
  void ensure() override;
  void send(messages::Down message) override;
  [[nodiscard]] std::unique_ptr<Subscription> listen(Handlers handlers) override;

 private:
  enum class Reason { idle, disorder, foreign };

  void start();
  void received(std::string_view line);
  void becameReady(const messages::Ready& ready);
  void ended(Reason reason);
  void dispose(std::unique_ptr<ScreenChannel> channel, Reason reason);
  void check();
  void flush();

  RunLoop& loop_;
  const Clock& clock_;
  ScreenStarter starter_;
  Display display_;
  std::string language_;
  bool toldXwayland_ = false;

  std::unique_ptr<ScreenChannel> channel_;
  std::uint64_t run_ = 0;  ///< counts the screens, so that an event of an earlier one is known as such
  bool ready_ = false;
  double readySince_ = 0;
  ScreenOutbox outbox_;
  std::string line_;  ///< the line being written
  std::size_t written_ = 0;
  int heard_ = 0;            ///< messages since the last check
  bool owesAnswer_ = false;  ///< the screen was asked and hasn't answered since
  Timer checks_;

  double delay_ = 0;
  double notBefore_ = 0;
  Timer restart_;
  std::vector<std::unique_ptr<ScreenChannel>> gone_;  ///< freed in a later pass: an event of theirs may be under way
  std::unique_ptr<ScreenChannel> ending_;             ///< one that said it would end
  Timer patience_;
  Listeners<Handlers> listeners_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
