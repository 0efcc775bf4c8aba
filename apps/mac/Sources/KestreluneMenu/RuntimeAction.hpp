#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Url.hpp"

namespace kestrelune {

/// Everything that a menu line, a notification, a setup row or a window control can ask for. Its identifier is the text
/// that travels; reading one back checks each argument against closed tables, so that a text from elsewhere never
/// becomes more than one of these.
class Action {
 public:
  enum class Kind {
    signIn,        ///< argument: host, checked when performed
    reconnect,     ///< argument: family, checked when performed
    openLink,      ///< argument: a link that `appLink` accepts
    updateApp,     ///< argument: host
    window,        ///< argument: place
    account,       ///< argument: target, or empty
    switchOff,     ///< argument: target
    readOnly,      ///< argument: target
    shareTool,     ///< argument: tool, flag
    workers,       ///< argument: "auto" or a host
    smallModel,    ///< flag
    autoDelegate,  ///< flag
    editProfile,   ///< argument: executor id
    restart,
    setup,
    loginItem,
    quit,
    updateAll,
    reportProblem,
    shareToolsSeen,
  };

  static Action signIn(std::string host) { return {Kind::signIn, std::move(host)}; }
  static Action reconnect(std::string family) { return {Kind::reconnect, std::move(family)}; }
  static Action openLink(std::string link) { return {Kind::openLink, std::move(link)}; }
  static Action updateApp(std::string host) { return {Kind::updateApp, std::move(host)}; }
  static Action window(std::string place) { return {Kind::window, std::move(place)}; }
  static Action account(std::string target = "") { return {Kind::account, std::move(target)}; }
  static Action switchOff(std::string target) { return {Kind::switchOff, std::move(target)}; }
  static Action readOnly(std::string target) { return {Kind::readOnly, std::move(target)}; }
  static Action shareTool(std::string tool, bool on) { return {Kind::shareTool, std::move(tool), on}; }
  static Action workers(std::string choice) { return {Kind::workers, std::move(choice)}; }
  static Action smallModel(bool on) { return {Kind::smallModel, "", on}; }
  static Action autoDelegate(bool on) { return {Kind::autoDelegate, "", on}; }
  static Action editProfile(std::string executor) { return {Kind::editProfile, std::move(executor)}; }
  static Action restart() { return {Kind::restart}; }
  static Action setup() { return {Kind::setup}; }
  static Action loginItem() { return {Kind::loginItem}; }
  static Action quit() { return {Kind::quit}; }
  static Action updateAll() { return {Kind::updateAll}; }
  static Action reportProblem() { return {Kind::reportProblem}; }
  static Action shareToolsSeen() { return {Kind::shareToolsSeen}; }

  /// What a row with these does: its checked link, else its task in the main window, else the list of tasks.
  static Action open(const std::optional<std::string>& link, const std::optional<std::string>& task);

  /// Absent for anything but a well-formed identifier with admitted arguments.
  static std::optional<Action> parse(std::string_view identifier);
  std::string identifier() const;

  Kind kind() const { return kind_; }
  const std::string& argument() const { return argument_; }
  bool on() const { return on_; }

  bool operator==(const Action&) const = default;

  static constexpr std::array<std::string_view, 5> kSwitchableApps{"codex", "claude", "cursor", "t3code",
                                                                   "antigravity"};
  static constexpr std::array<std::string_view, 5> kSwitchableFamilies{"claude", "chatgpt", "cursor", "grok", "google"};
  static constexpr std::array<std::string_view, 4> kWorkerApps{"codex", "claude", "cursor", "t3code"};
  static constexpr std::array<std::string_view, 5> kWorkerChoices{"auto", "codex", "claude", "cursor", "t3code"};
  static constexpr std::array<std::string_view, 3> kUpdatable{"codex", "claude", "cursor"};
  static constexpr std::array<std::string_view, 4> kAppSchemes{"codex", "claude", "cursor", "grokbot"};
  static constexpr std::array<std::string_view, 4> kPlaces{"tasks", "ais", "macs", "general"};
  static constexpr std::array<std::string_view, 3> kSharedTools{"computer_use", "computer_history", "skills"};

  /// A page of the main window, or "task:" and the identifier of a task.
  static bool validPlace(std::string_view place);
  /// A UUID with dashes.
  static bool validExecutor(std::string_view executor);

  /// What can be switched off: "connection:claude" or "app:codex", taken apart.
  struct Target {
    std::string kind;  ///< "connection", "app"
    std::string name;

    bool operator==(const Target&) const = default;
  };
  static std::optional<Target> switchable(std::string_view value);

  /// A link of the helper that is safe to open: of an AI application, or of the service host over https, at most 512
  /// characters.
  static std::optional<Url> appLink(const std::optional<std::string>& link);
  /// The account page, at the target when it is one.
  static Url accountLink(const std::optional<std::string>& target);
  static Url accountURL();
  /// Where an AI service takes a new connector; absent for an unknown family.
  static std::optional<Url> connectorURL(std::string_view family);

 private:
  Action(Kind kind, std::string argument = "", bool on = false)
      : kind_(kind), argument_(std::move(argument)), on_(on) {}

  Kind kind_;
  std::string argument_;
  bool on_;
};

}  // namespace kestrelune
