#include "SetupFlow.hpp"

#include <algorithm>
#include <utility>

#include "Endpoints.hpp"
#include "MenuPlan.hpp"
#include "SetupCopy.hpp"
#include "Strings.hpp"
#include "base/Text.hpp"

namespace kestrelune {

namespace {

using SetupCopy::Key;

// What may stand in a query, without the characters that mean something there.
constexpr std::string_view kQueryAllowed = "!$'()*,-./:;@_~";
constexpr std::size_t kProjectsNamed = 2;
/// The applications of this computer that can take a first task, in the order in which they are offered.
constexpr std::string_view kFirstTaskApps[] = {"codex", "claude", "cursor"};

bool isWorker(std::string_view host) {
  return std::find(std::begin(kFirstTaskApps), std::end(kFirstTaskApps), host) != std::end(kFirstTaskApps);
}

SetupAppRow outdatedRow(const HostApp& app, const std::string& name) {
  SetupAppRow row;
  row.host = *app.host;
  row.title = SetupCopy::filled(Key::outdatedTitle, {name});
  row.kind = SetupAppRow::Kind::needsUpdate;
  row.action = MenuPlan::updateAction(app);
  const std::string version = app.version.value_or("");
  const std::string plan = app.account ? app.account->plan.value_or("") : "";
  if (version.empty()) {
    row.detail = row.title;
  } else if (plan.empty()) {
    row.detail = SetupCopy::filled(Key::outdatedDetail, {version});
  } else {
    row.detail = SetupCopy::filled(Key::outdatedDetailPlan, {plan, version});
  }
  return row;
}

SetupAppRow rowByState(const HostApp& app, const std::string& name) {
  using Kind = SetupAppRow::Kind;
  const std::string& host = *app.host;
  if (app.state == "ready") {
    return {host, name, app.accountLine().value_or(SetupCopy::text(Key::signedInDetail)), Kind::ready, {}};
  }
  if (app.state == "signed_out") {
    std::optional<Action> action;
    if (isWorker(host)) action = Action::signIn(host);
    return {host, SetupCopy::filled(Key::signedOutTitle, {name}), SetupCopy::filled(Key::signedOutDetail, {name}),
            Kind::signedOut, action};
  }
  if (app.state == "usage_limited") return {host, name, SetupCopy::text(Key::limitedDetail), Kind::limited, {}};
  // Looks like an outdated one on purpose; what helps is in the application itself, so there is no button.
  if (app.state == "model_unavailable") return {host, name, SetupCopy::text(Key::modelDetail), Kind::needsUpdate, {}};
  if (app.state == "not_installed") {
    return {host,
            SetupCopy::filled(Key::notInstalled, {name}),
            SetupCopy::filled(Key::notInstalledDetail, {name}),
            Kind::notInstalled,
            {}};
  }
  return {host, name, SetupCopy::text(Key::unknownDetail), Kind::unknown, {}};
}

}  // namespace

std::optional<std::string> SetupAppRow::actionTitle() const {
  if (!action) return std::nullopt;
  if (action->kind() == Action::Kind::updateApp) return SetupCopy::text(Key::updateNow);
  if (action->kind() != Action::Kind::signIn) return std::nullopt;
  // That application is updated from within, where its sign-in leads.
  const bool updates = kind == Kind::needsUpdate && action->argument() == "codex";
  return SetupCopy::text(updates ? Key::updateNow : Key::signInApp);
}

std::string_view rawValue(SetupAppRow::Kind kind) {
  switch (kind) {
    case SetupAppRow::Kind::ready: return "ready";
    case SetupAppRow::Kind::needsUpdate: return "needsUpdate";
    case SetupAppRow::Kind::signedOut: return "signedOut";
    case SetupAppRow::Kind::limited: return "limited";
    case SetupAppRow::Kind::notInstalled: return "notInstalled";
    case SetupAppRow::Kind::unknown: return "unknown";
  }
  return "";
}

std::string_view rawValue(SetupStep step) {
  switch (step) {
    case SetupStep::account: return "account";
    case SetupStep::ai: return "ai";
    case SetupStep::mac: return "mac";
  }
  return "";
}

bool SetupFlow::accountDone(const Snapshot& snapshot) {
  return snapshot.signal != Signal::red && snapshot.status && snapshot.status->state == "running";
}

bool SetupFlow::connected(std::string_view id, const Snapshot& snapshot) {
  if (!snapshot.status || !snapshot.status->connections) return false;
  const std::vector<Connection>& connections = *snapshot.status->connections;
  return std::any_of(connections.begin(), connections.end(), [id](const Connection& connection) {
    return connection.family == id && connection.state == "connected";
  });
}

SetupStep SetupFlow::firstOpenStep(const Snapshot& snapshot) {
  if (!accountDone(snapshot)) return SetupStep::account;
  const bool any = std::any_of(kAssistants.begin(), kAssistants.end(),
                               [&snapshot](std::string_view id) { return connected(id, snapshot); });
  return any ? SetupStep::mac : SetupStep::ai;
}

std::optional<SetupAppRow> SetupFlow::row(const HostApp& app) {
  if (app.host.value_or("").empty()) return std::nullopt;
  const std::string name = app.name ? *app.name : Copy::appName(*app.host);
  return app.outdated == true ? outdatedRow(app, name) : rowByState(app, name);
}

std::vector<SetupAppRow> SetupFlow::rows(const Snapshot& snapshot) {
  std::vector<SetupAppRow> rows;
  if (!snapshot.status || !snapshot.status->apps) return rows;
  for (const HostApp& app : *snapshot.status->apps) {
    if (std::optional<SetupAppRow> found = row(app)) rows.push_back(std::move(*found));
  }
  return rows;
}

std::optional<std::string> SetupFlow::projectsLine(const std::optional<HelperStatus>& status) {
  if (!status || !status->projects) return std::nullopt;
  std::vector<std::string> names;
  for (const std::string& project : *status->projects) {
    if (std::string name = text::trimmed(project); !name.empty()) names.push_back(std::move(name));
  }
  if (names.empty()) return std::nullopt;
  std::string joined = names.size() > 1 ? names[0] + ", " + names[1] : names[0];
  if (names.size() > kProjectsNamed) {
    const auto others = static_cast<long long>(names.size() - kProjectsNamed);
    joined = SetupCopy::filled(Key::projectsMore, {joined, others});
  }
  return SetupCopy::filled(Key::projectsFound, {joined});
}

std::string SetupFlow::tileDetail(std::string_view id) {
  if (id == "claude") return SetupCopy::text(Key::tileClaude);
  if (id == "chatgpt") return SetupCopy::text(Key::tileChatGPT);
  if (id == "cursor") return SetupCopy::text(Key::tileCursor);
  if (id == "google") return SetupCopy::text(Key::tileGoogle);
  return SetupCopy::text(Key::tileGrok);
}

std::optional<std::string> SetupFlow::guide(std::string_view id) {
  if (id == "chatgpt") return SetupCopy::text(Key::guideChatGPT);
  if (id == "grok") return SetupCopy::text(Key::guideGrok);
  if (id == "cursor") return SetupCopy::text(Key::guideCursor);
  if (id == "google") return SetupCopy::text(Key::guideGoogle);
  return std::nullopt;
}

std::optional<std::string> SetupFlow::clipboard(std::string_view id) {
  const std::string address = endpoints::kMcpUrl;
  if (id == "chatgpt" || id == "google") return address;
  if (id == "grok") {
    return "Add a custom MCP server named Kestrelune with the URL " + address + " and authorize it.";
  }
  return std::nullopt;
}

Url SetupFlow::grokBotApp() { return Url::parse(endpoints::kGrokBotApp).value_or(Url{}); }

bool SetupFlow::isInstalled(std::string_view bundlePath, std::string_view home) {
  const bool inHome = bundlePath == "~" || bundlePath.starts_with("~/");
  const std::string full = inHome ? std::string(home) + std::string(bundlePath.substr(1)) : std::string(bundlePath);
  const std::string path = Url::file(full).standardized().path();
  if (path.find("/AppTranslocation/") != std::string::npos) return false;
  const std::string own = Url::file(home).appending("Applications").path() + "/";
  return path.starts_with("/Applications/") || path.starts_with(own);
}

std::string SetupFlow::firstTaskApp(const std::vector<SetupAppRow>& rows) {
  for (const std::string_view host : kFirstTaskApps) {
    for (const SetupAppRow& row : rows) {
      // A task given to a limited application only waits for it.
      const bool takesTasks = row.kind == SetupAppRow::Kind::ready || row.kind == SetupAppRow::Kind::limited;
      if (row.host == host && takesTasks) return Copy::appName(host);
    }
  }
  return Copy::appName("codex");
}

std::optional<Url> SetupFlow::firstTaskURL(const std::optional<std::string>& chosen, const std::string& sentence) {
  std::string page;
  if (chosen == "claude") page = std::string("https://") + endpoints::kClaudeHost + "/new?q=";
  if (chosen == "chatgpt") page = std::string("https://") + endpoints::kChatGptHost + "/?q=";
  if (page.empty()) return std::nullopt;
  return Url::parse(page + text::percentEncoded(sentence, kQueryAllowed));
}

}  // namespace kestrelune
