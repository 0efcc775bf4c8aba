#include "session/DesktopFileManager.hpp"

#include <systemd/sd-bus.h>

#include "PrivateBus.hpp"

namespace kestrelune {
namespace {

int showItems(sd_bus_message* message, void* data, sd_bus_error* error) {
  auto* shown = static_cast<std::vector<std::string>*>(data);
  shown->push_back(BusPeer::readTexts(message).at(0));
  const char* id = nullptr;
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
  BusPeer server(loop, daemon.address());
  server.serve("/org/freedesktop/FileManager1", "org.freedesktop.FileManager1", kTable, &shown);
  ask("/a folder/ü");
  ask("/refused");
  EXPECT_EQ(answers, "nnyn");
  EXPECT_EQ(shown.front(), Url::file("/a folder/ü").text());
}

}  // namespace
}  // namespace kestrelune
