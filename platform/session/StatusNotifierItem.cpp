#include "session/StatusNotifierItem.hpp"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "base/Text.hpp"
#include "session/MenuExport.hpp"
#include "session/Pixmaps.hpp"

namespace kestrelune {
namespace {

constexpr const char* kPath = "/StatusNotifierItem";
constexpr const char* kInterface = "org.kde.StatusNotifierItem";
constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kWatcherPath = "/StatusNotifierWatcher";
constexpr const char* kId = "com.kestrelune.menu";
constexpr double kCallSeconds = 25;
constexpr double kPixmapSeconds = 2;    ///< for which drawn pictures are kept
constexpr double kRefusedSeconds = 30;  ///< until a watcher that refused is asked again

int appendPixmaps(sd_bus_message* to, const std::vector<Pixmap>& pixmaps) {
  int result = sd_bus_message_open_container(to, 'a', "(iiay)");
  for (const Pixmap& pixmap : pixmaps) {
    result |= sd_bus_message_open_container(to, 'r', "iiay");
    result |= sd_bus_message_append(to, "ii", pixmap.size, pixmap.size);
    result |= sd_bus_message_append_array(to, 'y', pixmap.bytes.data(), pixmap.bytes.size());
    result |= sd_bus_message_close_container(to);
  }
  return result | sd_bus_message_close_container(to);
}

/// A text of the bus ends at its first U+0000.
std::string whole(const std::string& text) {
  return text::replacedAll(text::repairedUtf8(text), std::string_view("\0", 1), "\xEF\xBF\xBD");
}

/// Hosts may read markup in a tool tip's text, and text from a file is never markup.
std::string withoutMarkup(const std::string& text) {
  std::string plain = text::replacedAll(text, "&", "&amp;");
  return text::replacedAll(text::replacedAll(std::move(plain), "<", "&lt;"), ">", "&gt;");
}

}  // namespace

struct StatusNotifierItem::Methods {
  static StatusNotifierItem& of(void* data) { return *static_cast<StatusNotifierItem*>(data); }

  static int text(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply, void* data,
                  sd_bus_error*) {
    const StatusItemLook look = of(data).look_.value_or(StatusItemLook{});
    const std::string wanted = name;
    const auto answer = [&](const std::string& value) {
      return sd_bus_message_append(reply, "s", whole(value).c_str());
    };
    if (wanted == "Category") return answer("ApplicationStatus");
    if (wanted == "Id") return answer(kId);
    if (wanted == "Title") return answer(look.accessibilityLabel.empty() ? "Kestrelune" : look.accessibilityLabel);
    if (wanted == "Status") return answer("Active");
    if (wanted == "IconAccessibleDesc") return answer(look.accessibilityLabel);
    if (wanted == "XAyatanaLabel" || wanted == "XAyatanaLabelGuide") return answer(look.pill);
    return answer("");
  }

  static int icon(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* data, sd_bus_error*) {
    StatusNotifierItem& item = of(data);
    if (item.pixmaps_.empty()) item.pixmaps_ = iconPixmaps(item.look_.value_or(StatusItemLook{}).dot);
    // Hosts ask when the dot has changed, several times in a row: in between a hundred kilobytes wouldn't be used.
    item.forgetting_ = item.bus_.loop().after(kPixmapSeconds, [&item] { item.pixmaps_ = {}; });
    return appendPixmaps(reply, item.pixmaps_);
  }
  static int noPicture(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*, sd_bus_error*) {
    return appendPixmaps(reply, {});
  }

  static int toolTip(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* data, sd_bus_error*) {
    const StatusItemLook look = of(data).look_.value_or(StatusItemLook{});
    int result = sd_bus_message_open_container(reply, 'r', "sa(iiay)ss");
    result |= sd_bus_message_append(reply, "s", "");
    result |= appendPixmaps(reply, {});
    result |= sd_bus_message_append(reply, "ss", whole(look.toolTip).c_str(), withoutMarkup(whole(look.pill)).c_str());
    return result | sd_bus_message_close_container(reply);
  }

  static int other(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply, void* data,
                   sd_bus_error*) {
    const std::string wanted = name;
    if (wanted == "ItemIsMenu") return sd_bus_message_append(reply, "b", of(data).itemIsMenu_ ? 1 : 0);
    if (wanted == "Menu") return sd_bus_message_append(reply, "o", MenuExport::kPath);
    if (wanted == "WindowId") return sd_bus_message_append(reply, "i", 0);
    return sd_bus_message_append(reply, "u", 0);
  }

