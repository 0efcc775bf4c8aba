#include "session/ScreenLink.hpp"

#include <algorithm>
#include <utility>

#include "base/System.hpp"
#include "session/SessionCopy.hpp"

namespace kestrelune {
namespace {

using namespace messages;

constexpr double kFirstDelay = 0.5;
constexpr double kLongestDelay = 60;
constexpr double kProven = 60;            ///< seconds of service after which earlier failures are forgotten
constexpr double kCheckPeriod = 30;       ///< a screen that answers nothing for that long hangs
constexpr double kPatience = 5;           ///< for a screen that said it would end
constexpr int kMostHeard = 10'000;        ///< messages between two checks; a window that is dragged sends some thousand
constexpr std::size_t kMostWaiting = 64;  ///< messages that a screen which reads would have taken long ago
/// Numbers the questions by which the link sees that the screen lives; others count from 1.
constexpr int kLinkId = 0;

}  // namespace

ScreenLink::Display ScreenLink::Display::of(const Environment& environment) {
  const auto has = [&](const char* name) {
    const auto found = environment.find(name);
    return found != environment.end() && !found->second.empty();
  };
  const bool x11 = has("DISPLAY"), wayland = has("WAYLAND_DISPLAY");
  return {x11 || wayland, x11 && !wayland};
}

ScreenLink::ScreenLink(RunLoop& loop, const Clock& clock, ScreenStarter starter, Display display, std::string language)
    : loop_(loop), clock_(clock), starter_(std::move(starter)), display_(display), language_(std::move(language)) {}

ScreenLink::~ScreenLink() {
  // One that never came up or hangs would not see that its connection ends.
  if (channel_ && (!ready_ || owesAnswer_)) channel_->kill();
  send(Quit{});
}

std::unique_ptr<Subscription> ScreenLink::listen(Handlers handlers) { return listeners_.add(std::move(handlers)); }

void ScreenLink::ensure() {
  if (!display_.exists || channel_ || restart_) return;
  const double wait = notBefore_ - clock_.uptime();
  if (wait <= 0) return start();
  restart_ = loop_.after(wait, [this] {
    const Timer done = std::move(restart_);
    start();
  });
}

void ScreenLink::start() {
  const std::uint64_t run = ++run_;
  const auto ofThisRun = [this, run](auto event) {
    return [this, run, event](auto... arguments) {
      if (run == run_ && channel_) event(arguments...);
    };
  };
  outbox_.clear();
  line_.clear();
  written_ = 0;
  heard_ = 0;
  channel_ = starter_({ofThisRun([this](std::string_view line) { received(line); }), ofThisRun([this] { flush(); }),
                       ofThisRun([this] { ended(Reason::disorder); })});
  if (!channel_) {
    loop_.post(lifetime_.guarded([this, run] {
      if (run == run_ && !channel_) ended(Reason::disorder);
    }));
    return;
  }
  owesAnswer_ = true;
  checks_ = loop_.every(kCheckPeriod, [this] { check(); });
  outbox_.add(Hello{kVersion, language_});
  flush();
}

void ScreenLink::move(ScreenStarter starter, Display display, bool sameDisplay) {
  starter_ = std::move(starter);
  display_ = display;
  delay_ = notBefore_ = 0;
  restart_.reset();
  // Who has something to show asks for a screen again when it is lost.
  if (channel_ && !sameDisplay) return ended(Reason::disorder);
  if (!channel_)
    listeners_.each([](const Handlers& handlers) {
      if (handlers.lost) handlers.lost();
    });
}

void ScreenLink::check() {
  heard_ = 0;
  if (owesAnswer_) return ended(Reason::disorder);
  owesAnswer_ = true;
  send(AskBounds{kLinkId});
}

void ScreenLink::received(std::string_view line) {
  if (++heard_ > kMostHeard) return ended(Reason::disorder);
  Up message;
  try {
    message = decodeUp(line);
  } catch (const JsonError&) {
    return ended(Reason::disorder);
  }
  const Ready* ready = std::get_if<Ready>(&message);
  if ((ready != nullptr) == ready_) return ended(Reason::disorder);
  if (ready) return ready->version == kVersion ? becameReady(*ready) : ended(Reason::foreign);
  if (std::holds_alternative<Idle>(message)) return ended(Reason::idle);
  if (const Bounds* bounds = std::get_if<Bounds>(&message); bounds && bounds->id == kLinkId) {
    owesAnswer_ = false;
    return;
  }
  listeners_.each([&](const Handlers& handlers) {
    if (handlers.received) handlers.received(message);
  });
}

void ScreenLink::becameReady(const Ready& ready) {
  ready_ = true;
  readySince_ = clock_.uptime();
  owesAnswer_ = false;
  display_.placesPopups = ready.placesPopups;
  if (ready.throughXwayland && !std::exchange(toldXwayland_, true))
    system::printLine(session_copy::text(session_copy::Key::throughXwayland));
  listeners_.each([&](const Handlers& handlers) {
    if (handlers.started) handlers.started(ready);
  });
}

void ScreenLink::ended(Reason reason) {
  auto channel = std::move(channel_);
  checks_.reset();
  outbox_.clear();
  const bool served = std::exchange(ready_, false) && clock_.uptime() - readySince_ >= kProven;
  if (reason == Reason::idle || served) delay_ = 0;
  if (reason == Reason::disorder) delay_ = std::clamp(delay_ * 2, kFirstDelay, kLongestDelay);
  if (reason == Reason::foreign) delay_ = kLongestDelay;
  notBefore_ = clock_.uptime() + delay_;
  if (channel) dispose(std::move(channel), reason);
  listeners_.each([](const Handlers& handlers) {
    if (handlers.lost) handlers.lost();
  });
}

void ScreenLink::dispose(std::unique_ptr<ScreenChannel> channel, Reason reason) {
  if (reason == Reason::idle) {
    std::swap(ending_, channel);
    patience_ = loop_.after(kPatience, [this] {
      const Timer done = std::move(patience_);
      ending_->kill();
      ending_.reset();
    });
  }
  if (!channel) return;
  channel->kill();
  gone_.push_back(std::move(channel));
  loop_.post(lifetime_.guarded([this] { gone_.clear(); }));
}

void ScreenLink::send(Down message) {
  if (!ready_) return;
  outbox_.add(std::move(message));
  flush();
  if (outbox_.size() <= kMostWaiting) return;
  outbox_.clear();
  // Whoever sends may not be ready to hear that the screen is lost.
  loop_.post(lifetime_.guarded([this, run = run_] {
    if (run == run_ && channel_) ended(Reason::disorder);
  }));
}

void ScreenLink::flush() {
  for (;;) {
    if (written_ == line_.size()) {
      const std::optional<Down> message = outbox_.next();
      written_ = 0;
      line_ = message ? encode(*message) : "";
      if (!message) return;
      if (line_.size() > kLongestLine) {
        system::printLine("Screen: something to show is too large");
        line_.clear();
        continue;
      }
    }
    written_ += channel_->write(std::string_view(line_).substr(written_));
    if (written_ < line_.size()) return;
  }
}

}  // namespace kestrelune
