"""The programs in the bundle that stand for the system's tools."""
import os

from gi.repository import Gio, GLib

from desktop import BUNDLE, Desktop, wait_for
from runner import equal, test, true

HELPERS = BUNDLE / "Contents/Helpers"
SERVICE = f"gui/{os.getuid()}/com.kestrelune.helper"
MANAGER = """<node><interface name="org.freedesktop.systemd1.Manager">
<method name="Subscribe"/>
<method name="StartUnit"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="o" direction="out"/></method>
<method name="RestartUnit"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="o" direction="out"/></method>
</interface></node>"""


class Manager:
    """A service manager on the session bus that knows the helper's service, and ends its jobs with `result`."""

    def __init__(self, desktop, result="done"):
        self.connection, self.asked = desktop.connect(), []
        self.result = result
        information = Gio.DBusNodeInfo.new_for_xml(MANAGER).interfaces[0]
        self.connection.register_object("/org/freedesktop/systemd1", information, self._called, None, None)
        Gio.bus_own_name_on_connection(self.connection, "org.freedesktop.systemd1", Gio.BusNameOwnerFlags.NONE, None, None)
        wait_for("the manager", lambda: desktop.owner("org.freedesktop.systemd1"))

    def _called(self, connection, sender, path, interface, method, parameters, invocation):
        if method == "Subscribe":
            invocation.return_value(None)
            return
        unit = parameters.unpack()[0]
        self.asked.append((method, unit))
        if unit != "com.kestrelune.helper.service":
            invocation.return_dbus_error("org.freedesktop.systemd1.NoSuchUnit", f"Unit {unit} not found.")
            return
        for job, result in ("/job/other", "failed"), ("/job/1", self.result):
            connection.emit_signal(None, path, interface, "JobRemoved", GLib.Variant("(uoss)", (1, job, unit, result)))
        invocation.return_value(GLib.Variant("(o)", ("/job/1",)))


@test("launchctl restarts the user's service, or says why not")
def launchctl():
    with Desktop(bus=True) as desktop:
        def ran(*arguments):
            process = desktop.start([HELPERS / "launchctl", *arguments])
            return process.ended(), process.errors

        status, errors = ran("kickstart", "-k", SERVICE)
        true(status not in (0, 22) and len(errors) == 1, f"without a manager: {status} {errors}")
        manager = Manager(desktop)
        equal(ran("kickstart", "-k", SERVICE), (0, []), "a restart")
        equal(ran("kickstart", SERVICE), (0, []), "a start")
        status, errors = ran("kickstart", "-k", SERVICE + "2")
        equal((status != 0, errors), (True, ["Unit com.kestrelune.helper2.service not found."]), "an unknown service")
        equal(manager.asked, [("RestartUnit", "com.kestrelune.helper.service"), ("StartUnit", "com.kestrelune.helper.service"),
                              ("RestartUnit", "com.kestrelune.helper2.service")], "what the manager was asked")
        manager.result = "failed"
        equal(ran("kickstart", "-k", SERVICE), (5, ["com.kestrelune.helper.service: failed"]), "one that doesn't start")
        equal(ran("kickstart", "-k", "gui/99999/com.kestrelune.helper")[0], 1, "another user's")
        equal(ran("stop", SERVICE)[0], 22, "another command")


def write_program(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("#!/bin/bash\n" + text)
    path.chmod(0o755)


@test("open starts installed applications by name and identifier, and bundles in a session of their own")
def opens():
    with Desktop() as desktop:
        said = desktop.folder / "said"
        applications = desktop.home / ".local/share/applications"
        applications.mkdir(parents=True)
        write_program(desktop.folder / "program", f'echo "$1" >>"{said}"')
        for name, title in ("com.example.editor", "The Editor"), ("weather", "Sky"):
            (applications / f"{name}.desktop").write_text(
                f'[Desktop Entry]\nType=Application\nName={title}\nExec="{desktop.folder}/program" {name} %U\n')
        rows = [("-b", "com.example.editor", 0), ("-a", "the editor", 0), ("-a", "Weather", 0), ("-b", "The Editor", 1), ("-a", "None", 1),
                ("-n", str(desktop.folder), 1), ("-x", "weather", 2)]
        for option, name, status in rows:
            process = desktop.start([HELPERS / "open", option, name])
            equal((process.ended(), len(process.errors)), (status, 0 if status == 0 else 1), f"open {option} {name}")
        equal(said.read_text().split(), ["com.example.editor", "com.example.editor", "weather"], "what was opened")

        found = desktop.folder / "found"
        bundle = desktop.folder / "A “quoted” $name.app"
        write_program(bundle / "Contents/MacOS/Program",
                      f'echo "$$ $(ps -o sid= -p $$) $(ls /proc/$$/fd | tr "\\n" ,)" >"{found}.new"; mv "{found}.new" "{found}"; sleep 30')
        ours = os.dup2(os.open("/dev/null", os.O_RDONLY), 77)
        process = desktop.start([HELPERS / "open", "-n", f"{bundle}/"], pass_fds=[ours])
        equal(process.ended(), 0, "open -n")
        pid, session, descriptors = wait_for("the program", lambda: found.exists() and found.read_text().split())
        desktop.stack.callback(os.killpg, int(pid), 15)
        equal(session, pid, "its session")
        true(str(ours) not in descriptors.split(","), f"it holds a descriptor of ours: {descriptors}")
