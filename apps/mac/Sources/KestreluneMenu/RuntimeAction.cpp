#include "RuntimeAction.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "Endpoints.hpp"
#include "base/Json.hpp"
#include "base/Text.hpp"

namespace kestrelune {

namespace {

constexpr std::size_t kLongestLink = 512;
constexpr std::size_t kLongestTaskId = 64;
constexpr std::string_view kUnreserved = "-._~";

template <class Table>
bool contains(const Table& table, std::string_view value) {
  return std::find(table.begin(), table.end(), value) != table.end();
}

std::optional<std::string_view> rest(std::string_view text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return std::nullopt;
  return text.substr(prefix.size());
}

std::vector<std::string_view> piecesBetweenColons(std::string_view text) {
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(':'), text.size());
    if (end > 0) pieces.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return pieces;
}

std::optional<Action> parseShareTool(std::string_view identifier) {
  const std::vector<std::string_view> pieces = piecesBetweenColons(identifier);
  if (pieces.size() != 3 || !contains(Action::kSharedTools, pieces[1])) return std::nullopt;
  if (pieces[2] != "on" && pieces[2] != "off") return std::nullopt;
  return Action::shareTool(std::string(pieces[1]), pieces[2] == "on");
}

std::optional<Action> parseExact(std::string_view identifier) {
  // "dashboard" is what notifications of earlier versions carry.
  static const std::pair<std::string_view, Action> kExact[] = {
      {"account", Action::account()},
      {"dashboard", Action::account()},
      {"restart", Action::restart()},
      {"reportProblem", Action::reportProblem()},
      {"setup", Action::setup()},
      {"loginItem", Action::loginItem()},
      {"quit", Action::quit()},
      {"updateAll", Action::updateAll()},
      {"shareToolsSeen", Action::shareToolsSeen()},
      {"smallModel:on", Action::smallModel(true)},
      {"smallModel:off", Action::smallModel(false)},
      {"autoDelegate:on", Action::autoDelegate(true)},
      {"autoDelegate:off", Action::autoDelegate(false)},
  };
  for (const auto& [text, action] : kExact) {
    if (text == identifier) return action;
  }
  return std::nullopt;
}

bool isHexOrDash(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == '-';
}

}  // namespace

std::string Action::identifier() const {
  const std::string state = on_ ? ":on" : ":off";
  switch (kind_) {
    case Kind::signIn: return "signIn:" + argument_;
    case Kind::reconnect: return "reconnect:" + argument_;
    case Kind::openLink: return "open:" + argument_;
    case Kind::updateApp: return "update:" + argument_;
    case Kind::window: return "window:" + argument_;
    case Kind::account: return argument_.empty() ? "account" : "account:" + argument_;
    case Kind::switchOff: return "off:" + argument_;
    case Kind::readOnly: return "read:" + argument_;
    case Kind::shareTool: return "shareTool:" + argument_ + state;
    case Kind::workers: return "workers:" + argument_;
    case Kind::smallModel: return "smallModel" + state;
    case Kind::autoDelegate: return "autoDelegate" + state;
    case Kind::editProfile: return "profile:" + argument_;
    case Kind::restart: return "restart";
    case Kind::setup: return "setup";
    case Kind::loginItem: return "loginItem";
    case Kind::quit: return "quit";
    case Kind::updateAll: return "updateAll";
    case Kind::reportProblem: return "reportProblem";
    case Kind::shareToolsSeen: return "shareToolsSeen";
  }
  return "";
}

