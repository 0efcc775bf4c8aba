#include "Status.hpp"

#include <cstddef>

#include "base/Text.hpp"

namespace kestrelune {

namespace {

constexpr std::size_t kLongAddress = 29;
constexpr std::size_t kAddressKept = 27;

}  // namespace

std::optional<std::string> HostApp::accountLine() const {
  const AppAccount known = account.value_or(AppAccount{});
  const std::string parts[] = {
      text::shortened(known.email.value_or(""), kLongAddress, kAddressKept),
      known.plan.value_or(""),
      "v" + version.value_or(""),
  };
  std::string line;
  for (const std::string& part : parts) {
    if (part.empty() || part == "v") continue;
    if (!line.empty()) line += " · ";
    line += part;
  }
  if (line.empty()) return std::nullopt;
  return line;
}

std::string Attention::identity() const {
  if (taskId) return *taskId;
  if (scheduleId) return *scheduleId;
  return label.value_or("") + "\x1f" + title.value_or("") + "\x1f" + kind.value_or("") + "\x1f" + line.value_or("");
}

void decodeJson(const Json& json, AppAccount& record) {
  requireObject(json);
  decodeMember(json, "email", record.email);
  decodeMember(json, "plan", record.plan);
}

void decodeJson(const Json& json, PlanUsage::Window& record) {
  requireObject(json);
  decodeMember(json, "kind", record.kind);
  decodeMember(json, "used", record.used);
  decodeMember(json, "resets_at", record.resetsAt);
}

void decodeJson(const Json& json, PlanUsage::Period& record) {
  requireObject(json);
  decodeMember(json, "tokens", record.tokens);
  decodeMember(json, "usd", record.usd);
  decodeMember(json, "unpriced", record.unpriced);
}

void decodeJson(const Json& json, PlanUsage::ModelUse& record) {
  requireObject(json);
  decodeMember(json, "model", record.model);
  decodeMember(json, "tokens", record.tokens);
  decodeMember(json, "usd", record.usd);
}

void decodeJson(const Json& json, PlanUsage::Tokens& record) {
  requireObject(json);
  decodeMember(json, "today", record.today);
  decodeMember(json, "week", record.week);
  decodeMember(json, "month", record.month);
  decodeMember(json, "top", record.top);
}

void decodeJson(const Json& json, PlanUsage& record) {
  requireObject(json);
  decodeMember(json, "left", record.left);
  decodeMember(json, "resets_at", record.resetsAt);
  decodeMember(json, "windows", record.windows);
  decodeMember(json, "tokens", record.tokens);
}

void decodeJson(const Json& json, HostApp& record) {
  requireObject(json);
  decodeMember(json, "host", record.host);
  decodeMember(json, "name", record.name);
  decodeMember(json, "state", record.state);
  decodeMember(json, "checkedAt", record.checkedAt);
  decodeMember(json, "limitedUntil", record.limitedUntil);
  decodeMember(json, "model", record.model);
  decodeMember(json, "account", record.account);
  decodeMember(json, "version", record.version);
  decodeMember(json, "outdated", record.outdated);
  decodeMember(json, "update", record.update);
  decodeMember(json, "power", record.power);
  decodeMember(json, "usage", record.usage);
}

void decodeJson(const Json& json, TaskCount& record) {
  requireObject(json);
  decodeMember(json, "running", record.running);
}

void decodeJson(const Json& json, RunningTask& record) {
  requireObject(json);
  decodeMember(json, "label", record.label);
  decodeMember(json, "title", record.title);
  decodeMember(json, "ball_at", record.ballAt);
  decodeMember(json, "since", record.since);
  decodeMember(json, "task_id", record.taskId);
  decodeMember(json, "open", record.open);
}

void decodeJson(const Json& json, Attention& record) {
  requireObject(json);
  decodeMember(json, "label", record.label);
  decodeMember(json, "title", record.title);
  decodeMember(json, "kind", record.kind);
  decodeMember(json, "line", record.line);
  decodeMember(json, "task_id", record.taskId);
  decodeMember(json, "open", record.open);
  decodeMember(json, "schedule_id", record.scheduleId);
}

void decodeJson(const Json& json, DoneTask& record) {
  requireObject(json);
  decodeMember(json, "label", record.label);
  decodeMember(json, "title", record.title);
  decodeMember(json, "line", record.line);
  decodeMember(json, "ended_at", record.endedAt);
  decodeMember(json, "task_id", record.taskId);
  decodeMember(json, "open", record.open);
}

void decodeJson(const Json& json, Connection& record) {
  requireObject(json);
  decodeMember(json, "family", record.family);
  decodeMember(json, "name", record.name);
  decodeMember(json, "state", record.state);
  decodeMember(json, "last_used_at", record.lastUsedAt);
  decodeMember(json, "power", record.power);
  decodeMember(json, "access", record.access);
}

void decodeJson(const Json& json, Computer& record) {
  requireObject(json);
  decodeMember(json, "name", record.name);
  decodeMember(json, "online", record.online);
  decodeMember(json, "apps", record.apps);
}

void decodeJson(const Json& json, Workers& record) {
  requireObject(json);
  decodeMember(json, "mode", record.mode);
  decodeMember(json, "apps", record.apps);
}

void decodeJson(const Json& json, AIProfile& record) {
  requireObject(json);
  decodeMember(json, "executorId", record.executorId);
  decodeMember(json, "name", record.name);
  decodeMember(json, "profile", record.profile);
  decodeMember(json, "by", record.by);
  decodeMember(json, "thisMac", record.thisMac);
}

void decodeJson(const Json& json, HelperStatus& record) {
  requireObject(json);
  decodeMember(json, "schemaVersion", record.schemaVersion);
  decodeMember(json, "helperVersion", record.helperVersion);
  decodeMember(json, "pid", record.pid);
  decodeMember(json, "state", record.state);
  decodeMember(json, "computer", record.computer);
  decodeMember(json, "server", record.server);
  decodeMember(json, "startedAt", record.startedAt);
  decodeMember(json, "updatedAt", record.updatedAt);
  decodeMember(json, "lastServerContactAt", record.lastServerContactAt);
  decodeMember(json, "serverReachable", record.serverReachable);
  decodeMember(json, "wake", record.wake);
  decodeMember(json, "apps", record.apps);
  decodeMember(json, "tasks", record.tasks);
  decodeMember(json, "running", record.running);
  decodeMember(json, "attention", record.attention);
  decodeMember(json, "connections", record.connections);
  decodeMember(json, "done", record.done);
  decodeMember(json, "computers", record.computers);
  decodeMember(json, "projects", record.projects);
  decodeMember(json, "workers", record.workers);
  decodeMember(json, "autoDelegate", record.autoDelegate);
  decodeMember(json, "profiles", record.profiles);
  decodeMember(json, "message", record.message);
}

}  // namespace kestrelune
