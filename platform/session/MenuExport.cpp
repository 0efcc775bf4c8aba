#include "session/MenuExport.hpp"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <set>
#include <vector>

namespace kestrelune {
namespace {

constexpr const char* kInterface = "com.canonical.dbusmenu";
constexpr double kClickAfterClosing = 1;

using Item = MenuLayout::Item;
using Wanted = std::set<std::string>;  ///< names of properties; none: all

int appendText(sd_bus_message* to, const char* name, const char* value) {
  return sd_bus_message_append(to, "{sv}", name, "s", value);
}

int appendProperties(sd_bus_message* to, std::int32_t id, const Item& item, const Wanted& wanted) {
  const auto wants = [&](const char* name) { return wanted.empty() || wanted.contains(name); };
  int result = sd_bus_message_open_container(to, 'a', "{sv}");
  // Only what differs from the protocol's own defaults travels.
  if (item.separator && wants("type")) result |= appendText(to, "type", "separator");
  if (!item.separator && id != MenuLayout::kRoot && wants("label"))
    result |= appendText(to, "label", item.label.c_str());
  if (!item.separator && !item.enabled && wants("enabled")) {
    result |= sd_bus_message_append(to, "{sv}", "enabled", "b", 0);
  }
  if (!item.children.empty() && wants("children-display")) result |= appendText(to, "children-display", "submenu");
  if (item.checked && wants("toggle-type")) result |= appendText(to, "toggle-type", "checkmark");
  if (item.checked && wants("toggle-state")) {
    result |= sd_bus_message_append(to, "{sv}", "toggle-state", "i", *item.checked ? 1 : 0);
  }
  if (!item.key.empty() && wants("shortcut")) {
    result |= sd_bus_message_append(to, "{sv}", "shortcut", "aas", 1, 2, "Control", item.key.c_str());
  }
  return result | sd_bus_message_close_container(to);
}

/// The names of the properties that have the protocol's own default now.
int appendDefaults(sd_bus_message* to, std::int32_t id, const Item& item) {
  int result = sd_bus_message_open_container(to, 'r', "ias");
  result |= sd_bus_message_append(to, "i", id);
  result |= sd_bus_message_open_container(to, 'a', "s");
  if (item.enabled) result |= sd_bus_message_append(to, "s", "enabled");
  if (!item.checked) result |= sd_bus_message_append(to, "ss", "toggle-type", "toggle-state");
  if (item.key.empty()) result |= sd_bus_message_append(to, "s", "shortcut");
  return result | sd_bus_message_close_container(to) | sd_bus_message_close_container(to);
}

/// `depth` levels of children; negative: all.
int appendItem(sd_bus_message* to, const MenuLayout& layout, std::int32_t id, int depth, const Wanted& wanted) {
  const Item& item = *layout.find(id);
  int result = sd_bus_message_open_container(to, 'r', "ia{sv}av");
  result |= sd_bus_message_append(to, "i", id);
  result |= appendProperties(to, id, item, wanted);
  result |= sd_bus_message_open_container(to, 'a', "v");
  if (depth != 0) {
    for (const std::int32_t child : item.children) {
      result |= sd_bus_message_open_container(to, 'v', "(ia{sv}av)");
      result |= appendItem(to, layout, child, depth - 1, wanted);
      result |= sd_bus_message_close_container(to);
    }
  }
  return result | sd_bus_message_close_container(to) | sd_bus_message_close_container(to);
}

Wanted readNames(sd_bus_message* from) {
  Wanted names;
  sd_bus_message_enter_container(from, 'a', "s");
  for (const char* name = nullptr; sd_bus_message_read(from, "s", &name) > 0;) names.insert(name);
  sd_bus_message_exit_container(from);
  return names;
}

std::vector<std::int32_t> readNumbers(sd_bus_message* from) {
  std::vector<std::int32_t> numbers;
  sd_bus_message_enter_container(from, 'a', "i");
  for (std::int32_t number = 0; sd_bus_message_read(from, "i", &number) > 0;) numbers.push_back(number);
  sd_bus_message_exit_container(from);
  return numbers;
}

int appendNumbers(sd_bus_message* to, const std::vector<std::int32_t>& numbers) {
  return sd_bus_message_append_array(to, 'i', numbers.data(), numbers.size() * sizeof(std::int32_t));
}

int unknownItem(sd_bus_error* error, std::int32_t id) {
  return sd_bus_error_setf(error, SD_BUS_ERROR_INVALID_ARGS, "No menu item %d", id);
}

std::string senderOf(sd_bus_message* call) {
  const char* sender = sd_bus_message_get_sender(call);
  return sender ? sender : "";
}

/// Sends a finished reply, or lets the caller wait no longer for one that could not be made.
int answer(sd_bus_message* reply, int made) {
  const BusMessage owner(reply);
  return made < 0 ? made : sd_bus_send(nullptr, reply, nullptr);
}

}  // namespace

struct MenuExport::Methods {
  static MenuExport& of(void* data) { return *static_cast<MenuExport*>(data); }