  static int activate(sd_bus_message* call, void* data, sd_bus_error* error) {
    std::int32_t x = 0, y = 0;
    if (sd_bus_message_read(call, "ii", &x, &y) < 0) return -EINVAL;
    // A host that shows menus takes this as a wish to show the exported one.
    const bool isClick = std::string_view(sd_bus_message_get_member(call)) == "Activate";
    if (isClick && of(data).itemIsMenu_)
      return sd_bus_error_set(error, SD_BUS_ERROR_UNKNOWN_METHOD, "The menu is the host's");
    // Answered first: what follows may take a moment, and a host that waits doesn't draw.
    const int replied = sd_bus_reply_method_return(call, "");
    of(data).events_.activated(x, y);
    return replied;
  }

  static int secondaryActivate(sd_bus_message* call, void* data, sd_bus_error*) {
    const int replied = sd_bus_reply_method_return(call, "");
    of(data).events_.secondaryActivated();
    return replied;
  }

  static int scroll(sd_bus_message* call, void*, sd_bus_error*) { return sd_bus_reply_method_return(call, ""); }

  static int provideToken(sd_bus_message* call, void* data, sd_bus_error*) {
    const char* token = nullptr;
    if (sd_bus_message_read(call, "s", &token) < 0) return -EINVAL;
    of(data).events_.token(token);
    return sd_bus_reply_method_return(call, "");
  }

  static int hostCame(sd_bus_message*, void* data, sd_bus_error*) {
    of(data).setHost(true);
    return 0;
  }
  static int hostWent(sd_bus_message*, void* data, sd_bus_error*) {
    of(data).askForHost();
    return 0;
  }

