#include "RuntimeActionText.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "Endpoints.hpp"
#include "base/System.hpp"

namespace kestrelune::ActionText {
namespace {

constexpr const char* kTool = "~/.kestrelune/bin/kestrelune ";

template <class Range>
bool contains(const Range& range, const std::string& value) {
  return std::find(std::begin(range), std::end(range), value) != std::end(range);
}

std::string onOff(bool on) { return on ? "on" : "off"; }

std::string inBackground(const std::string& arguments) { return kTool + arguments + " (background)"; }

std::string signIn(const std::string& host) {
  if (host == "codex") return "open -b com.openai.codex";
  if (host == "claude") return "Terminal: claude auth login";
  if (host == "cursor") return "Terminal: cursor-agent login";
  if (host == "antigravity") return "open -a Antigravity";
  return "unsupported sign-in host";
}

std::string opening(const std::optional<Url>& url, const char* otherwise) {
  return url ? "open " + url->text() : otherwise;
}

std::string switching(const std::string& target, const std::string& to) {
  const auto switchable = Action::switchable(target);
  if (!switchable || (to != "off" && switchable->kind != "connection")) return "unsupported switch";
  return kTool + ("switch " + to + " " + switchable->kind + " " + switchable->name + " (requires confirmation)");
}

}  // namespace

std::string installCommand() { return "/bin/bash -c \"$(curl -fsSL " + std::string(endpoints::kInstallUrl) + ")\""; }

std::string updateCommand(const std::string& host) { return kTool + ("update-app " + host); }

std::string description(const Action& action) {
  const std::string& text = action.argument();
  switch (action.kind()) {
    case Action::Kind::signIn: return signIn(text);
    case Action::Kind::reconnect: return opening(Action::connectorURL(text), "unsupported connector");
    case Action::Kind::openLink: return opening(Action::appLink(text), "unsupported link");
    case Action::Kind::updateApp:
      return contains(Action::kUpdatable, text) ? "Terminal: " + updateCommand(text) : "unsupported update";
    case Action::Kind::window: return "window " + text;
    case Action::Kind::account: return "open " + Action::accountLink(text).text();
    case Action::Kind::switchOff: return switching(text, "off");
    case Action::Kind::readOnly: return switching(text, "read");
    case Action::Kind::shareTool:
      if (!contains(Action::kSharedTools, text)) return "unsupported tool";
      return inBackground("share-tools set " + text + " " + onOff(action.on()));
    case Action::Kind::workers:
      return contains(Action::kWorkerChoices, text) ? inBackground("workers " + text) : "unsupported worker setting";
    case Action::Kind::smallModel: return inBackground("small-model " + onOff(action.on()));
    case Action::Kind::autoDelegate: return inBackground("auto-delegate " + onOff(action.on()));
    case Action::Kind::editProfile:
      return Action::validExecutor(text) ? inBackground("profile set|clear " + text) : "unsupported profile";
    case Action::Kind::restart:
      return "launchctl kickstart -k gui/" + std::to_string(system::userId()) + "/com.kestrelune.helper";
    case Action::Kind::setup: return "Terminal: " + installCommand() + " (requires confirmation)";
    case Action::Kind::loginItem: return "SMAppService.mainApp toggle registration";
    case Action::Kind::quit: return "quit KestreluneMenu";
    case Action::Kind::updateAll: return inBackground("update-all");
    case Action::Kind::reportProblem: return kTool + std::string("report-problem (asks first)");
    case Action::Kind::shareToolsSeen: return inBackground("share-tools seen");
  }
  return "";
}

}  // namespace kestrelune::ActionText