  static int getLayout(sd_bus_message* call, void* data, sd_bus_error* error) {
    std::int32_t parent = 0, depth = 0;
    if (sd_bus_message_read(call, "ii", &parent, &depth) < 0) return -EINVAL;
    const Wanted wanted = readNames(call);
    MenuExport& menu = of(data);
    if (!menu.layout_.find(parent)) return unknownItem(error, parent);
    if (parent == MenuLayout::kRoot && menu.told_ == menu.revision_) menu.owesSignal_ = false;
    sd_bus_message* reply = nullptr;
    if (const int failed = sd_bus_message_new_method_return(call, &reply); failed < 0) return failed;
    int made = sd_bus_message_append(reply, "u", menu.revision_);
    made |= appendItem(reply, menu.layout_, parent, depth, wanted);
    return answer(reply, made);
  }

  static int getGroupProperties(sd_bus_message* call, void* data, sd_bus_error*) {
    const std::vector<std::int32_t> ids = readNumbers(call);
    const Wanted wanted = readNames(call);
    const MenuLayout& layout = of(data).layout_;
    sd_bus_message* reply = nullptr;
    if (const int failed = sd_bus_message_new_method_return(call, &reply); failed < 0) return failed;
    int made = sd_bus_message_open_container(reply, 'a', "(ia{sv})");
    const auto append = [&](std::int32_t id, const Item& item) {
      made |= sd_bus_message_open_container(reply, 'r', "ia{sv}");
      made |= sd_bus_message_append(reply, "i", id);
      made |= appendProperties(reply, id, item, wanted);
      made |= sd_bus_message_close_container(reply);
    };
    for (const std::int32_t id : ids) {
      if (const Item* item = layout.find(id)) append(id, *item);
    }
    if (ids.empty()) {
      for (const auto& [id, item] : layout.items()) append(id, item);
    }
    made |= sd_bus_message_close_container(reply);
    return answer(reply, made);
  }

  static int getProperty(sd_bus_message* call, void* data, sd_bus_error* error) {
    std::int32_t id = 0;
    const char* name = nullptr;
    if (sd_bus_message_read(call, "is", &id, &name) < 0) return -EINVAL;
    const Item* item = of(data).layout_.find(id);
    if (!item) return unknownItem(error, id);
    const std::string wanted = name;
    if (wanted == "type") return sd_bus_reply_method_return(call, "v", "s", item->separator ? "separator" : "standard");
    if (wanted == "label") return sd_bus_reply_method_return(call, "v", "s", item->label.c_str());
    if (wanted == "enabled") return sd_bus_reply_method_return(call, "v", "b", item->enabled ? 1 : 0);
    if (wanted == "visible") return sd_bus_reply_method_return(call, "v", "b", 1);
    if (wanted == "children-display") {
      return sd_bus_reply_method_return(call, "v", "s", item->children.empty() ? "" : "submenu");
    }
    if (wanted == "toggle-type") return sd_bus_reply_method_return(call, "v", "s", item->checked ? "checkmark" : "");
    if (wanted == "toggle-state") {
      return sd_bus_reply_method_return(call, "v", "i", item->checked ? (*item->checked ? 1 : 0) : -1);
    }
    if (wanted == "shortcut" && !item->key.empty()) {
      return sd_bus_reply_method_return(call, "v", "aas", 1, 2, "Control", item->key.c_str());
    }
    return sd_bus_error_setf(error, SD_BUS_ERROR_INVALID_ARGS, "No property %s", name);
  }

