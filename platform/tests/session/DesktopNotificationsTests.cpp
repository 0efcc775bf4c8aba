#include "session/DesktopNotifications.hpp"

#include <systemd/sd-bus.h>

#include "Fakes/FakeLoop.hpp"
#include "Fakes/Testing.hpp"
#include "PrivateBus.hpp"

namespace kestrelune {
namespace {

constexpr const char* kName = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";

/// A notification server, in this process and on this loop.
class FakeServer : public BusPeer {
 public:
  struct Call {
    std::uint32_t replaces = 0;
    std::string title, body;
    std::vector<std::string> actions, hints;
  };

  FakeServer(SessionRunLoop& loop, const std::string& address, std::vector<std::string> capabilities,
             bool hangs = false)
      : BusPeer(loop, address), capabilities_(std::move(capabilities)), hangs_(hangs) {
    static const sd_bus_vtable kTable[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("GetCapabilities", "", "as", &FakeServer::capabilities, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Notify", "susssasa{sv}i", "u", &FakeServer::notify, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    serve(kPath, kName, kTable, this);
  }

  void invoke(std::uint32_t number, const char* key = "default") {
    sd_bus_emit_signal(bus_, kPath, kName, "ActionInvoked", "us", number, key);
  }
  void close(std::uint32_t number) { sd_bus_emit_signal(bus_, kPath, kName, "NotificationClosed", "uu", number, 2u); }
  void giveToken(std::uint32_t number, const char* token) {
    sd_bus_emit_signal(bus_, kPath, kName, "ActivationToken", "us", number, token);
  }

  std::vector<Call> calls;
  std::uint32_t next = 7;
  bool refuses = false;

 private:
  static int capabilities(sd_bus_message* message, void* data, sd_bus_error*) {
    auto* self = static_cast<FakeServer*>(data);
    if (self->hangs_) return 1;
    sd_bus_message* reply = nullptr;
    sd_bus_message_new_method_return(message, &reply);
    sd_bus_message_open_container(reply, 'a', "s");
    for (const std::string& capability : self->capabilities_) sd_bus_message_append(reply, "s", capability.c_str());
    sd_bus_message_close_container(reply);
    sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return 1;
  }

  static int notify(sd_bus_message* message, void* data, sd_bus_error* error) {
    auto* self = static_cast<FakeServer*>(data);
    Call call;
    const char *application = nullptr, *icon = nullptr, *title = nullptr, *body = nullptr;
    sd_bus_message_read(message, "susss", &application, &call.replaces, &icon, &title, &body);
    call.title = title;
    call.body = body;
    call.actions = readTexts(message);
    sd_bus_message_enter_container(message, 'a', "{sv}");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
      const char* name = nullptr;
      sd_bus_message_read(message, "s", &name);
      call.hints.emplace_back(name);
      sd_bus_message_skip(message, "v");
      sd_bus_message_exit_container(message);
    }
    self->calls.push_back(call);
    if (self->refuses) return sd_bus_error_set(error, "org.example.Full", "too many");
    return sd_bus_reply_method_return(message, "u", call.replaces ? call.replaces : self->next++);
  }

  std::vector<std::string> capabilities_;
  bool hangs_;
};

struct DesktopNotificationsTest : testing::Test {
  void startServer(std::vector<std::string> capabilities = {"body", "actions"}, bool hangs = false) {
    server.reset();
    server = std::make_unique<FakeServer>(loop, daemon.address(), std::move(capabilities), hangs);
  }
  void deliver(const std::string& id, const std::string& title, const std::string& body = "body",
               const std::string& action = "restart") {
    notifications.deliver({id, title, body, action}, [this](const std::string& reason) { failures.push_back(reason); });
  }
  bool served(const std::function<bool()>& done) { return serveBus(loop, done); }
  bool hasCalls(std::size_t count) {
    return served([&] { return server->calls.size() >= count; });
  }
  /// Two more notifications there and back: whatever was on its way has come.
  void settle() {
    static int number = 0;
    for (int i = 0; i < 2; ++i) {
      const std::string title = "settle " + std::to_string(number++);
      deliver(title, title);
      ASSERT_TRUE(served([&] { return !server->calls.empty() && server->calls.back().title == title; }));
    }
  }