  static const sd_bus_vtable* table() {
    static const sd_bus_vtable kTable[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_PROPERTY("Category", "s", text, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("Id", "s", text, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("Title", "s", text, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
        SD_BUS_PROPERTY("Status", "s", text, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
        SD_BUS_PROPERTY("WindowId", "i", other, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("IconName", "s", text, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
        SD_BUS_PROPERTY("IconThemePath", "s", text, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("IconPixmap", "a(iiay)", icon, 0, SD_BUS_VTABLE_PROPERTY_EMITS_INVALIDATION),
        SD_BUS_PROPERTY("IconAccessibleDesc", "s", text, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
        SD_BUS_PROPERTY("OverlayIconName", "s", text, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("OverlayIconPixmap", "a(iiay)", noPicture, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("AttentionIconName", "s", text, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("AttentionIconPixmap", "a(iiay)", noPicture, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("AttentionMovieName", "s", text, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("ToolTip", "(sa(iiay)ss)", toolTip, 0, SD_BUS_VTABLE_PROPERTY_EMITS_INVALIDATION),
        SD_BUS_PROPERTY("ItemIsMenu", "b", other, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
        SD_BUS_PROPERTY("Menu", "o", other, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("XAyatanaLabel", "s", text, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
        SD_BUS_PROPERTY("XAyatanaLabelGuide", "s", text, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
        SD_BUS_PROPERTY("XAyatanaOrderingIndex", "u", other, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_METHOD("Activate", "ii", "", activate, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("ContextMenu", "ii", "", activate, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("SecondaryActivate", "ii", "", secondaryActivate, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("XAyatanaSecondaryActivate", "u", "", secondaryActivate, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Scroll", "is", "", scroll, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("ProvideXdgActivationToken", "s", "", provideToken, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("NewTitle", "", 0),
        SD_BUS_SIGNAL("NewIcon", "", 0),
        SD_BUS_SIGNAL("NewToolTip", "", 0),
        SD_BUS_SIGNAL("NewStatus", "s", 0),
        SD_BUS_SIGNAL("XAyatanaNewLabel", "ss", 0),
        SD_BUS_VTABLE_END};
    return kTable;
  }
};

StatusNotifierItem::StatusNotifierItem(Bus& bus, Events events) : bus_(bus), events_(std::move(events)) {
  connection_ = bus_.listen({[this] { publish(); }, [this] { unpublish(); }});
  watch_ = bus_.watchName(
      kWatcher, [this](const std::string& owner) { watcherAppeared(owner); }, [this] { watcherVanished(); });
}

StatusNotifierItem::~StatusNotifierItem() { unpublish(); }

void StatusNotifierItem::publish() {
  unpublish();
  const auto keep = [&](int result, sd_bus_slot* slot) {
    if (result >= 0) slots_.push_back(slot);
  };
  sd_bus_slot* slot = nullptr;
  const int added = sd_bus_add_object_vtable(bus_.connection(), &slot, kPath, kInterface, Methods::table(), this);
  keep(added, slot);
  const auto match = [&](const char* member, sd_bus_message_handler_t handler) {
    const int matched = sd_bus_match_signal_async(bus_.connection(), &slot, kWatcher, kWatcherPath, kWatcher, member,
                                                  handler, nullptr, this);
    keep(matched, slot);
  };
  match("StatusNotifierHostRegistered", &Methods::hostCame);
  match("StatusNotifierHostUnregistered", &Methods::hostWent);
}

void StatusNotifierItem::unpublish() {
  for (sd_bus_slot* slot : slots_) sd_bus_slot_unref(slot);
  slots_.clear();
}

void StatusNotifierItem::watcherAppeared(const std::string& owner) {
  watcher_ = owner;
  registerItem();
}

void StatusNotifierItem::registerItem() {
  again_.reset();
  // To that very owner, so that one which takes its place is registered with on its own.
  BusMessage call = bus_.makeCall(watcher_, kWatcherPath, kWatcher, "RegisterStatusNotifierItem");
  const char* unique = nullptr;
  sd_bus_get_unique_name(bus_.connection(), &unique);
  if (call) sd_bus_message_append(call.get(), "s", unique ? unique : "");
  registering_ = bus_.call(std::move(call), kCallSeconds, [this](sd_bus_message* reply) {
    if (reply && !sd_bus_message_is_method_error(reply, nullptr)) return askForHost();
    setHost(false);
    again_ = bus_.loop().after(kRefusedSeconds, [this] { registerItem(); });
  });
}

void StatusNotifierItem::watcherVanished() {
  watcher_.clear();
  registering_.reset();
  asking_.reset();
  again_.reset();
  setHost(false);
}

/// A watcher may be there without anybody who shows what it watches.
void StatusNotifierItem::askForHost() {
  if (watcher_.empty()) return;
  BusMessage call = bus_.makeCall(watcher_, kWatcherPath, "org.freedesktop.DBus.Properties", "Get");
  if (call) sd_bus_message_append(call.get(), "ss", kWatcher, "IsStatusNotifierHostRegistered");
  asking_ = bus_.call(std::move(call), kCallSeconds, [this](sd_bus_message* reply) {
    int there = 0;
    const bool answered =
        reply && !sd_bus_message_is_method_error(reply, nullptr) && sd_bus_message_read(reply, "v", "b", &there) > 0;
    setHost(answered && there);
  });
}

void StatusNotifierItem::setHost(bool hasHost) {
  if (hasHost_ == hasHost) return;
  hasHost_ = hasHost;
  events_.hostChanged(hasHost);
}

void StatusNotifierItem::signal(const char* member) {
  if (bus_.connected()) sd_bus_emit_signal(bus_.connection(), kPath, kInterface, member, "");
}

void StatusNotifierItem::propertyChanged(const char* name) {
  if (bus_.connected()) sd_bus_emit_properties_changed(bus_.connection(), kPath, kInterface, name, nullptr);
}

void StatusNotifierItem::show(const StatusItemLook& look) {
  const StatusItemLook before = std::exchange(look_, look).value_or(StatusItemLook{});
  if (before.dot != look.dot) {
    pixmaps_ = {};
    propertyChanged("IconPixmap");
    signal("NewIcon");
  }
  if (before.accessibilityLabel != look.accessibilityLabel) {
    propertyChanged("Title");
    propertyChanged("IconAccessibleDesc");
    signal("NewTitle");
  }
  if (before.toolTip != look.toolTip || before.pill != look.pill) {
    propertyChanged("ToolTip");
    signal("NewToolTip");
  }
  if (before.pill == look.pill || !bus_.connected()) return;
  propertyChanged("XAyatanaLabel");
  sd_bus_emit_signal(bus_.connection(), kPath, kInterface, "XAyatanaNewLabel", "ss", whole(look.pill).c_str(),
                     whole(look.pill).c_str());
}

void StatusNotifierItem::setItemIsMenu(bool itemIsMenu) {
  if (itemIsMenu_ == itemIsMenu) return;
  itemIsMenu_ = itemIsMenu;
  propertyChanged("ItemIsMenu");
}

}  // namespace kestrelune