  static int event(sd_bus_message* call, void* data, sd_bus_error* error) {
    std::int32_t id = 0;
    const char* kind = nullptr;
    if (sd_bus_message_read(call, "is", &id, &kind) < 0) return -EINVAL;
    if (!of(data).event(id, kind, senderOf(call))) return unknownItem(error, id);
    return sd_bus_reply_method_return(call, "");
  }

  static int eventGroup(sd_bus_message* call, void* data, sd_bus_error*) {
    std::vector<std::pair<std::int32_t, std::string>> events;
    if (sd_bus_message_enter_container(call, 'a', "(isvu)") < 0) return -EINVAL;
    while (sd_bus_message_enter_container(call, 'r', "isvu") > 0) {
      std::int32_t id = 0;
      const char* kind = nullptr;
      if (sd_bus_message_read(call, "is", &id, &kind) < 0) return -EINVAL;
      events.emplace_back(id, kind);
      sd_bus_message_skip(call, "vu");
      sd_bus_message_exit_container(call);
    }
    std::vector<std::int32_t> unknown;
    for (const auto& [id, kind] : events) {
      if (!of(data).event(id, kind, senderOf(call))) unknown.push_back(id);
    }
    sd_bus_message* reply = nullptr;
    if (const int failed = sd_bus_message_new_method_return(call, &reply); failed < 0) return failed;
    return answer(reply, appendNumbers(reply, unknown));
  }

  static int aboutToShow(sd_bus_message* call, void* data, sd_bus_error* error) {
    std::int32_t id = 0;
    if (sd_bus_message_read(call, "i", &id) < 0) return -EINVAL;
    if (!of(data).layout_.find(id)) return unknownItem(error, id);
    return sd_bus_reply_method_return(call, "b", of(data).aboutToShow(id) ? 1 : 0);
  }

  static int aboutToShowGroup(sd_bus_message* call, void* data, sd_bus_error*) {
    std::vector<std::int32_t> changed, unknown;
    for (const std::int32_t id : readNumbers(call)) {
      if (!of(data).layout_.find(id)) {
        unknown.push_back(id);
      } else if (of(data).aboutToShow(id)) {
        changed.push_back(id);
      }
    }
    sd_bus_message* reply = nullptr;
    if (const int failed = sd_bus_message_new_method_return(call, &reply); failed < 0) return failed;
    const int made = appendNumbers(reply, changed);
    return answer(reply, made | appendNumbers(reply, unknown));
  }

  static int property(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply, void*,
                      sd_bus_error*) {
    const std::string wanted = name;
    if (wanted == "Version") return sd_bus_message_append(reply, "u", 3);
    if (wanted == "TextDirection") return sd_bus_message_append(reply, "s", "ltr");
    if (wanted == "Status") return sd_bus_message_append(reply, "s", "normal");
    return sd_bus_message_append(reply, "as", 0);
  }

