#include "RuntimeAction.hpp"

#include <gtest/gtest.h>

#include <string>

#include "Endpoints.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

const std::string kService = std::string("https://") + endpoints::kServiceHost;
constexpr const char* kUuid = "8C9F4C1E-0f0a-4a6e-9d8e-2f6f0f1c9a01";

TEST(Action, IdentifiersGoBothWays) {
  const Action all[] = {
      Action::signIn("codex"),
      Action::signIn(""),
      Action::reconnect("claude"),
      Action::openLink(kService + "/task/1"),
      Action::openLink("codex://open?task=1"),
      Action::updateApp("cursor"),
      Action::window("general"),
      Action::window("task:ABCDEF-01"),
      Action::account(),
      Action::account("connection:grok"),
      Action::switchOff("app:antigravity"),
      Action::switchOff("connection:google"),
      Action::readOnly("connection:chatgpt"),
      Action::shareTool("computer_use", true),
      Action::shareTool("skills", false),
      Action::workers("auto"),
      Action::workers("t3code"),
      Action::smallModel(true),
      Action::smallModel(false),
      Action::autoDelegate(true),
      Action::autoDelegate(false),
      Action::editProfile(kUuid),
      Action::restart(),
      Action::setup(),
      Action::loginItem(),
      Action::quit(),
      Action::updateAll(),
      Action::reportProblem(),
      Action::shareToolsSeen(),
  };
  for (const Action& action : all) EXPECT_EQ(Action::parse(action.identifier()), action) << action.identifier();
  EXPECT_EQ(Action::parse("dashboard"), Action::account());
  EXPECT_EQ(Action::account().identifier(), "account");
}

TEST(Action, WhatIsNoIdentifierGivesNone) {
  const std::string rows[] = {
      "",
      "Quit",
      "quit ",
      "quit:",
      "update:antigravity",
      "update:",
      "window:task:",
      "window:task:xyz",
      "window:task:../a",
      "window:task:" + std::string(65, 'a'),
      "window:other",
      "account:",
      "account:claude",
      "off:app:",
      "off:app:google",
      "off:connection:codex",
      "off:app:codex:",
      "off:app::codex",
      "read:app:codex",
      "shareTool:skills",
      "shareTool:skills:maybe",
      "shareTool:other:on",
      "shareTool:skills:on:on",
      "workers:antigravity",
      "workers:",
      "smallModel:yes",
      "autoDelegate",
      "profile:8C9F4C1E0f0a4a6e9d8e2f6f0f1c9a01",
      "profile:" + std::string(kUuid) + "0",
      "open:",
      "open:http://" + std::string(endpoints::kServiceHost) + "/",
      "open:codex:" + std::string(507, 'a'),
      "restart\n",
  };
  for (const std::string& row : rows) EXPECT_FALSE(Action::parse(row)) << row;
  EXPECT_TRUE(Action::parse("window:task:" + std::string(64, 'a')));
  EXPECT_TRUE(Action::parse("open:codex:" + std::string(506, 'a')));
}

TEST(Action, LinksOfTheHelperAreGuarded) {
  const std::string host = endpoints::kServiceHost;
  const struct {
    std::string link;
    bool accepted;
  } rows[] = {
      {kService + "/task/1?a=b#c", true},
      {"HTTPS://" + text::replacedAll(host, "k", "K") + "/Task", true},
      {kService, true},
      {kService + ":444/x", true},
      {"codex://open", true},
      {"Claude:x", true},
      {"cursor://x", true},
      {"grokbot://open", true},
      {"antigravity://x", false},
      {"http://" + host + "/", false},
      {"file:///etc/passwd", false},
      {"javascript:alert(1)", false},
      {"https://" + host + ".evil.example/", false},
      {"https://evil.example/" + host, false},
      {"https://" + host + "@evil.example/", false},
      {"https://me@" + host + "/", false},
      {"https://@" + host + "/", false},
      {"https://evil.example\\@" + host + "/", false},
      {"https:///task", false},
      {"//" + host + "/", false},
      {"/etc/passwd", false},
      {" " + kService, false},
      {kService + "/a b", false},
      {kService + "/\n", false},
      {"", false},
      {kService + "/" + std::string(512, 'a'), false},
  };
  for (const auto& row : rows) {
    const std::optional<Url> url = Action::appLink(row.link);
    EXPECT_EQ(url.has_value(), row.accepted) << row.link;
    EXPECT_EQ(url ? url->text() : row.link, row.link);
  }
  EXPECT_FALSE(Action::appLink(std::nullopt));
}

TEST(Action, ARowAlwaysLeadsSomewhere) {
  const struct {
    const char* name;
    std::optional<std::string> link, task;
    Action action;
  } rows[] = {
      {"a good link", kService + "/x", "a1", Action::openLink(kService + "/x")},
      {"a bad link", "file:///x", "a1", Action::window("task:a1")},
      {"no link", {}, "a1", Action::window("task:a1")},
      {"a task that is none", {}, "a/1", Action::window("tasks")},
      {"an empty task", {}, "", Action::window("tasks")},
      {"nothing", {}, {}, Action::window("tasks")},
  };
  for (const auto& row : rows) EXPECT_EQ(Action::open(row.link, row.task), row.action) << row.name;
}

TEST(Action, AddressesOfOutsideServices) {
  EXPECT_EQ(Action::accountLink(std::nullopt).text(), kService + "/workspace");
  EXPECT_EQ(Action::accountLink("connection:claude").text(), kService + "/workspace?ai=claude#ais");
  EXPECT_EQ(Action::accountLink("app:evil&x=1").text(), kService + "/workspace");

  const std::string encoded = text::replacedAll(text::replacedAll(kService + "/mcp", ":", "%3A"), "/", "%2F");
  EXPECT_EQ(Action::connectorURL("claude")->text(),
            "https://claude.ai/customize/connectors?modal=add-custom-connector&connectorName=Kestrelune&connectorUrl=" +
                encoded);
  EXPECT_EQ(Action::connectorURL("chatgpt")->fragment(), "settings");
  EXPECT_EQ(Action::connectorURL("google")->scheme(), "antigravity");
  EXPECT_FALSE(Action::connectorURL("codex"));

  const std::string query = Action::connectorURL("cursor")->query().value_or("");
  const std::string start = "name=kestrelune&config=";
  ASSERT_EQ(query.substr(0, start.size()), start);
  EXPECT_EQ(text::fromBase64(query.substr(start.size())), "{\"url\":\"" + kService + "/mcp\"}");
}

}  // namespace
}  // namespace kestrelune
