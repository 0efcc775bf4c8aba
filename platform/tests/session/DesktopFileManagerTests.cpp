#include "session/DesktopFileManager.hpp"

#include <systemd/sd-bus.h>

#include "PrivateBus.hpp"

namespace kestrelune {
namespace {

int showItems(sd_bus_message* message, void* data, sd_bus_error* error) {
  auto* shown = static_cast<std::vector<std::string>*>(data);
  const char *uri = nullptr, *id = nullptr;
  sd_bus_message_enter_container(message, 'a', "s");
  while (sd_bus_message_read(message, "s", &uri) > 0) shown->emplace_back(uri);
  sd_bus_message_exit_container(message);
  if (sd_bus_message_read(message, "s", &id) <= 0) return -EINVAL;
  if (shown->size() > 1) return sd_bus_error_set(error, "org.example.Busy", "no");
  return sd_bus_reply_method_return(message, "");
}

TEST(DesktopFileManager, TellsWhetherAFileWasShown) {
  PrivateBus daemon;
  SessionRunLoop loop;
  Bus bus(loop, daemon.address());
  DesktopFileManager manager(bus);
  std::string answers;
  const auto ask = [&](const char* name) {
    const std::size_t before = answers.size();
    manager.show(Url::file(name), [&](bool shown) { answers += shown ? 'y' : 'n'; });
    EXPECT_EQ(answers.size(), before) << "told from within";
    EXPECT_TRUE(serveBus(loop, [&] { return answers.size() > before; }));
  };
  ask("/no bus yet");
  ASSERT_TRUE(serveBus(loop, [&] { return bus.connected(); }));
  ask("/no file manager");

  std::vector<std::string> shown;
  static const sd_bus_vtable kTable[] = {SD_BUS_VTABLE_START(0),
                                         SD_BUS_METHOD("ShowItems", "ass", "", &showItems, SD_BUS_VTABLE_UNPRIVILEGED),
                                         SD_BUS_VTABLE_END};
  sd_bus* server = nullptr;
  sd_bus_new(&server);
  sd_bus_set_address(server, daemon.address().c_str());
  sd_bus_set_bus_client(server, 1);
  ASSERT_GE(sd_bus_start(server), 0);
  sd_bus_add_object_vtable(server, nullptr, "/org/freedesktop/FileManager1", "org.freedesktop.FileManager1", kTable,
                           &shown);
  ASSERT_GE(sd_bus_request_name(server, "org.freedesktop.FileManager1", 0), 0);
  sd_bus_attach_event(server, loop.event(), 0);
  ask("/a folder/ü");
  ask("/refused");
  EXPECT_EQ(answers, "nnyn");
  EXPECT_EQ(shown.front(), Url::file("/a folder/ü").text());
  sd_bus_detach_event(server);
  sd_bus_close_unref(server);
}

}  // namespace
}  // namespace kestrelune