  static const sd_bus_vtable* table() {
    static const sd_bus_vtable kTable[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("GetLayout", "iias", "u(ia{sv}av)", getLayout, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("GetGroupProperties", "aias", "a(ia{sv})", getGroupProperties, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("GetProperty", "is", "v", getProperty, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Event", "isvu", "", event, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("EventGroup", "a(isvu)", "ai", eventGroup, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("AboutToShow", "i", "b", aboutToShow, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("AboutToShowGroup", "ai", "aiai", aboutToShowGroup, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_PROPERTY("Version", "u", property, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("TextDirection", "s", property, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("Status", "s", property, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("IconThemePath", "as", property, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_SIGNAL("ItemsPropertiesUpdated", "a(ia{sv})a(ias)", 0),
        SD_BUS_SIGNAL("LayoutUpdated", "ui", 0),
        SD_BUS_SIGNAL("ItemActivationRequested", "iu", 0),
        SD_BUS_VTABLE_END};
    return kTable;
  }
};

MenuExport::MenuExport(Bus& bus, Events events) : bus_(bus), events_(std::move(events)) {
  connection_ = bus_.listen({[this] { publish(); }, [this] { unpublish(); }});
}

MenuExport::~MenuExport() { unpublish(); }

void MenuExport::publish() {
  unpublish();
  sd_bus_add_object_vtable(bus_.connection(), &slot_, kPath, kInterface, Methods::table(), this);
}

void MenuExport::unpublish() {
  slot_ = sd_bus_slot_unref(slot_);
  closed();
}

void MenuExport::setMenu(const MenuTree& menu) {
  const MenuLayout::Change change = layout_.setMenu(foldedMenu(menu));
  if (!change.any) return;
  ++revision_;
  owesSignal_ = true;
  if (open_ && slot_ && bus_.connected()) tellProperties(change.properties);
  changed();
}

/// What stays a row shows its new words at once. New rows wait until the menu is closed, since several hosts lose the
/// pointer over them, or close.
void MenuExport::tellProperties(const std::vector<std::int32_t>& ids) {
  if (ids.empty()) return;
  sd_bus_message* signal = nullptr;
  if (sd_bus_message_new_signal(bus_.connection(), &signal, kPath, kInterface, "ItemsPropertiesUpdated") < 0) return;
  const BusMessage owner(signal);
  int made = sd_bus_message_open_container(signal, 'a', "(ia{sv})");
  for (const std::int32_t id : ids) {
    made |= sd_bus_message_open_container(signal, 'r', "ia{sv}");
    made |= sd_bus_message_append(signal, "i", id);
    made |= appendProperties(signal, id, *layout_.find(id), {});
    made |= sd_bus_message_close_container(signal);
  }
  made |= sd_bus_message_close_container(signal);
  made |= sd_bus_message_open_container(signal, 'a', "(ias)");
  for (const std::int32_t id : ids) made |= appendDefaults(signal, id, *layout_.find(id));
  made |= sd_bus_message_close_container(signal);
  if (made >= 0) sd_bus_send(nullptr, signal, nullptr);
}

void MenuExport::changed() {
  if (open_ || !owesSignal_ || !slot_ || !bus_.connected()) return;
  owesSignal_ = false;
  sd_bus_emit_signal(bus_.connection(), kPath, kInterface, "LayoutUpdated", "ui", revision_, MenuLayout::kRoot);
}

bool MenuExport::aboutToShow(std::int32_t id) {
  if (id != MenuLayout::kRoot) return false;
  // Some hosts never say that they have closed it, and say so by opening it again.
  if (open_) setOpen(false);
  const std::uint32_t before = revision_;
  // The host learns of the change by this answer; a signal beside it would make it draw twice. One that doesn't mind
  // the answer gets its signal when the menu closes.
  open_ = true;
  events_.willOpen();
  open_ = false;
  if (revision_ == before) return false;
  told_ = revision_;
  return true;
}

void MenuExport::setOpen(bool open) {
  if (open_ == open) return;
  open_ = open;
  if (open) {
    forgetting_.reset();
    layout_.keepShown(true);
  } else {
    // A host may tell of the click after it has told of the closing.
    forgetting_ = bus_.loop().after(kClickAfterClosing, [this] { layout_.keepShown(false); });
  }
  events_.openChanged(open);
}

void MenuExport::opened(const std::string& host) {
  setOpen(true);
  if (!host.empty())
    host_ = bus_.watchName(
        host, [](const std::string&) {}, [this] { closed(); });
}

void MenuExport::closed() {
  setOpen(false);
  changed();
  // This may be the watch's own call.
  if (host_) bus_.loop().post([host = std::shared_ptr<Subscription>(std::move(host_))] {});
}

bool MenuExport::event(std::int32_t id, const std::string& kind, const std::string& sender) {
  const Item* item = layout_.shown(id);
  if (!item) return false;
  if (id == MenuLayout::kRoot && kind == "opened") opened(sender);
  if (id == MenuLayout::kRoot && kind == "closed") closed();
  if (kind != "clicked" || !item->choice) return true;
  // A click closes the menu, whether or not the host says so. It acts in a later pass, when the host has its answer.
  bus_.loop().post(lifetime_.guarded([this, choice = *item->choice] { events_.chosen(choice); }));
  closed();
  return true;
}

}  // namespace kestrelune
