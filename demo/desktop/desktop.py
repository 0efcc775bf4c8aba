"""A desktop for tests and measurements: display, session bus, home folder, helper, and the companion on it.

One process has one desktop: what is set in the environment here is set for all of it. Everything runs on the
GLib main context of that process; `wait_for` turns it.
"""
import contextlib
import json
import os
import pathlib
import pwd
import shutil
import signal
import subprocess
import tempfile
import threading
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402
from Xlib import X, display as xlib  # noqa: E402
from Xlib.error import ConnectionClosedError, DisplayError, XError  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUNDLE = pathlib.Path(os.environ.get("KESTRELUNE_TEST_BUNDLE", ROOT / "build/release/Kestrelune.app"))
BINARY = BUNDLE / "Contents/MacOS/KestreluneMenu"
HELPER = ROOT / "demo/kestrelune-runner.mjs"
SCENES = ROOT / "demo/scenes"
LIMIT = 60  # seconds; only a hang takes that long, however busy the machine is
PATIENCE = float(os.environ.get("KESTRELUNE_TEST_PATIENCE", "1"))

DISPLAY_OPTIONS = ["-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"]
BUS_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth><servicedir>services</servicedir>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>"""


class Failure(AssertionError):
    """What was waited for did not come, or is not as it should be."""


def wait_for(what, predicate, timeout=LIMIT):
    """Turns the main context until the predicate gives something true, and gives that."""
    context = GLib.MainContext.default()
    end = time.monotonic() + timeout * PATIENCE
    while True:
        while context.pending():
            context.iteration(False)
        value = predicate()
        if value:
            return value
        if time.monotonic() > end:
            raise Failure(f"waited {timeout * PATIENCE:.0f} s for {what}")
        time.sleep(0.01)


def watch(seconds):
    """Lets the desktop live on for a while, where a test has to see that nothing happens."""
    end = time.monotonic() + seconds
    wait_for("the end of a watch", lambda: time.monotonic() >= end, timeout=seconds + 5)


class Process:
    """A child with its lines; ended with the test."""

    def __init__(self, arguments, environment, **more):
        self.lines, self.errors = [], []
        self.child = subprocess.Popen(arguments, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                      stderr=subprocess.PIPE, text=True, errors="replace", **more)
        self.readers = [threading.Thread(target=self._read, args=pair, daemon=True)
                        for pair in ((self.child.stdout, self.lines), (self.child.stderr, self.errors))]
        for reader in self.readers:
            reader.start()

    @staticmethod
    def _read(stream, lines):
        for line in stream:
            lines.append(line.rstrip("\n"))

    @property
    def pid(self):
        return self.child.pid

    def signal(self, number):
        self.child.send_signal(number)

    def ended(self, timeout=LIMIT):
        """The exit status, waited for; all lines are there then."""
        wait_for(f"the end of {self.child.args[0]}", lambda: self.child.poll() is not None, timeout)
        for reader in self.readers:
            reader.join(2)
        return self.child.returncode

    def end(self):
        if self.child.poll() is None:
            self.child.terminate()
            with contextlib.suppress(subprocess.TimeoutExpired):
                self.child.wait(5)
        if self.child.poll() is None:
            self.child.kill()
            self.child.wait()

    def states(self):
        return [line for line in self.lines if line.startswith("STATE ")]

    def line(self, text, timeout=LIMIT):
        """Waits for a line of standard output that begins so."""
        def arrived():
            over = self.child.poll() is not None and not any(reader.is_alive() for reader in self.readers)
            found = next((line for line in self.lines if line.startswith(text)), None)
            if over and not found:
                raise Failure(f"no line {text!r}; it ended with {self.child.returncode}")
            return found
        try:
            return wait_for(f"the line {text!r}", arrived, timeout)
        except Failure as failure:
            raise Failure(f"{failure}; it said {self.lines[-8:]} {self.errors[-8:]}") from None


class Desktop:
    """Used as a context: what it started ends with it, in the opposite order, and its folder goes."""

    def __init__(self, display=False, bus=False, accessible=False):
        self.stack = contextlib.ExitStack()
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kestrelune-desktop-"))
        self.stack.callback(shutil.rmtree, self.folder, ignore_errors=True)
        self.stack.callback(self._read_findings)
        self.home = self.folder / "home"
        self.runner = self.folder / "runner"
        self.status = self.runner / "status.json"
        self.heartbeat = self.runner / "menubar.json"
        for folder in (self.home, self.runner, self.folder / "session"):
            folder.mkdir(mode=0o700)
        self.environment = self._environment()
        self.connection, self.servers = None, {}
        try:
            if display:
                self._start_display()
            if bus:
                self._start_bus()
            if accessible:
                self._start_accessibility()
        except BaseException:
            self.stack.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stack.close()

    def _environment(self):
        account = pwd.getpwuid(os.getuid())
        (self.folder / "passwd").write_text(f"{account.pw_name}:x:{account.pw_uid}:{account.pw_gid}::{self.home}:/bin/bash\n")
        (self.folder / "group").write_text(f"{account.pw_name}:x:{account.pw_gid}:\n")
        return {
            "PATH": os.environ["PATH"], "HOME": str(self.home), "LANG": "en_US.UTF-8",
            "XDG_RUNTIME_DIR": str(self.folder / "session"), "XDG_CONFIG_HOME": str(self.home / ".config"),
            "XDG_DATA_HOME": str(self.home / ".local/share"), "XDG_CACHE_HOME": str(self.home / ".cache"),
            "LD_PRELOAD": "libnss_wrapper.so", "NSS_WRAPPER_PASSWD": str(self.folder / "passwd"),
            "NSS_WRAPPER_GROUP": str(self.folder / "group"), "GSETTINGS_BACKEND": "memory",
            # For a build with sanitizers: what the toolkit keeps is no leak of ours, and deep binding is not for it.
            "ASAN_OPTIONS": f"detect_leaks=0:log_path={self.folder}/finding",
            "UBSAN_OPTIONS": f"print_stacktrace=1:log_path={self.folder}/finding", "NSS_WRAPPER_DISABLE_DEEPBIND": "1",
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.folder}/no-bus",
        }

    def _read_findings(self):
        """What a sanitizer said of any process, also of one that was started again at once."""
        findings = [file.read_text(errors="replace") for file in self.folder.glob("finding*")]
        if findings:
            raise Failure("\n".join(findings))

    def _set(self, key, value):
        self.environment[key] = os.environ[key] = value

    def start(self, arguments, environment=None, **more):
        process = Process([str(argument) for argument in arguments], {**self.environment, **(environment or {})}, **more)
        self.stack.callback(process.end)
        return process

    def _start_display(self):
        read, write = os.pipe()
        self._serve("display", ["Xvfb", "-displayfd", str(write), *DISPLAY_OPTIONS], pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as answer:
            self._set("DISPLAY", ":" + answer.readline().strip())

    def _start_bus(self):
        configuration = self.folder / "bus.conf"
        configuration.write_text(BUS_CONFIGURATION)
        address = f"unix:path={self.folder}/bus"
        daemon = self._serve("bus", ["dbus-daemon", f"--config-file={configuration}", f"--address={address}", "--print-address", "--nofork"],
                             stdout=subprocess.PIPE, text=True)
        daemon.stdout.readline()
        # Without the daemon's own number, so that the next one at this place counts as the same bus.
        self._set("DBUS_SESSION_BUS_ADDRESS", address)
        self.connection = self.connect()

    def _serve(self, name, command, **more):
        """A server that ends with the test, unless `lose` ends it before."""
        server = subprocess.Popen(command, **{"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, **more})
        self.stack.callback(lambda: (server.terminate(), server.wait()))
        self.servers[name] = server
        return server

    def lose(self, name):
        """Display or bus goes away as after a crash."""
        self.servers[name].kill()
        self.servers[name].wait()

    def bring_back(self, name):
        """What was lost, under its old address."""
        if name == "bus":
            (self.folder / "bus").unlink(missing_ok=True)
            self._start_bus()
        else:
            self._serve("display", ["Xvfb", self.environment["DISPLAY"], *DISPLAY_OPTIONS])

    def connect(self):
        """A connection of its own, so that a peer can go away as a process would."""
        connection = Gio.DBusConnection.new_for_address_sync(
            self.environment["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        connection.set_exit_on_close(False)
        return connection

    def _start_accessibility(self):
        self.start(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"], {"LD_PRELOAD": ""})
        wait_for("the accessibility bus", lambda: self.owner("org.a11y.Bus"))
        self.call("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
                  GLib.Variant("(ssv)", ("org.a11y.Status", "IsEnabled", GLib.Variant("b", True))))

    def call(self, name, path, interface, method, arguments=None, timeout=5):
        """Our own peers go on answering meanwhile, so that a companion that asks them first is no deadlock."""
        answers = []
        self.connection.call(name, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE,
                             int(timeout * 1000 * PATIENCE), None, lambda _, result: answers.append(result))
        wait_for(f"an answer to {method}", lambda: answers, timeout + 5)
        answer = self.connection.call_finish(answers[0])
        return answer.unpack() if answer else ()

    def owner(self, name):
        try:
            return self.call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetNameOwner", GLib.Variant("(s)", (name,)))[0]
        except GLib.Error:
            return None

    def helper(self, scene="all-ready.json", status=None):
        """The stand-in helper, walking through a scene or, on SIGUSR2, a tour; waits for the first status."""
        status = status or self.status
        process = self.start(["node", HELPER, "run", SCENES / scene, "--status", status, "--seconds", "100000"], {"LD_PRELOAD": ""})
        wait_for("the first status", status.exists)
        return process

    def write_status(self, scene="all-ready.json", **changes):
        """One status that stays as it is: no helper rewrites it, its process is this one."""
        draft = self.folder / "draft.json"
        draft.unlink(missing_ok=True)
        process = self.helper(scene, draft)
        process.end()
        status = {**json.loads(draft.read_text()), "pid": os.getpid(), **changes}
        temporary = self.status.with_suffix(".new")
        temporary.write_text(json.dumps(status))
        temporary.rename(self.status)
        return status

    def dry_run(self, status=None, heartbeat=None):
        return {"KESTRELUNE_DRY_RUN": "1", "KESTRELUNE_STATUS_FILE": str(status or self.status),
                "KESTRELUNE_MENUBAR_FILE": str(heartbeat or self.heartbeat)}

    def companion(self, *arguments, language="en_US.UTF-8", heartbeat=None, environment=None):
        """The companion in a dry run, seen to have read the status once."""
        process = self.start([BINARY, *arguments], {**self.dry_run(heartbeat=heartbeat), "LANG": language, **(environment or {})})
        process.line("STATE ")
        return process

    def screenshot(self, name):
        """The screen as a picture, kept where KESTRELUNE_SCREENSHOTS says, for people to look at; gives its path."""
        folder = pathlib.Path(os.environ.get("KESTRELUNE_SCREENSHOTS", self.folder))
        folder.mkdir(parents=True, exist_ok=True)
        picture = folder / f"{name}.png"
        subprocess.run(["import", "-silent", "-window", "root", str(picture)], check=True, env={**os.environ, "LD_PRELOAD": ""})
        return picture

    def pixel(self, x, y):
        """The colour at a place of the display."""
        server = xlib.Display(self.environment["DISPLAY"])
        blue, green, red, _ = server.screen().root.get_image(x, y, 1, 1, X.ZPixmap, 0xffffffff).data
        server.close()
        return red, green, blue

    def activatable(self, name, command):
        """From now on the bus starts the command when somebody asks for the name."""
        folder = self.folder / "services"
        folder.mkdir(exist_ok=True)
        (folder / f"{name}.service").write_text(f"[D-BUS Service]\nName={name}\nExec={command}\n")
        self.call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "ReloadConfig")

    def windows(self):
        """The visible top-level windows: (id, x, y, width, height)."""
        result = []
        try:
            server = xlib.Display(self.environment["DISPLAY"])
        except (OSError, ConnectionClosedError, DisplayError):  # it isn't there yet
            return result
        for window in server.screen().root.query_tree().children:
            with contextlib.suppress(XError):  # gone since it was listed
                place = window.get_geometry()
                if window.get_attributes().map_state == X.IsViewable:
                    result.append((window.id, place.x, place.y, place.width, place.height))
        server.close()
        return result


def children(pid):
    found = []
    for task in pathlib.Path(f"/proc/{pid}/task").glob("*/children"):
        with contextlib.suppress(OSError):
            found += [int(child) for child in task.read_text().split()]
    return found


def send(process, number=signal.SIGTERM):
    process.signal(number)
    return process.ended()
