#include "App.hpp"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <utility>

#include "Runtime.hpp"
#include "base/System.hpp"

namespace kestrelune {
namespace {

constexpr double kMenuClickSeconds = 0.5;
constexpr double kMenuBoundsSeconds = 2.0;

/// The whole text as a number, or nothing.
template <class Number>
std::optional<Number> parsed(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  Number number{};
  const char* end = text->data() + text->size();
  const bool signedPlus = text->starts_with('+') && !text->starts_with("+-");
  const auto [rest, error] = std::from_chars(text->data() + (signedPlus ? 1 : 0), end, number);
  if (error != std::errc{} || rest != end) return std::nullopt;
  return number;
}

std::optional<SetupStep> setupStep(const std::optional<std::string>& text) {
  switch (parsed<int>(text).value_or(0)) {
    case 1: return SetupStep::account;
    case 2: return SetupStep::ai;
    case 3: return SetupStep::mac;
    default: return std::nullopt;
  }
}

}  // namespace

std::optional<Configuration> launchConfiguration(const Environment& environment) {
  try {
    return Configuration::resolve(environment);
  } catch (const RuntimeError&) {
    system::printErrorLine(Configuration::kRefusal);
    return std::nullopt;
  }
}

AppDelegate::AppDelegate(Configuration configuration, Outside outside, std::vector<std::string> arguments)
    : configuration_(std::move(configuration)), outside_(std::move(outside)), arguments_(std::move(arguments)) {}

void AppDelegate::applicationDidFinishLaunching() {
  controller_ = std::make_unique<MenuController>(configuration_, outside_);
  hookSignals();
  if (!controller_->setup().needsMoveIntoApp()) controller_->background().start();
  controller_->setup().start(controller_->snapshot());
  controller_->schedule(SetupController::kCheckPeriod, [this] { controller_->setup().checkForUpdates(); });
  controller_->appUpdater().start();
  if (configuration_.dryRun) handleArguments();
}

void AppDelegate::applicationWillTerminate() {
  if (controller_) controller_->stop();
}

void AppDelegate::hookSignals() {
  for (const int number : {SIGTERM, SIGINT, SIGHUP})
    signals_.push_back(outside_.loop.onSignal(number, [this] { terminate(); }));
}

void AppDelegate::terminate() {
  controller_->item().cancelTracking();
  outside_.loop.stop();
}

void AppDelegate::handleArguments() {
  if (has("--exercise-actions")) controller_->exerciseActions();
  if (has("--show-setup")) controller_->showSetupWindow(setupStep(valueAfter("--show-setup")));
  if (const auto seconds = parsed<double>(valueAfter("--quit-after")))
    timers_.push_back(outside_.loop.after(*seconds, [this] { terminate(); }));
  if (has("--show-menu")) {
    timers_.push_back(outside_.loop.after(kMenuClickSeconds, [this] { controller_->item().openMenu(); }));
    timers_.push_back(outside_.loop.after(kMenuBoundsSeconds, [this] { controller_->logMenuBounds(); }));
  }
}

bool AppDelegate::has(const std::string& name) const {
  return std::find(arguments_.begin(), arguments_.end(), name) != arguments_.end();
}

std::optional<std::string> AppDelegate::valueAfter(const std::string& name) const {
  const auto found = std::find(arguments_.begin(), arguments_.end(), name);
  if (found == arguments_.end() || found + 1 == arguments_.end()) return std::nullopt;
  return *(found + 1);
}

}  // namespace kestrelune