std::optional<Action> Action::parse(std::string_view identifier) {
  if (auto exact = parseExact(identifier)) return exact;
  if (identifier.starts_with("shareTool:")) return parseShareTool(identifier);
  if (const auto host = rest(identifier, "signIn:")) return signIn(std::string(*host));
  if (const auto family = rest(identifier, "reconnect:")) return reconnect(std::string(*family));
  if (const auto host = rest(identifier, "update:")) {
    if (contains(kUpdatable, *host)) return updateApp(std::string(*host));
  }
  if (const auto link = rest(identifier, "open:")) {
    if (appLink(std::string(*link))) return openLink(std::string(*link));
  }
  if (const auto place = rest(identifier, "window:")) {
    if (validPlace(*place)) return window(std::string(*place));
  }
  if (const auto target = rest(identifier, "account:")) {
    if (switchable(*target)) return account(std::string(*target));
  }
  if (const auto target = rest(identifier, "off:")) {
    if (switchable(*target)) return switchOff(std::string(*target));
  }
  if (const auto target = rest(identifier, "read:")) {
    // An application can't be read only.
    const std::optional<Target> parts = switchable(*target);
    if (parts && parts->kind == "connection") return readOnly(std::string(*target));
  }
  if (const auto choice = rest(identifier, "workers:")) {
    if (contains(kWorkerChoices, *choice)) return workers(std::string(*choice));
  }
  if (const auto executor = rest(identifier, "profile:")) {
    if (validExecutor(*executor)) return editProfile(std::string(*executor));
  }
  return std::nullopt;
}

Action Action::open(const std::optional<std::string>& link, const std::optional<std::string>& task) {
  if (link && appLink(link)) return openLink(*link);
  if (task && validPlace("task:" + *task)) return window("task:" + *task);
  return window("tasks");
}

bool Action::validPlace(std::string_view place) {
  if (contains(kPlaces, place)) return true;
  const std::optional<std::string_view> task = rest(place, "task:");
  return task && !task->empty() && task->size() <= kLongestTaskId &&
         std::all_of(task->begin(), task->end(), isHexOrDash);
}

bool Action::validExecutor(std::string_view executor) { return text::isUuid(executor); }

std::optional<Action::Target> Action::switchable(std::string_view value) {
  const std::size_t colon = value.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const std::string_view kind = value.substr(0, colon);
  const std::string_view name = value.substr(colon + 1);
  if ((kind == "connection" && contains(kSwitchableFamilies, name)) ||
      (kind == "app" && contains(kSwitchableApps, name))) {
    return Target{std::string(kind), std::string(name)};
  }
  return std::nullopt;
}

std::optional<Url> Action::appLink(const std::optional<std::string>& link) {
  if (!link || text::hasAtLeast(*link, kLongestLink + 1)) return std::nullopt;
  std::optional<Url> url = Url::parse(*link);
  if (!url || !url->scheme()) return std::nullopt;
  const std::string scheme = text::lowercased(*url->scheme());
  if (contains(kAppSchemes, scheme)) return url;
  if (scheme != "https" || url->user()) return std::nullopt;
  if (text::lowercased(url->host().value_or("")) != text::lowercased(endpoints::kServiceHost)) return std::nullopt;
  return url;
}

Url Action::accountURL() { return Url::parse(endpoints::kAccountUrl).value_or(Url{}); }

Url Action::accountLink(const std::optional<std::string>& target) {
  const std::optional<Target> parts = target ? switchable(*target) : std::nullopt;
  if (!parts) return accountURL();
  return Url::parse(std::string(endpoints::kAccountUrl) + "?ai=" + parts->name + "#ais").value_or(accountURL());
}

std::optional<Url> Action::connectorURL(std::string_view family) {
  const std::string mcp = endpoints::kMcpUrl;
  const auto web = [](const char* host, const std::string& path) {
    return Url::parse("https://" + std::string(host) + path);
  };
  if (family == "claude") {
    return web(endpoints::kClaudeHost,
               "/customize/connectors?modal=add-custom-connector&connectorName=Kestrelune&connectorUrl=" +
                   text::percentEncoded(mcp, kUnreserved));
  }
  if (family == "chatgpt") return web(endpoints::kChatGptHost, "/#settings");
  if (family == "cursor") {
    const std::string config = text::base64(Json(Json::Object{{"url", mcp}}).write());
    // A plus sign would be read as a blank; the other characters of base64 stand as they are in a query.
    return Url::parse(std::string(endpoints::kCursorInstall) +
                      "?name=kestrelune&config=" + text::percentEncoded(config, "=/"));
  }
  if (family == "grok") return web(endpoints::kGrokHost, "/connectors");
  if (family == "google") return Url::parse(endpoints::kAntigravityApp);
  return std::nullopt;
}

}  // namespace kestrelune
