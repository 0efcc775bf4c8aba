#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Json.hpp"

/// The records of the helper's status file, as the helper writes them. An absent field and a null one are the same and
/// stay absent. Time stamps stay text and are parsed where they are used. `decodeJson` throws `JsonError` for a field
/// of the wrong type; unknown keys are ignored.
namespace kestrelune {

struct AppAccount {
  std::optional<std::string> email;
  std::optional<std::string> plan;

  bool operator==(const AppAccount&) const = default;
};

/// How much of an application's plan is used. A record without any field is a meaningful value: nothing is known.
struct PlanUsage {
  struct Window {
    std::optional<std::string> kind;  ///< "session", "monthly"; anything else is a week
    std::optional<double> used;       ///< percent
    std::optional<std::string> resetsAt;

    bool operator==(const Window&) const = default;
  };

  struct Period {
    std::optional<double> tokens;
    std::optional<double> usd;  ///< at list prices
    std::optional<double> unpriced;

    bool operator==(const Period&) const = default;
  };

  struct ModelUse {
    std::optional<std::string> model;
    std::optional<double> tokens;
    std::optional<double> usd;

    bool operator==(const ModelUse&) const = default;
  };

  struct Tokens {
    std::optional<Period> today;
    std::optional<Period> week;
    std::optional<Period> month;  ///< the last 30 days
    std::optional<std::vector<ModelUse>> top;

    bool operator==(const Tokens&) const = default;
  };

  std::optional<double> left;  ///< percent
  std::optional<std::string> resetsAt;
  std::optional<std::vector<Window>> windows;
  std::optional<Tokens> tokens;

  bool operator==(const PlanUsage&) const = default;
};

/// One AI application on this computer.
struct HostApp {
  std::optional<std::string> host;  ///< "codex", "claude", "cursor", "t3code", "antigravity"
  std::optional<std::string> name;
  std::optional<std::string> state;  ///< "ready", "not_installed", "signed_out", "usage_limited", "model_unavailable"
  std::optional<std::string> checkedAt;
  std::optional<std::string> limitedUntil;
  std::optional<std::string> model;
  std::optional<AppAccount> account;
  std::optional<std::string> version;
  std::optional<bool> outdated;
  std::optional<std::string> update;  ///< "command", "app"
  std::optional<std::string> power;   ///< "off"; anything else is on
  std::optional<PlanUsage> usage;

  /// Address (shortened), plan and version in one line; absent when none of them is known.
  std::optional<std::string> accountLine() const;

  bool operator==(const HostApp&) const = default;
};

struct TaskCount {
  std::optional<std::int64_t> running;  ///< may be more than the tasks listed

  bool operator==(const TaskCount&) const = default;
};

struct RunningTask {
  std::optional<std::string> label;
  std::optional<std::string> title;
  std::optional<std::string> ballAt;
  std::optional<std::string> since;
  std::optional<std::string> taskId;
  std::optional<std::string> open;

  bool operator==(const RunningTask&) const = default;
};

/// One thing that needs the user.
struct Attention {
  std::optional<std::string> label;
  std::optional<std::string> title;
  std::optional<std::string> kind;  ///< "question" is the one value with a meaning here
  std::optional<std::string> line;
  std::optional<std::string> taskId;
  std::optional<std::string> open;
  std::optional<std::string> scheduleId;

  /// What stays the same while the helper rewrites the item: its task, else its schedule, else its own texts.
  std::string identity() const;

  bool operator==(const Attention&) const = default;
};

struct DoneTask {
  std::optional<std::string> label;
  std::optional<std::string> title;
  std::optional<std::string> line;
  std::optional<std::string> endedAt;
  std::optional<std::string> taskId;
  std::optional<std::string> open;

  bool operator==(const DoneTask&) const = default;
};

/// One AI service that can give tasks.
struct Connection {
  std::optional<std::string> family;  ///< "claude", "chatgpt", "cursor", "grok", "google"
  std::optional<std::string> name;
  std::optional<std::string> state;  ///< "connected", "not_connected", "stale"
  std::optional<std::string> lastUsedAt;
  std::optional<std::string> power;   ///< "off"; anything else is on
  std::optional<std::string> access;  ///< "read"; anything else may give tasks

  bool operator==(const Connection&) const = default;
};

/// One computer of the account.
struct Computer {
  std::optional<std::string> name;
  std::optional<std::string> online;  ///< the word "online", or anything else
  std::optional<std::string> apps;    ///< a ready-made text

  bool operator==(const Computer&) const = default;
};

struct Workers {
  std::optional<std::string> mode;  ///< "automatic", "only"
  std::optional<std::vector<std::string>> apps;

  bool operator==(const Workers&) const = default;
};

struct AIProfile {
  std::string executorId;
  std::string name;
  std::optional<std::string> profile;
  std::optional<std::string> by;  ///< "owner"; anything else is the AI itself
  std::optional<bool> thisMac;

  bool operator==(const AIProfile&) const = default;
};

struct HelperStatus {
  std::int64_t schemaVersion = 0;
  std::optional<std::string> helperVersion;
  std::optional<std::int32_t> pid;
  std::optional<std::string> state;  ///< "running", "removed", "not_paired", "stopped", "error"
  std::optional<std::string> computer;
  std::optional<std::string> server;
  std::optional<std::string> startedAt;
  std::optional<std::string> updatedAt;
  std::optional<std::string> lastServerContactAt;
  std::optional<bool> serverReachable;  ///< absent: nothing is known, which counts as reachable
  std::optional<std::string> wake;
  std::optional<std::vector<HostApp>> apps;
  std::optional<TaskCount> tasks;
  std::optional<std::vector<RunningTask>> running;
  std::optional<std::vector<Attention>> attention;
  std::optional<std::vector<Connection>> connections;
  std::optional<std::vector<DoneTask>> done;
  std::optional<std::vector<Computer>> computers;
  std::optional<std::vector<std::string>> projects;
  std::optional<Workers> workers;
  std::optional<bool> autoDelegate;
  std::optional<std::vector<AIProfile>> profiles;
  std::optional<std::string> message;

  bool operator==(const HelperStatus&) const = default;
};

void decodeJson(const Json& json, AppAccount& record);
void decodeJson(const Json& json, PlanUsage::Window& record);
void decodeJson(const Json& json, PlanUsage::Period& record);
void decodeJson(const Json& json, PlanUsage::ModelUse& record);
void decodeJson(const Json& json, PlanUsage::Tokens& record);
void decodeJson(const Json& json, PlanUsage& record);
void decodeJson(const Json& json, HostApp& record);
void decodeJson(const Json& json, TaskCount& record);
void decodeJson(const Json& json, RunningTask& record);
void decodeJson(const Json& json, Attention& record);
void decodeJson(const Json& json, DoneTask& record);
void decodeJson(const Json& json, Connection& record);
void decodeJson(const Json& json, Computer& record);
void decodeJson(const Json& json, Workers& record);
void decodeJson(const Json& json, AIProfile& record);
void decodeJson(const Json& json, HelperStatus& record);

}  // namespace kestrelune
