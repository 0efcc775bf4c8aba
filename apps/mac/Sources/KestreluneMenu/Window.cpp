#include "Window.hpp"

#include <cmath>
#include <cstdint>
#include <utility>

#include "RuntimeAction.hpp"
#include "Strings.hpp"
#include "base/Json.hpp"

namespace kestrelune {
namespace {

constexpr double kWidth = 640, kHeight = 600;
constexpr double kLeastWidth = 420, kLeastHeight = 380;
constexpr double kRestSeconds = 1;

double minuteOf(Date now) { return std::floor(now.seconds / 60); }

}  // namespace

MainWindowController::MainWindowController(const Configuration& configuration, const Outside& outside,
                                           ActionRunner& actions)
    : outside_(outside), model_(configuration, outside, actions) {
  model_.onChange = [this] { redrawSoon(); };
}

void MainWindowController::show(const std::string& place, const Snapshot& snapshot) {
  model_.setSnapshot(snapshot);
  model_.setPlace(Action::validPlace(place) ? place : "tasks");
  model_.setCopied(false);
  model_.loadHistory();
  model_.loadSchedules();
  model_.loadProblem();
  draw();
  const WindowSpec spec{.id = kWindowId,
                        .title = Copy::text(Copy::Key::windowTitle),
                        .width = kWidth,
                        .height = kHeight,
                        .minWidth = kLeastWidth,
                        .minHeight = kLeastHeight,
                        .resizable = true,
                        .frame = savedFrame()};
  Windows& windows = outside_.session.windows();
  windows.show(spec, drawn_.tree,
               {.event = lifetime_.guarded([this](const ViewEvent& event) { handle(event); }),
                .closed = lifetime_.guarded([this] { saveFrame(); }),
                .frameChanged = lifetime_.guarded([this](const Rect& frame) { frameChanged(frame); })});
  windows.raise(kWindowId);
}

bool MainWindowController::isVisible() const { return outside_.session.windows().isVisible(kWindowId); }

void MainWindowController::follow(const Snapshot& snapshot) {
  model_.setSnapshot(snapshot);
  if (model_.state().problemRunning) model_.loadProblem();
  if (drawnMinute_ != minuteOf(outside_.clock.now())) redrawSoon();
}

void MainWindowController::draw() {
  const Date now = outside_.clock.now();
  drawnMinute_ = minuteOf(now);
  drawn_ = WindowViews::mainView(model_.state(), model_.lists(now), now);
}

/// One redraw in a later pass, however many values change in this one.
void MainWindowController::redrawSoon() {
  if (redrawing_) return;
  redrawing_ = true;
  outside_.loop.post(lifetime_.guarded([this] {
    redrawing_ = false;
    if (!isVisible()) return;
    draw();
    outside_.session.windows().update(kWindowId, drawn_.tree);
  }));
}

void MainWindowController::handle(const ViewEvent& event) {
  const auto found = drawn_.handlers.find(event.node);
  if (found == drawn_.handlers.end()) return;
  // What it does may draw anew, and with that replace the handlers.
  const auto handler = found->second;
  handler(model_, event.value);
}

std::optional<Rect> MainWindowController::savedFrame() const {
  const auto saved = outside_.defaults.data(kFrameKey);
  if (!saved) return std::nullopt;
  try {
    std::vector<std::int32_t> numbers;
    decodeJson(Json::parse(*saved), numbers);
    if (numbers.size() != 4) return std::nullopt;
    return Rect{numbers[0], numbers[1], numbers[2], numbers[3]};
  } catch (const JsonError&) {
    return std::nullopt;
  }
}

void MainWindowController::stop() {
  saveFrame();
  model_.stop();
}

/// A window that is dragged changes often; only where it comes to rest is kept.
void MainWindowController::frameChanged(const Rect& frame) {
  unsaved_ = frame;
  saving_ = outside_.loop.after(kRestSeconds, [this] { saveFrame(); });
}

void MainWindowController::saveFrame() {
  const auto frame = std::exchange(unsaved_, std::nullopt);
  if (!frame || savedFrame() == frame) return;
  outside_.defaults.setData(kFrameKey, Json(Json::Array{frame->x, frame->y, frame->width, frame->height}).write());
}

}  // namespace kestrelune
