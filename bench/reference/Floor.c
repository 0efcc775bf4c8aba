/* The floor: an item with a menu on the session bus, and a timer of five seconds that reads a file.
   reference-floor FILE */
#include <fcntl.h>
#include <stdint.h>
#include <string.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>
#include <unistd.h>

enum { kPeriod = 5000000, kRows = 8 };

static const char* statusFile;

static int pixmaps(sd_bus_message* to, const int* sizes, int count) {
  static const uint8_t picture[4 * 64 * 64];
  sd_bus_message_open_container(to, 'a', "(iiay)");
  for (int i = 0; i < count; ++i) {
    sd_bus_message_open_container(to, 'r', "iiay");
    sd_bus_message_append(to, "ii", sizes[i], sizes[i]);
    sd_bus_message_append_array(to, 'y', picture, (size_t)(4 * sizes[i] * sizes[i]));
    sd_bus_message_close_container(to);
  }
  return sd_bus_message_close_container(to);
}

static int text(sd_bus* bus, const char* path, const char* interface, const char* name, sd_bus_message* reply,
                void* data, sd_bus_error* error) {
  (void)bus, (void)path, (void)interface, (void)data, (void)error;
  const char* value = strcmp(name, "Category") == 0 ? "ApplicationStatus"
                      : strcmp(name, "Status") == 0 ? "Active"
                                                    : "floor";
  return sd_bus_message_append(reply, "s", value);
}

static int icon(sd_bus* bus, const char* path, const char* interface, const char* name, sd_bus_message* reply,
                void* data, sd_bus_error* error) {
  (void)bus, (void)path, (void)interface, (void)name, (void)data, (void)error;
  static const int sizes[] = {16, 22, 24, 32, 48, 64};
  return pixmaps(reply, sizes, 6);
}

static int toolTip(sd_bus* bus, const char* path, const char* interface, const char* name, sd_bus_message* reply,
                   void* data, sd_bus_error* error) {
  (void)bus, (void)path, (void)interface, (void)name, (void)data, (void)error;
  sd_bus_message_open_container(reply, 'r', "sa(iiay)ss");
  sd_bus_message_append(reply, "s", "");
  pixmaps(reply, NULL, 0);
  sd_bus_message_append(reply, "ss", "floor", "");
  return sd_bus_message_close_container(reply);
}

static int menuPath(sd_bus* bus, const char* path, const char* interface, const char* name, sd_bus_message* reply,
                    void* data, sd_bus_error* error) {
  (void)bus, (void)path, (void)interface, (void)name, (void)data, (void)error;
  return sd_bus_message_append(reply, "o", "/MenuBar");
}

static int isMenu(sd_bus* bus, const char* path, const char* interface, const char* name, sd_bus_message* reply,
                  void* data, sd_bus_error* error) {
  (void)bus, (void)path, (void)interface, (void)name, (void)data, (void)error;
  return sd_bus_message_append(reply, "b", 1);
}

static int nothing(sd_bus_message* call, void* data, sd_bus_error* error) {
  (void)data, (void)error;
  return sd_bus_reply_method_return(call, "");
}

static int aboutToShow(sd_bus_message* call, void* data, sd_bus_error* error) {
  (void)data, (void)error;
  return sd_bus_reply_method_return(call, "b", 0);
}

static int layout(sd_bus_message* call, void* data, sd_bus_error* error) {
  (void)data, (void)error;
  sd_bus_message* reply = NULL;
  if (sd_bus_message_new_method_return(call, &reply) < 0) return -1;
  sd_bus_message_append(reply, "u", 1);
  sd_bus_message_open_container(reply, 'r', "ia{sv}av");
  sd_bus_message_append(reply, "ia{sv}", 0, 1, "children-display", "s", "submenu");
  sd_bus_message_open_container(reply, 'a', "v");
  for (int i = 1; i <= kRows; ++i) {
    sd_bus_message_append(reply, "v", "(ia{sv}av)", i, 1, "label", "s", "A row", 0);
  }
  sd_bus_message_close_container(reply);
  sd_bus_message_close_container(reply);
  const int sent = sd_bus_send(NULL, reply, NULL);
  sd_bus_message_unref(reply);
  return sent;
}

static const sd_bus_vtable kItem[] = {SD_BUS_VTABLE_START(0),
                                      SD_BUS_PROPERTY("Category", "s", text, 0, 0),
                                      SD_BUS_PROPERTY("Id", "s", text, 0, 0),
                                      SD_BUS_PROPERTY("Title", "s", text, 0, 0),
                                      SD_BUS_PROPERTY("Status", "s", text, 0, 0),
                                      SD_BUS_PROPERTY("IconPixmap", "a(iiay)", icon, 0, 0),
                                      SD_BUS_PROPERTY("ToolTip", "(sa(iiay)ss)", toolTip, 0, 0),
                                      SD_BUS_PROPERTY("ItemIsMenu", "b", isMenu, 0, 0),
                                      SD_BUS_PROPERTY("Menu", "o", menuPath, 0, 0),
                                      SD_BUS_METHOD("Activate", "ii", "", nothing, SD_BUS_VTABLE_UNPRIVILEGED),
                                      SD_BUS_METHOD("ContextMenu", "ii", "", nothing, SD_BUS_VTABLE_UNPRIVILEGED),
                                      SD_BUS_VTABLE_END};

static const sd_bus_vtable kMenu[] = {
    SD_BUS_VTABLE_START(0), SD_BUS_METHOD("GetLayout", "iias", "u(ia{sv}av)", layout, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AboutToShow", "i", "b", aboutToShow, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Event", "isvu", "", nothing, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};

static int look(sd_event_source* source, uint64_t time, void* data) {
  (void)time, (void)data;
  char bytes[65536];
  const int file = open(statusFile, O_RDONLY | O_CLOEXEC);
  if (file >= 0) {
    while (read(file, bytes, sizeof bytes) > 0) continue;
    close(file);
  }
  return sd_event_source_set_time_relative(source, kPeriod);
}

static int registered(sd_bus_message* reply, void* data, sd_bus_error* error) {
  (void)reply, (void)data, (void)error;
  return 0;
}

int main(int count, char** arguments) {
  if (count != 2) return 2;
  statusFile = arguments[1];
  sd_event* event = NULL;
  sd_bus* bus = NULL;
  sd_event_source* timer = NULL;
  const char* name = NULL;
  if (sd_event_new(&event) < 0 || sd_bus_open_user(&bus) < 0) return 1;
  sd_bus_add_object_vtable(bus, NULL, "/StatusNotifierItem", "org.kde.StatusNotifierItem", kItem, NULL);
  sd_bus_add_object_vtable(bus, NULL, "/MenuBar", "com.canonical.dbusmenu", kMenu, NULL);
  sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL);
  sd_bus_get_unique_name(bus, &name);
  sd_bus_call_method_async(bus, NULL, "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                           "org.kde.StatusNotifierWatcher", "RegisterStatusNotifierItem", registered, NULL, "s", name);
  sd_event_add_time_relative(event, &timer, CLOCK_MONOTONIC, 0, 100000, look, NULL);
  sd_event_source_set_enabled(timer, SD_EVENT_ON);
  return sd_event_loop(event) < 0;
}
