#include <algorithm>
#include <string>
#include <vector>

#include "Menu.hpp"
#include "RuntimeAction.hpp"

namespace kestrelune {
namespace {

constexpr int kLeastWidth = 200, kLeastHeight = 100;

std::string menuRectLine(const Rect& rect) {
  const int numbers[] = {rect.x - 6, std::max(rect.y - 28, 0), rect.width + 12, rect.height + 40};
  std::string line = "MENU_RECT ";
  for (const int number : numbers) line += (line.ends_with(' ') ? "" : ",") + std::to_string(number);
  return line;
}

}  // namespace

void MenuController::exerciseActions() {
  if (!configuration_.dryRun) return;
  std::vector<Action> all;
  for (const char* family : {"claude", "chatgpt", "cursor", "grok", "google"}) all.push_back(Action::reconnect(family));
  all.insert(all.end(), {Action::account(), Action::account("connection:claude"), Action::restart(), Action::setup(),
                         Action::loginItem(), Action::reportProblem(), Action::quit()});
  for (const char* host : {"codex", "claude", "cursor"}) all.push_back(Action::signIn(host));
  all.insert(all.end(), {Action::updateApp("codex"), Action::updateAll(), Action::switchOff("connection:grok"),
                         Action::switchOff("app:codex"), Action::readOnly("connection:claude"), Action::workers("auto"),
                         Action::workers("codex"), Action::smallModel(false), Action::autoDelegate(true),
                         Action::editProfile("00000000-0000-4000-8000-000000000001")});
  for (const Action& action : all) actions_.perform(action);
}

void MenuController::logMenuBounds() {
  if (!configuration_.dryRun) return;
  outside_.session.windows().bounds([output = outside_.output](const std::vector<Rect>& frames) {
    for (const Rect& frame : frames)
      if (frame.width > kLeastWidth && frame.height > kLeastHeight) output(menuRectLine(frame));
  });
}

}  // namespace kestrelune