  PrivateBus daemon;
  SessionRunLoop loop;
  FakeClock clock;
  ActivationToken activation{clock};
  Bus bus{loop, daemon.address()};
  DesktopNotifications notifications{bus, activation, {0.5, 10}};
  std::unique_ptr<FakeServer> server;
  std::vector<std::string> failures, clicks;
};

TEST_F(DesktopNotificationsTest, SaysOnlyWhatTheServerUnderstands) {
  using Strings = std::vector<std::string>;
  const Table<const char*, Strings, const char*, const char*, bool, bool> rows = {
      {"plain", {"body"}, "<T> & U", "<b> & \"c\"", false, false},
      {"markup", {"body", "body-markup"}, "<T> & U", "&lt;b&gt; &amp; \"c\"", false, false},
      {"actions and sound", {"body", "actions", "sound"}, "<T> & U", "<b> & \"c\"", true, true},
      {"nothing", {}, "<T> & U: <b> & \"c\"", "", false, false}};
  for (const auto& [name, capabilities, title, body, clickable, sound] : rows) {
    SCOPED_TRACE(name);
    startServer(capabilities);
    deliver("id", "<T> & U", "<b> & \"c\"");
    ASSERT_TRUE(hasCalls(1));
    const FakeServer::Call& call = server->calls.front();
    EXPECT_EQ(call.title, title);
    EXPECT_EQ(call.body, body);
    EXPECT_EQ(call.actions.size(), clickable ? 2u : 0u);
    const auto has = [&](const char* hint) { return std::count(call.hints.begin(), call.hints.end(), hint) == 1; };
    EXPECT_TRUE(has("desktop-entry"));
    EXPECT_EQ(has("sound-name"), sound);
  }
}

TEST_F(DesktopNotificationsTest, ALaterOneOfTheSameIdReplacesTheEarlier) {
  startServer();
  deliver("a", "1");
  ASSERT_TRUE(hasCalls(1));
  deliver("a", "2");  // the answer to the first is still on its way
  deliver("b", "1");
  deliver("a", "3");
  ASSERT_TRUE(served([&] { return !server->calls.empty() && server->calls.back().title == "3"; }));
  settle();
  std::map<std::string, std::set<std::uint32_t>> replaced;
  for (const FakeServer::Call& call : server->calls) replaced[call.title].insert(call.replaces);
  EXPECT_EQ(replaced["3"], std::set<std::uint32_t>{7});

  server->close(7);
  settle();
  deliver("a", "after it was dismissed");
  settle();
  const auto last = std::find_if(server->calls.begin(), server->calls.end(),
                                 [](const auto& call) { return call.title == "after it was dismissed"; });
  EXPECT_EQ(last->replaces, 0u);
}

TEST_F(DesktopNotificationsTest, AClickBringsTheActionAndItsTokenBack) {
  notifications.setClicked([this](const std::string& action) { clicks.push_back(action + activation.take()); });
  startServer();
  deliver("a", "1", "body", "window:tasks");
  deliver("b", "1", "body", "quit");
  settle();
  server->giveToken(7, "/token");
  server->invoke(7);
  server->invoke(8);
  server->invoke(999);
  server->invoke(8, "other");
  server->giveToken(7, "/of another");
  server->close(8);
  server->invoke(8);  // after the end that it caused
  ASSERT_TRUE(served([&] { return clicks.size() >= 3; }));
  settle();
  EXPECT_EQ(clicks, (std::vector<std::string>{"window:tasks/token", "quit", "quit"}));
}

TEST_F(DesktopNotificationsTest, AServerThatComesLateGetsWhatWaits) {
  deliver("a", "1");
  deliver("b", "1");
  deliver("a", "2");
  ASSERT_TRUE(served([&] { return bus.connected(); }));
  for (int i = 0; i < 5; ++i) sd_event_run(loop.event(), 10'000);
  startServer();
  ASSERT_TRUE(hasCalls(2));
  settle();
  EXPECT_TRUE(failures.empty());
}

TEST_F(DesktopNotificationsTest, ARestartedServerKnowsNothingOfEarlierNumbers) {
  notifications.setClicked([this](const std::string& action) { clicks.push_back(action); });
  startServer();
  deliver("a", "1", "body", "old");
  settle();
  startServer({"body", "body-markup", "actions"});
  server->next = 7;
  deliver("b", "<2>", "<body>", "new");
  settle();
  EXPECT_EQ(server->calls.front().replaces, 0u);
  EXPECT_EQ(server->calls.front().body, "&lt;body&gt;") << "it is asked anew what it can";
  server->invoke(7);
  ASSERT_TRUE(served([&] { return !clicks.empty(); }));
  EXPECT_EQ(clicks, std::vector<std::string>{"new"});
  deliver("a", "again");
  settle();
  for (const FakeServer::Call& call : server->calls) EXPECT_EQ(call.replaces, 0u);
}

TEST_F(DesktopNotificationsTest, FailuresAreToldAndHoldNothingUp) {
  startServer({}, true);
  deliver("a", "1");
  deliver("b", "1");
  ASSERT_TRUE(served([&] { return failures.size() == 2; })) << "a server that hangs";
  startServer();
  deliver("a", "2");
  ASSERT_TRUE(hasCalls(1));
  server->refuses = true;
  deliver("c", "1");
  ASSERT_TRUE(served([&] { return failures.size() == 3; }));
  EXPECT_NE(failures.back().find("too many"), std::string::npos);
  server->refuses = false;
  settle();

  Bus none(loop, "");
  DesktopNotifications nowhere(none, activation, {0.5, 0.01});
  nowhere.deliver({"a", "1", "", ""}, [this](const std::string& reason) { failures.push_back(reason); });
  EXPECT_EQ(failures.size(), 3u) << "told from within";
  EXPECT_TRUE(served([&] { return failures.size() == 4; }));
}

}  // namespace
}  // namespace kestrelune
