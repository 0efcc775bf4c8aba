#pragma once

#include <systemd/sd-bus.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "PrivateBus.hpp"
#include "session/Bus.hpp"

namespace kestrelune {

/// A tray on a private bus, in this process and on this loop: the watcher with which items register, and a host that
/// asks and is signalled.
class TrayHost : public BusPeer {
 public:
  struct Row {
    std::int32_t id = 0;
    std::map<std::string, std::string> texts;  ///< "label", "type", "enabled" and so on, as texts
    std::vector<Row> children;
  };

  TrayHost(SessionRunLoop& loop, const std::string& address, bool hasHost = true, bool refuses = false)
      : BusPeer(loop, address), loop_(loop), hasHost_(hasHost), refuses_(refuses) {
    static const sd_bus_vtable kTable[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("RegisterStatusNotifierItem", "s", "", &TrayHost::registered, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_PROPERTY("IsStatusNotifierHostRegistered", "b", &TrayHost::hasHost, 0, 0), SD_BUS_VTABLE_END};
    for (const char* path : {"/StatusNotifierItem", "/MenuBar"})
      EXPECT_GE(sd_bus_match_signal(bus_, nullptr, nullptr, path, nullptr, nullptr, &TrayHost::signalled, this), 0);
    serve("/StatusNotifierWatcher", kWatcher, kTable, this);
  }

  void hostComes() {
    hasHost_ = true;
    sd_bus_emit_signal(bus_, "/StatusNotifierWatcher", kWatcher, "StatusNotifierHostRegistered", "");
  }

  /// The answer of the item: null when it is an error. All signals that the item sent before it have come.
  template <class... Arguments>
  BusMessage menu(const char* member, const char* types, Arguments... arguments) {
    return call("/MenuBar", "com.canonical.dbusmenu", member, types, arguments...);
  }
  template <class... Arguments>
  BusMessage call(const char* path, const char* interface, const char* member, const char* types,
                  Arguments... arguments) {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(bus_, &message, items.back().c_str(), path, interface, member);
    sd_bus_message_append(message, types, arguments...);
    const BusMessage owner(message);
    Reply reply;
    EXPECT_GE(sd_bus_call_async(bus_, nullptr, message, &TrayHost::replied, &reply, 0), 0);
    EXPECT_TRUE(serveBus(loop_, [&] { return reply.came; })) << member;
    return sd_bus_message_is_method_error(reply.message.get(), nullptr) ? nullptr : std::move(reply.message);
  }
  BusMessage property(const char* name) {
    return call("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get", "ss", "org.kde.StatusNotifierItem",
                name);
  }
  std::string text(const char* name) {
    const BusMessage reply = property(name);
    const char* value = "(none)";
    sd_bus_message_read(reply.get(), "v", "s", &value);
    return value;
  }
  bool event(std::int32_t id, const char* kind) { return menu("Event", "isvu", id, kind, "i", 0, 0u) != nullptr; }
  bool aboutToShow() {
    const BusMessage reply = menu("AboutToShow", "i", 0);
    int changed = 0;
    EXPECT_GT(sd_bus_message_read(reply.get(), "b", &changed), 0);
    return changed != 0;
  }
  Row layout(std::int32_t parent = 0, std::int32_t depth = -1) {
    const BusMessage reply = menu("GetLayout", "iias", parent, depth, 0);
    EXPECT_NE(reply, nullptr);
    std::uint32_t revision = 0;
    sd_bus_message_read(reply.get(), "u", &revision);
    return readRow(reply.get());
  }
  std::int64_t count(const char* signal) const { return std::count(signals.begin(), signals.end(), signal); }

  std::vector<std::string> items;    ///< bus names, in the order of registering
  std::vector<std::string> signals;  ///< members; "PropertiesChanged NAME" for that one

 private:
  static constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
  struct Reply {
    BusMessage message;
    bool came = false;
  };

  static int replied(sd_bus_message* message, void* data, sd_bus_error*) {
    auto* reply = static_cast<Reply*>(data);
    reply->message.reset(sd_bus_message_ref(message));
    reply->came = true;
    return 0;
  }
  static int registered(sd_bus_message* message, void* data, sd_bus_error* error) {
    auto* self = static_cast<TrayHost*>(data);
    if (self->refuses_) return sd_bus_error_set(error, "org.example.Full", "too many");
    self->items.emplace_back(sd_bus_message_get_sender(message));
    return sd_bus_reply_method_return(message, "");
  }
  static int hasHost(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* data, sd_bus_error*) {
    return sd_bus_message_append(reply, "b", static_cast<TrayHost*>(data)->hasHost_ ? 1 : 0);
  }
  static int signalled(sd_bus_message* message, void* data, sd_bus_error*) {
    static_cast<TrayHost*>(data)->signals.emplace_back(sd_bus_message_get_member(message));
    return 0;
  }

  static Row readRow(sd_bus_message* from) {
    Row row;
    sd_bus_message_enter_container(from, 'r', "ia{sv}av");
    sd_bus_message_read(from, "i", &row.id);
    sd_bus_message_enter_container(from, 'a', "{sv}");
    while (sd_bus_message_enter_container(from, 'e', "sv") > 0) {
      const char *name = nullptr, *type = nullptr, *text = nullptr, *modifier = nullptr;
      int number = 0;
      sd_bus_message_read(from, "s", &name);
      sd_bus_message_peek_type(from, nullptr, &type);
      const std::string kind = type;
      if (kind == "s" && sd_bus_message_read(from, "v", "s", &text) > 0) row.texts[name] = text;
      if (kind == "aas" && sd_bus_message_read(from, "v", "aas", 1, 2, &modifier, &text) > 0)
        row.texts[name] = std::string(modifier) + "+" + text;
      if ((kind == "i" || kind == "b") && sd_bus_message_read(from, "v", type, &number) > 0)
        row.texts[name] = std::to_string(number);
      sd_bus_message_exit_container(from);
    }
    sd_bus_message_exit_container(from);
    sd_bus_message_enter_container(from, 'a', "v");
    while (sd_bus_message_enter_container(from, 'v', "(ia{sv}av)") > 0) {
      row.children.push_back(readRow(from));
      sd_bus_message_exit_container(from);
    }
    sd_bus_message_exit_container(from);
    sd_bus_message_exit_container(from);
    return row;
  }

  SessionRunLoop& loop_;
  bool hasHost_, refuses_;
};

}  // namespace kestrelune
