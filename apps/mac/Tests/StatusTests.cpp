#include "Status.hpp"

#include "Fakes/Testing.hpp"
#include "base/Files.hpp"

namespace kestrelune {
namespace {

HelperStatus decoded(const std::string& text) {
  HelperStatus status;
  decodeJson(Json::parse(text), status);
  return status;
}

/// Has each member of each object within `json` looked at, at its place.
void eachMember(Json& json, const std::function<void(const std::string& key, Json& member)>& look) {
  if (Json::Array* list = json.array())
    for (Json& element : *list) eachMember(element, look);
  if (Json::Object* object = json.object())
    for (auto& [key, member] : *object) {
      look(key, member);
      eachMember(member, look);
    }
}

TEST(Status, EveryKeyIsReadStrictly) {
  // A value of another type must not pass, and a key that passes it was never read.
  Json whole = Json::parse(readFile(systemFiles(), KESTRELUNE_EVERYTHING, 1 << 20).value);
  const auto decodes = [&whole] {
    try {
      decoded(whole.write());
      return true;
    } catch (const JsonError&) {
      return false;
    }
  };
  ASSERT_TRUE(decodes());
  const std::set<std::string> required{"schemaVersion", "executorId", "name"};
  eachMember(whole, [&](const std::string& key, Json& member) {
    const Json kept = member;
    member = kept.boolean() ? Json("yes") : Json(true);
    EXPECT_FALSE(decodes()) << key << ": " << kept.write();
    member = nullptr;
    EXPECT_TRUE(decodes() || required.contains(key)) << key;
    member = kept;
  });
}

TEST(Status, RequiredAndLimitedValues) {
  const Table<const char*, const char*, bool> rows = {
      {"only the version", R"({"schemaVersion":1})", true},
      {"unknown keys", R"({"schemaVersion":1,"new":[{"a":1}],"apps":[{"new":{}}]})", true},
      {"no version", R"({"pid":1})", false},
      {"an integral version written as a fraction", R"({"schemaVersion":1.0})", true},
      {"a fractional version", R"({"schemaVersion":1.5})", false},
      {"the largest process id", R"({"schemaVersion":1,"pid":2147483647})", true},
      {"a process id that doesn't fit", R"({"schemaVersion":1,"pid":2147483648})", false},
      {"a profile without its name", R"({"schemaVersion":1,"profiles":[{"executorId":"e"}]})", false},
      {"null in a list", R"({"schemaVersion":1,"projects":["a",null]})", false},
      {"a whole number of dollars", R"({"schemaVersion":1,"apps":[{"usage":{"tokens":{"today":{"usd":3}}}}]})", true},
  };
  for (const auto& [name, text, decodes] : rows) {
    SCOPED_TRACE(name);
    if (decodes) {
      EXPECT_NO_THROW(decoded(text));
    } else {
      EXPECT_THROW(decoded(text), JsonError);
    }
  }
}

TEST(Status, ValuesReachTheirFields) {
  const HelperStatus status = decoded(R"({"schemaVersion":1,"pid":42,"serverReachable":false,"tasks":{"running":3},
    "running":[{"ball_at":"Codex","task_id":"a1"}],
    "attention":[{"task_id":"t","schedule_id":"s"}],"done":[{"ended_at":"then"}],
    "connections":[{"last_used_at":"now","access":"read"}],"computers":[{"online":"online","apps":"Codex"}],
    "apps":[{"outdated":null,"usage":{"left":61.5,"windows":[{"resets_at":"soon","used":4}],
      "tokens":{"month":{"tokens":9e6}}}}],"workers":{"apps":[]}})");
  EXPECT_EQ(status.pid, 42);
  EXPECT_EQ(status.serverReachable, false);
  EXPECT_EQ(status.tasks, TaskCount{3});
  EXPECT_EQ(status.running->at(0), (RunningTask{.ballAt = "Codex", .taskId = "a1"}));
  EXPECT_EQ(status.attention->at(0), (Attention{.taskId = "t", .scheduleId = "s"}));
  EXPECT_EQ(status.done->at(0), (DoneTask{.endedAt = "then"}));
  EXPECT_EQ(status.connections->at(0), (Connection{.lastUsedAt = "now", .access = "read"}));
  EXPECT_EQ(status.computers->at(0), (Computer{.online = "online", .apps = "Codex"}));
  EXPECT_EQ(status.workers, (Workers{.apps = std::vector<std::string>{}}));
  const HostApp& app = status.apps->at(0);
  EXPECT_FALSE(app.outdated);
  EXPECT_EQ(app.usage->left, 61.5);
  EXPECT_EQ(app.usage->windows->at(0), (PlanUsage::Window{.used = 4, .resetsAt = "soon"}));
  EXPECT_EQ(app.usage->tokens->month, PlanUsage::Period{.tokens = 9e6});
  EXPECT_FALSE(status.attention->at(0).open);
}

TEST(Status, AccountLine) {
  const std::string longest(28, 'm');
  const Table<const char*, HostApp, std::optional<std::string>> rows = {
      {"nothing known", {}, std::nullopt},
      {"all of it",
       {.account = AppAccount{"mia@example.com", "Max"}, .version = "1.2"},
       "mia@example.com · Max · v1.2"},
      {"empty parts", {.account = AppAccount{"", ""}, .version = ""}, std::nullopt},
      {"no address", {.account = AppAccount{std::nullopt, "Pro"}, .version = "3"}, "Pro · v3"},
      {"the longest whole address", {.account = AppAccount{longest, std::nullopt}}, longest},
      {"one character more", {.account = AppAccount{longest + "é", std::nullopt}}, std::string(27, 'm') + "…"},
      {"characters, not bytes",
       {.account = AppAccount{std::string(27, 'm') + "é", std::nullopt}},
       std::string(27, 'm') + "é"},
  };
  for (const auto& [name, app, line] : rows) EXPECT_EQ(app.accountLine(), line) << name;
}

TEST(Status, AttentionKeepsItsIdentity) {
  const Table<const char*, Attention, std::string> rows = {
      {"its task", {.title = "t", .taskId = "a1", .scheduleId = "s"}, "a1"},
      {"an empty task is one", {.taskId = "", .scheduleId = "s"}, ""},
      {"its schedule", {.title = "t", .scheduleId = "s"}, "s"},
      {"its texts", {.label = "#4", .kind = "question", .line = "Go?"}, "#4\x1f\x1fquestion\x1fGo?"},
  };
  for (const auto& [name, item, identity] : rows) EXPECT_EQ(item.identity(), identity) << name;
}

}  // namespace
}  // namespace kestrelune
