#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Fakes/FakeLoop.hpp"
#include "Input.hpp"
#include "session/ScreenAlert.hpp"
#include "session/ScreenLink.hpp"
#include "session/ScreenWindows.hpp"

using namespace kestrelune;

namespace {

constexpr std::size_t kMostRounds = 300;

/// What there is of a screen that the input speaks for; outlives the channel to it.
struct Peer {
  ScreenChannel::Events events;
  std::string heard;
  std::size_t room = std::string::npos;
  bool gone = false;
};

class Channel final : public ScreenChannel {
 public:
  explicit Channel(std::shared_ptr<Peer> peer) : peer_(std::move(peer)) {}
  ~Channel() override { peer_->gone = true; }
  std::size_t write(std::string_view bytes) override {
    fuzz::require(!peer_->gone, "nothing is said to a screen that is gone");
    const std::size_t taken = std::min(bytes.size(), peer_->room);
    peer_->heard += bytes.substr(0, taken);
    if (peer_->room != std::string::npos) peer_->room -= taken;
    return taken;
  }
  void kill() override { peer_->gone = true; }

 private:
  std::shared_ptr<Peer> peer_;
};

/// The companion's side of the screen, and what a user of it asked for.
class Companion {
 public:
  explicit Companion(std::string_view input) : rest_(input) {}

  void live() {
    for (std::size_t round = 0; round < kMostRounds && !rest_.empty(); ++round) {
      step();
      loop_.turn();
      check();
    }
    // Two screens that end with a question cancel it, so all are answered in the end.
    for (std::size_t more = 0; more < 2 * questions_.size() + 2; ++more) {
      loop_.pass(61);
      say(messages::Ready{});
      end();
      loop_.turn();
    }
    for (const int answers : questions_) fuzz::require(answers == 1, "each question is answered once");
    check();
  }

 private:
  std::uint8_t next() {
    const auto byte = rest_.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(rest_.front());
    rest_.remove_prefix(rest_.empty() ? 0 : 1);
    return byte;
  }
  std::string window() { return next() % 2 == 0 ? "main" : "setup"; }

  void step() {
    switch (next() % 16) {
      case 0: return link_.ensure();
      case 1: return say(messages::Ready{});
      case 2: return say(messages::Answered{next() % 4, next() % 3, "x"});
      case 3: return say(messages::WindowEvent{window(), {.node = "close"}});
      case 4: return say(messages::WindowClosed{window()});
      case 5: return say(messages::WindowFrame{window(), {1, 2, 3, 4}});
      case 6: return say(messages::Idle{});
      case 7: return sayLine();
      case 8: return end();
      case 9: return stall();
      case 10: return loop_.pass(next() / 4.0);
      case 11: return ask();
      case 12: return show();
      case 13: return windows_.update(window(), {.kind = View::Kind::text, .text = std::string(next(), 'y')});
      case 14: return windows_.close(window());
      default:
        return windows_.bounds([answered = std::make_shared<int>()](const std::vector<Rect>&) {
          fuzz::require(++*answered == 1, "each question for bounds is answered once");
        });
    }
  }

  void say(const messages::Up& message) {
    std::string line = messages::encode(message);
    line.pop_back();
    hear(line);
  }
  void sayLine() {
    const std::size_t length = std::min<std::size_t>(next(), rest_.size());
    const std::string line(rest_.substr(0, length));
    rest_.remove_prefix(length);
    hear(line);
  }
  /// An event may come from a screen that was given up a moment ago.
  void hear(const std::string& line) {
    if (const auto peer =
            peers_.empty() ? nullptr : peers_[peers_.size() - 1 - next() % std::min<std::size_t>(2, peers_.size())])
      peer->events.line(line);
  }
  void end() {
    if (!peers_.empty()) peers_.back()->events.ended();
  }
  void stall() {
    if (peers_.empty()) return;
    peers_.back()->room = next() % 2 == 0 ? next() : std::string::npos;
    if (peers_.back()->room > 0) peers_.back()->events.writable();
  }
  void ask() {
    const std::size_t number = questions_.size();
    questions_.push_back(0);
    // No two are equal, since an equal one is only raised.
    alert_.ask({.title = std::to_string(number), .buttons = {"Yes", "No"}},
               [this, number](const Answer&) { ++questions_[number]; });
  }
  void show() {
    const std::string id = window();
    windows_.show({.id = id}, {.kind = View::Kind::text, .text = "x"},
                  {.event = [this, id](const ViewEvent&) { windows_.close(id); }, .closed = [] {}});
  }

  void check() const {
    for (const int answers : questions_) fuzz::require(answers <= 1, "no question is answered twice");
    for (const auto& peer : peers_) {
      std::string_view rest = peer->heard;
      for (std::size_t feed; (feed = rest.find('\n')) != std::string_view::npos; rest.remove_prefix(feed + 1)) {
        const auto message = messages::decodeDown(rest.substr(0, feed));
        const bool first = rest.size() == peer->heard.size();
        fuzz::require(std::holds_alternative<messages::Hello>(message) == first, "a screen is greeted once, and first");
      }
    }
  }

  std::string_view rest_;
  FakeClock clock_;
  FakeLoop loop_{clock_};
  std::vector<std::shared_ptr<Peer>> peers_;
  std::vector<int> questions_;  ///< how often each was answered
  ScreenLink link_{loop_,
                   clock_,
                   [this](ScreenChannel::Events events) -> std::unique_ptr<ScreenChannel> {
                     peers_.push_back(std::make_shared<Peer>());
                     peers_.back()->events = std::move(events);
                     return std::make_unique<Channel>(peers_.back());
                   },
                   {true, true},
                   "en"};
  ActivationToken activation_{clock_};
  ScreenAlert alert_{loop_, link_, activation_};
  ScreenWindows windows_{loop_, clock_, link_, activation_};
};

}  // namespace

/// A screen that may say, do and leave anything, while the companion asks and shows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Companion(fuzz::text(data, size)).live();
  return 0;
}
