#include "session/ScreenWindows.hpp"

#include <algorithm>
#include <utility>

#include "base/System.hpp"
#include "base/Text.hpp"
#include "session/SessionCopy.hpp"

namespace kestrelune {
namespace {

using namespace messages;

constexpr std::size_t kMostCrashes = 3;
constexpr double kCrashWindow = 30;
constexpr double kBlamed = 10;  ///< a crash later than that has another cause than the tree
constexpr double kApart = 1;    ///< between windows under suspicion

bool equalButFrame(WindowSpec a, const WindowSpec& b) {
  a.frame = b.frame;
  return a == b;
}

}  // namespace

ScreenWindows::ScreenWindows(RunLoop& loop, const Clock& clock, ScreenPort& port, ActivationToken& activation,
                             bool dryRun)
    : loop_(loop),
      clock_(clock),
      port_(port),
      activation_(activation),
      dryRun_(dryRun),
      listening_(port.listen({[this](const Ready&) { started(); }, [this](const Up& message) { received(message); },
                              [this] { lost(); }})) {}

ScreenWindows::Open* ScreenWindows::find(const std::string& id) {
  const auto found = open_.find(id);
  return found == open_.end() ? nullptr : &found->second;
}

void ScreenWindows::show(const WindowSpec& spec, const View& tree, Events events) {
  if (!port_.hasDisplay()) {
    if (!dryRun_) system::printLine(text::filled(session_copy::text(session_copy::Key::noDisplayWindow), {spec.title}));
    loop_.post(lifetime_.guarded([closed = std::move(events.closed)] {
      if (closed) closed();
    }));
    return;
  }
  if (Open* window = find(spec.id)) {
    window->events = std::move(events);
    if (equalButFrame(spec, window->spec) && tree == window->tree) return;
    const std::optional<Rect> frame = window->spec.frame;
    window->spec = spec;
    if (!spec.frame) window->spec.frame = frame;
    window->tree = tree;
    if (window->sent) send(spec.id, *window);
    return;
  }
  Open window;
  window.spec = spec;
  window.tree = tree;
  window.events = std::move(events);
  window.token = activation_.take();
  Open& kept = open_.insert_or_assign(spec.id, std::move(window)).first->second;
  if (port_.running())
    send(spec.id, kept);
  else
    port_.ensure();
}

void ScreenWindows::update(const std::string& id, const View& tree) {
  Open* window = find(id);
  if (!window || window->tree == tree) return;
  window->tree = tree;
  if (window->sent) send(id, *window);
}

void ScreenWindows::raise(const std::string& id) {
  Open* window = find(id);
  if (!window) return;
  std::string token = activation_.take();
  if (window->sent) return port_.send(RaiseWindow{id, std::move(token)});
  window->wantsRaise = true;
  if (!token.empty()) window->token = std::move(token);
}

void ScreenWindows::close(const std::string& id) {
  const auto found = open_.find(id);
  if (found == open_.end()) return;
  const bool sent = found->second.sent;
  open_.erase(found);
  if (sent) port_.send(CloseWindow{id});
}

void ScreenWindows::bounds(std::function<void(std::vector<Rect>)> answer) {
  if (!port_.running()) return loop_.post([answer = std::move(answer)] { answer({}); });
  const int id = ++boundsId_;
  boundsAsked_[id] = std::move(answer);
  port_.send(AskBounds{id});
}

void ScreenWindows::send(const std::string& id, Open& window) {
  lastSent_ = id;
  lastSentAt_ = clock_.uptime();
  window.sent = true;
  port_.send(ShowWindow{window.spec, window.tree, std::exchange(window.token, "")});
  if (std::exchange(window.wantsRaise, false)) port_.send(RaiseWindow{id, ""});
}

void ScreenWindows::started() {
  heldBack_.clear();
  for (auto& [id, window] : open_) {
    if (window.crashes.empty())
      send(id, window);
    else
      heldBack_.push_back(id);
  }
  std::stable_sort(heldBack_.begin(), heldBack_.end(), [this](const std::string& a, const std::string& b) {
    return open_.at(a).crashes.size() < open_.at(b).crashes.size();
  });
  if (heldBack_.size() == open_.size())
    sendNext();
  else if (!heldBack_.empty())
    next_ = loop_.after(kApart, [this] { sendNext(); });
}

void ScreenWindows::sendNext() {
  const Timer done = std::move(next_);
  while (!heldBack_.empty()) {
    const std::string id = std::move(heldBack_.front());
    heldBack_.pop_front();
    Open* window = find(id);
    if (!window || window->sent) continue;
    send(id, *window);
    break;
  }
  if (!heldBack_.empty()) next_ = loop_.after(kApart, [this] { sendNext(); });
}

void ScreenWindows::received(const Up& message) {
  if (const auto* event = std::get_if<WindowEvent>(&message)) {
    if (Open* window = find(event->window); window && window->events.event) {
      const auto handler = window->events.event;  // it may close the window
      handler(event->event);
    }
  } else if (const auto* closed = std::get_if<WindowClosed>(&message)) {
    // A tree may be on its way to the window that the user closed: it must not open a new one.
    if (Open* window = find(closed->window); window && window->sent) {
      port_.send(CloseWindow{closed->window});
      closedByItself(closed->window);
    }
  } else if (const auto* frame = std::get_if<WindowFrame>(&message)) {
    if (Open* window = find(frame->window)) {
      window->spec.frame = frame->frame;
      const auto handler = window->events.frameChanged;
      if (handler) handler(frame->frame);
    }
  } else if (const auto* bounds = std::get_if<Bounds>(&message)) {
    if (auto asked = boundsAsked_.extract(bounds->id)) asked.mapped()(bounds->frames);
  }
}

void ScreenWindows::closedByItself(const std::string& id) {
  auto window = open_.extract(id);
  if (!window.empty() && window.mapped().events.closed) window.mapped().events.closed();
}

void ScreenWindows::lost() {
  next_.reset();
  heldBack_.clear();
  for (auto& [id, window] : open_) window.sent = false;
  const auto asked = std::exchange(boundsAsked_, {});
  for (const auto& [id, answer] : asked) answer({});
  blame();
  if (!open_.empty()) port_.ensure();
}

void ScreenWindows::blame() {
  const std::string id = std::exchange(lastSent_, "");
  Open* window = find(id);
  const double now = clock_.uptime();
  if (!window || now - lastSentAt_ > kBlamed) return;
  window->crashes.push_back(now);
  while (now - window->crashes.front() > kCrashWindow) window->crashes.pop_front();
  if (window->crashes.size() >= kMostCrashes) closedByItself(id);
}

}  // namespace kestrelune
