#include "RuntimeAction.hpp"

#include "Endpoints.hpp"
#include "Fakes/Testing.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

const std::string kService = std::string("https://") + endpoints::kServiceHost;
constexpr const char* kUuid = "8C9F4C1E-0f0a-4a6e-9d8e-2f6f0f1c9a01";

TEST(Action, IdentifiersGoBothWays) {
  const auto goBothWays = [](const std::vector<Action>& actions) {
    for (const Action& action : actions) EXPECT_EQ(Action::parse(action.identifier()), action) << action.identifier();
  };
  goBothWays({Action::signIn("codex"), Action::signIn(""), Action::reconnect("claude"), Action::updateApp("cursor"),
              Action::openLink(kService + "/task/1"), Action::openLink("codex://open?task=1"),
              Action::window("general"), Action::window("task:ABCDEF-01"), Action::account(),
              Action::account("connection:grok"), Action::switchOff("app:antigravity"),
              Action::switchOff("connection:google"), Action::readOnly("connection:chatgpt")});
  goBothWays({Action::shareTool("computer_use", true), Action::shareTool("skills", false), Action::workers("auto"),
              Action::workers("t3code"), Action::smallModel(true), Action::smallModel(false),
              Action::autoDelegate(true), Action::autoDelegate(false), Action::editProfile(kUuid)});
  goBothWays({Action::restart(), Action::setup(), Action::loginItem(), Action::quit(), Action::updateAll(),
              Action::reportProblem(), Action::shareToolsSeen()});
  EXPECT_EQ(Action::parse("dashboard"), Action::account());
  EXPECT_EQ(Action::account().identifier(), "account");
}

TEST(Action, WhatIsNoIdentifierGivesNone) {
  const auto refused = [](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) EXPECT_FALSE(Action::parse(text)) << text;
  };
  refused({"", "Quit", "quit ", "quit:", "restart\n", "update:antigravity",
           "update:", "window:task:", "window:task:xyz", "window:task:../a", "window:task:" + std::string(65, 'a'),
           "window:other", "open:", "open:http://" KESTRELUNE_SERVICE_HOST "/", "open:codex:" + std::string(507, 'a')});
  refused({"account:", "account:claude", "off:app:", "off:app:google", "off:connection:codex",
           "off:app:codex:", "off:app::codex", "read:app:codex", "shareTool:skills", "shareTool:skills:maybe",
           "shareTool:other:on", "shareTool:skills:on:on", "workers:antigravity", "workers:", "smallModel:yes",
           "autoDelegate", "profile:8C9F4C1E0f0a4a6e9d8e2f6f0f1c9a01", "profile:" + std::string(kUuid) + "0"});
  EXPECT_TRUE(Action::parse("window:task:" + std::string(64, 'a')));
  EXPECT_TRUE(Action::parse("open:codex:" + std::string(506, 'a')));
}

TEST(Action, LinksOfTheHelperAreGuarded) {
  const std::string host = endpoints::kServiceHost;
  const std::string shouted = "HTTPS://" + text::replacedAll(host, "k", "K") + "/Task";
  for (const std::string& link :
       std::vector<std::string>{kService + "/task/1?a=b#c", shouted, kService, kService + ":444/x", "codex://open",
                                "Claude:x", "cursor://x", "grokbot://open"}) {
    const std::optional<Url> url = Action::appLink(link);
    EXPECT_EQ(url ? url->text() : "refused", link);
  }
  for (const std::string& link : std::vector<std::string>{
           "antigravity://x", "http://" + host + "/", "file:///etc/passwd", "javascript:alert(1)",
           "https://" + host + ".evil.example/", "https://evil.example/" + host, "https://" + host + "@evil.example/",
           "https://me@" + host + "/", "https://@" + host + "/", "https://evil.example\\@" + host + "/",
           "https:///task", "//" + host + "/", "/etc/passwd", " " + kService, kService + "/a b", kService + "/\n", "",
           kService + "/" + std::string(512, 'a')})
    EXPECT_FALSE(Action::appLink(link)) << link;
  EXPECT_FALSE(Action::appLink(std::nullopt));
}

TEST(Action, ARowAlwaysLeadsSomewhere) {
  const Table<const char*, std::optional<std::string>, std::optional<std::string>, Action> rows = {
      {"a good link", kService + "/x", "a1", Action::openLink(kService + "/x")},
      {"a bad link", "file:///x", "a1", Action::window("task:a1")},
      {"no link", {}, "a1", Action::window("task:a1")},
      {"a task that is none", {}, "a/1", Action::window("tasks")},
      {"an empty task", {}, "", Action::window("tasks")},
      {"nothing", {}, {}, Action::window("tasks")},
  };
  for (const auto& [name, link, task, action] : rows) EXPECT_EQ(Action::open(link, task), action) << name;
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
