"""The other ends on the session bus: a tray host, a reader of exported menus, a notification server, a portal."""
from gi.repository import Gio, GLib

from desktop import wait_for

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
PROPERTIES = "org.freedesktop.DBus.Properties"

WATCHER_XML = f"""<node><interface name="{WATCHER}">
<method name="RegisterStatusNotifierItem"><arg direction="in" type="s"/></method>
<method name="RegisterStatusNotifierHost"><arg direction="in" type="s"/></method>
<property name="RegisteredStatusNotifierItems" type="as" access="read"/>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
<property name="ProtocolVersion" type="i" access="read"/>
<signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
<signal name="StatusNotifierItemUnregistered"><arg type="s"/></signal>
<signal name="StatusNotifierHostRegistered"/></interface></node>"""

NOTIFICATIONS_XML = """<node><interface name="org.freedesktop.Notifications">
<method name="GetCapabilities"><arg direction="out" type="as"/></method>
<method name="GetServerInformation"><arg direction="out" type="s"/><arg direction="out" type="s"/>
<arg direction="out" type="s"/><arg direction="out" type="s"/></method>
<method name="Notify"><arg direction="in" type="s"/><arg direction="in" type="u"/><arg direction="in" type="s"/>
<arg direction="in" type="s"/><arg direction="in" type="s"/><arg direction="in" type="as"/>
<arg direction="in" type="a{sv}"/><arg direction="in" type="i"/><arg direction="out" type="u"/></method>
<method name="CloseNotification"><arg direction="in" type="u"/></method>
<signal name="NotificationClosed"><arg type="u"/><arg type="u"/></signal>
<signal name="ActivationToken"><arg type="u"/><arg type="s"/></signal>
<signal name="ActionInvoked"><arg type="u"/><arg type="s"/></signal></interface></node>"""

PORTAL_XML = """<node><interface name="org.freedesktop.portal.Settings">
<method name="ReadAll"><arg direction="in" type="as"/><arg direction="out" type="a{sa{sv}}"/></method>
<signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal></interface></node>"""


class Peer:
    """A service with a connection of its own; `leave` is what a crash of it looks like to others."""

    def __init__(self, desktop, name, path, xml):
        self.desktop, self.name, self.path = desktop, name, path
        self.connection = desktop.connect()
        self.interface = Gio.DBusNodeInfo.new_for_xml(xml).interfaces[0]
        self.connection.register_object(path, self.interface, self._called, self._asked, None)
        self.connection.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                                  GLib.Variant("(su)", (name, 4)), None, Gio.DBusCallFlags.NONE, 5000, None)
        desktop.stack.callback(self.leave)

    def leave(self):
        if not self.connection.is_closed():
            self.connection.close_sync(None)

    def emit(self, signal, arguments=None):
        self.connection.emit_signal(None, self.path, self.interface.name, signal, arguments)

    def _called(self, _connection, sender, _path, _interface, method, arguments, invocation):
        invocation.return_value(getattr(self, method)(sender, *arguments.unpack()))

    def _asked(self, _connection, _sender, _path, _interface, name):
        return getattr(self, name)()


class TrayHost(Peer):
    """Watcher and host in one: keeps the registered items as (bus name, path)."""

    def __init__(self, desktop, host=True):
        self.items, self.has_host = [], host
        super().__init__(desktop, WATCHER, "/StatusNotifierWatcher", WATCHER_XML)
        if host:
            self.emit("StatusNotifierHostRegistered")

    def RegisterStatusNotifierItem(self, sender, service):
        item = (sender, service) if service.startswith("/") else (service, "/StatusNotifierItem")
        self.items.append(item)
        self.emit("StatusNotifierItemRegistered", GLib.Variant("(s)", ("".join(item),)))

    def RegisterStatusNotifierHost(self, _sender, _service):
        self.has_host = True

    def RegisteredStatusNotifierItems(self):
        return GLib.Variant("as", ["".join(item) for item in self.items])

    def IsStatusNotifierHostRegistered(self):
        return GLib.Variant("b", self.has_host)

    def ProtocolVersion(self):
        return GLib.Variant("i", 0)

    def item(self):
        """The one item, waited for."""
        name, path = wait_for("an item that registers", lambda: self.items and self.items[-1])
        return Item(self.desktop, name, path)


class Item:
    """A registered item as a host sees it: its properties, its signals, its menu."""

    def __init__(self, desktop, name, path):
        self.desktop, self.name, self.path = desktop, name, path
        self.signals = []
        desktop.connection.signal_subscribe(name, ITEM, None, path, None, Gio.DBusSignalFlags.NONE,
                                            lambda *call: self.signals.append(call[4]))
        self.menu = Menu(desktop, name, self.properties()["Menu"])

    def properties(self):
        return self.desktop.call(self.name, self.path, PROPERTIES, "GetAll", GLib.Variant("(s)", (ITEM,)))[0]

    def says(self):
        """What the item says in words: tool tip title and text, accessible description, label."""
        now = self.properties()
        return now["ToolTip"][2], now["ToolTip"][3], now.get("IconAccessibleDesc"), now.get("XAyatanaLabel")

    def call(self, method, x=1200, y=4):
        return self.desktop.call(self.name, self.path, ITEM, method, GLib.Variant("(ii)", (x, y)))


class Row:
    def __init__(self, layout):
        self.id, self.properties, children = layout
        self.children = [Row(child) for child in children]

    @property
    def label(self):
        return self.properties.get("label", "")

    @property
    def separator(self):
        return self.properties.get("type") == "separator"

    @property
    def enabled(self):
        return self.properties.get("enabled", True)

    def walk(self):
        for child in self.children:
            yield child
            yield from child.walk()

    def find(self, text):
        return next((row for row in self.walk() if text in row.label), None)

    def lines(self, depth=0):
        """The menu as text: one line a row, for messages and comparisons."""
        for row in self.children:
            yield "  " * depth + ("---" if row.separator else row.label + ("" if row.enabled else " (off)"))
            yield from row.lines(depth + 1)


class Menu:
    """Reads an exported menu as hosts do: announce, fetch whole, click."""

    def __init__(self, desktop, name, path):
        self.desktop, self.name, self.path = desktop, name, path
        self.updates = []
        desktop.connection.signal_subscribe(name, MENU, None, path, None, Gio.DBusSignalFlags.NONE,
                                            lambda *call: self.updates.append(call[4]))

    def call(self, method, arguments):
        return self.desktop.call(self.name, self.path, MENU, method, arguments)

    def layout(self):
        self.call("AboutToShow", GLib.Variant("(i)", (0,)))
        return Row(self.call("GetLayout", GLib.Variant("(iias)", (0, -1, [])))[1])

    def event(self, row, kind="clicked"):
        self.call("Event", GLib.Variant("(isvu)", (row.id, kind, GLib.Variant("i", 0), 0)))


class NotificationServer(Peer):
    """Keeps what is shown, by id; capabilities as given."""

    def __init__(self, desktop, capabilities=("body", "actions", "body-markup", "persistence", "sound")):
        self.capabilities, self.shown, self.calls, self.closed = list(capabilities), {}, [], []
        super().__init__(desktop, "org.freedesktop.Notifications", "/org/freedesktop/Notifications", NOTIFICATIONS_XML)

    def GetCapabilities(self, _sender):
        return GLib.Variant("(as)", (self.capabilities,))

    def GetServerInformation(self, _sender):
        return GLib.Variant("(ssss)", ("Test", "Kestrelune", "1", "1.2"))

    def Notify(self, _sender, app, replaces, icon, summary, body, actions, hints, expires):
        number = replaces or len(self.calls) + 1
        self.shown[number] = {"app": app, "icon": icon, "summary": summary, "body": body, "actions": actions,
                              "hints": hints, "expires": expires, "replaces": replaces}
        self.calls.append(self.shown[number])
        return GLib.Variant("(u)", (number,))

    def CloseNotification(self, _sender, number):
        self.shown.pop(number, None)
        self.closed.append(number)

    def click(self, number, action="default", token=None):
        if token:
            self.emit("ActivationToken", GLib.Variant("(us)", (number, token)))
        self.emit("ActionInvoked", GLib.Variant("(us)", (number, action)))


class Portal(Peer):
    """What a desktop publishes of its settings: {group: {key: value}}."""

    def __init__(self, desktop, settings):
        self.settings = settings
        super().__init__(desktop, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop", PORTAL_XML)

    def ReadAll(self, _sender, groups):
        return GLib.Variant("(a{sa{sv}})", ({group: self.settings[group] for group in groups if group in self.settings},))

    def change(self, group, key, value):
        self.settings.setdefault(group, {})[key] = value
        self.emit("SettingChanged", GLib.Variant("(ssv)", (group, key, value)))
