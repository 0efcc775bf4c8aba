"""The helper's caretaker: from an empty home to a running helper, old installs, one instance an account, and ends."""
import contextlib
import json
import os
import pathlib
import signal
import stat
import subprocess
import time

from desktop import BINARY, BUNDLE, PATIENCE, ROOT, Desktop, children, send, wait_for
from hostile import hostile
from peers import NotificationServer, TrayHost
from runner import equal, test, true

OPEN = BUNDLE / "Contents/Helpers/open"
READY = "Kestrelune — Everything is ready"


class Home(Desktop):
    """A home folder where the first-run window was gone through, and nothing is set up."""

    def __init__(self, **more):
        super().__init__(bus=True, **more)
        self.root = self.home / ".kestrelune"
        self.runner = self.root / "runner"
        self.status, self.heartbeat = self.runner / "status.json", self.runner / "menubar.json"
        defaults = self.home / ".config/Kestrelune/defaults.json"
        defaults.parent.mkdir(parents=True)
        defaults.write_text('{"kestrelune.setupWindowCompleted":true}')
        self.environment["KESTRELUNE_DEMO_SCENE"] = str(ROOT / "demo/scenes/all-ready.json")
        self.stack.callback(self.end_helper)

    def read(self, key, file="status.json"):
        try:
            return json.loads((self.runner / file).read_text()).get(key)
        except (OSError, ValueError):
            return None

    def running(self):
        """The process id of a helper that says that it runs, and does."""
        pid = self.read("pid")
        return pid if pid and alive(pid) and self.read("state") == "running" else None

    def end_helper(self):
        if pid := self.read("pid"):
            with contextlib.suppress(OSError):
                if "kestrelune-runner" in pathlib.Path(f"/proc/{pid}/cmdline").read_text():
                    os.kill(pid, signal.SIGKILL)

    def helpers(self):
        """All helpers of this home."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                if f"{self.root}/helper/kestrelune-runner.mjs\0run" in (process / "cmdline").read_text() and alive(process.name):
                    found.append(int(process.name))
        return found

    def second(self, environment=None):
        process = self.start([BINARY], environment)
        status = process.ended()
        return status, process.errors


def alive(pid):
    """A process that still runs: one that ended and waits to be collected doesn't."""
    try:
        return pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[0] != "Z"
    except OSError:
        return False


def read_bytes(path):
    try:
        return path.read_bytes()
    except OSError:
        return b""


def version(path):
    return next(line.split("'")[1] for line in path.read_text().splitlines() if line.startswith("const VERSION"))


@test("from an empty home to a running helper, which ends with a killed companion and is there again after the next start")
def from_nothing():
    with Home() as desktop:
        host = TrayHost(desktop)
        server = NotificationServer(desktop)
        process = desktop.start([BINARY])
        item = host.item()
        helper = wait_for("the helper", desktop.running, 60)
        wait_for("the words", lambda: item.says()[0] == READY)
        wait_for("the notice", lambda: server.shown)
        runtime = (desktop.root / "node/current").readlink()
        equal((desktop.root / "node").joinpath(runtime).parent, desktop.root / "node", "a relative link")
        modes = {"": 0o700, "node": 0o700, "helper": 0o700, "bin": 0o700, "node/current/bin/node": 0o755,
                 "helper/kestrelune-runner.mjs": 0o600, "bin/kestrelune": 0o700, "runner/logs/helper.log": 0o600}
        equal({name: stat.S_IMODE((desktop.root / name).stat().st_mode) for name in modes}, modes, "modes")
        true((desktop.runner / "in-app").exists(), "the marker")
        true((desktop.home / ".config/autostart/com.kestrelune.menu.desktop").exists(), "the login item")
        equal(children(process.pid), [helper], "the companion's children")
        true(os.readlink(f"/proc/{helper}/exe").endswith(("/bin/Kestrelune", "/bin/node")), "the helper's program")
        ours = [os.readlink(f"/proc/{helper}/fd/{number}") for number in os.listdir(f"/proc/{helper}/fd")]
        equal([name for name in ours if str(desktop.root) in name and not name.endswith("helper.log")], [], "what the helper holds")

        process.signal(signal.SIGKILL)
        process.ended()
        wait_for("the helper to end", lambda: not desktop.helpers())
        process = desktop.start([BINARY])
        again = wait_for("another helper", lambda: desktop.running() not in (None, helper) and desktop.running())
        equal(desktop.helpers(), [again], "helpers after the next start")
        equal(send(process), 0, "exit status")
        wait_for("the helper's end", lambda: not desktop.helpers())
        equal(desktop.heartbeat.exists(), False, "a heartbeat after the end")


@test("an environment that means ill reaches neither the helper nor the screen, which is confined")
def ill_environment():
    with Home(display=True) as desktop:
        ill = hostile(desktop.folder / "ill")
        process = desktop.start([BINARY], ill)
        helper = wait_for("the helper", desktop.running, 60)
        wait_for("the strip", desktop.windows)
        screen, = (pid for pid in children(process.pid) if pid != helper)
        for name, pid in {"helper": helper, "screen": screen}.items():
            got = pathlib.Path(f"/proc/{pid}/environ").read_bytes().decode().split("\0")
            equal([entry for entry in got if entry.split("=")[0] in ill], [], f"what reaches the {name}")
        status = pathlib.Path(f"/proc/{screen}/status").read_text()
        true("NoNewPrivs:\t1\n" in status and "Seccomp:\t2\n" in status, "the screen's confinement")
        equal(send(process), 0, "exit status")
        equal([path.name for path in (desktop.folder / "ill").glob("obeyed*")], [], "what was obeyed")


@test("an older install by launch agent moves into the application, and a newer helper stays")
def older_installs():
    for installed, after in ("1.3.9", None), ("9.0.0", "9.0.0"):
        with Home() as desktop:
            subprocess.run([ROOT / "demo/place", desktop.root], check=True)
            helper = desktop.root / "helper/kestrelune-runner.mjs"
            carried = version(helper)
            helper.write_text(helper.read_text().replace(f"const VERSION = '{carried}'", f"const VERSION = '{installed}'"))
            agent = desktop.home / "Library/LaunchAgents/com.kestrelune.helper.plist"
            agent.parent.mkdir(parents=True)
            agent.write_text("<plist/>")
            process = desktop.start([BINARY])
            wait_for("the helper", desktop.running, 60)
            equal((version(helper), agent.exists()), (after or carried, False), f"after {installed}")
            equal(desktop.helpers(), [desktop.read("pid")], "helpers")
            equal(send(process), 0, "exit status")


@test("quitting waits for no command: an install goes on by itself, a question ends, and a start finds the way free")
def quitting():
    with Home() as desktop:
        desktop.environment["KESTRELUNE_DEMO_ORDERS"] = json.dumps({"install": {"seconds": 3}, "version": {"hang": True, "ignoreTerm": True}})
        commands = lambda word: [process.name for process in pathlib.Path("/proc").glob("[0-9]*") if alive(process.name)
                                 and f"kestrelune-runner.mjs\0{word}\0".encode() in read_bytes(process / "cmdline") and str(desktop.root).encode() in read_bytes(process / "cmdline")]

        def quits(process, word):
            wait_for(f"the command {word}", lambda: commands(word), 60)
            time.sleep(0.5)
            began = time.monotonic()
            equal(send(process), 0, "exit status")
            took = time.monotonic() - began
            true(took < PATIENCE, f"{word}: quitting took {took:.1f} s")
            equal(desktop.heartbeat.exists(), False, "a heartbeat after the end")

        quits(desktop.start([BINARY]), "install")
        true(commands("install"), "the install goes on")
        again = desktop.start([BINARY])
        wait_for("a second start", lambda: desktop.read("pid", "menubar.json") == again.pid)
        wait_for("the install to come to its end", (desktop.runner / "in-app").exists)
        equal(send(again), 0, "exit status")

        helper = desktop.root / "helper/kestrelune-runner.mjs"
        helper.write_text(helper.read_text() + "\n")
        quits(desktop.start([BINARY]), "version")
        wait_for("the question to end", lambda: not commands("version"))


@test("a second start shows the first one's window and ends; from another session it brings the first one there")
def second_start():
    with Home(display=True) as desktop, Desktop(display=True, bus=True) as other:
        process = desktop.start([BINARY], {"DISPLAY": desktop.environment["DISPLAY"]})
        helper = wait_for("the helper", desktop.running, 60)
        large = lambda where: [window for window in where.windows() if window[3] > 300 and window[4] > 300]
        equal(large(desktop), [], "windows before")
        equal(desktop.second(), (0, []), "a second start")
        wait_for("the main window", lambda: large(desktop))
        equal((desktop.read("pid", "menubar.json"), desktop.helpers()), (process.pid, [helper]), "heartbeat and helper")

        bare = {"DISPLAY": "", "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere"}
        equal(desktop.second(bare), (0, []), "one without a display")
        true(large(desktop), "the window is still there")

        host = TrayHost(other)
        session = {name: other.environment[name] for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR")}
        equal(desktop.second(session), (0, []), "one from another session")
        wait_for("the window on the other display", lambda: large(other))
        wait_for("the first display to be left", lambda: not desktop.windows())
        item = host.item()
        wait_for("the words on the other bus", lambda: item.says()[0] == READY)
        equal(desktop.helpers(), [helper], "helpers")
        equal(send(process), 0, "exit status")


@test("a start takes over from an instance that is ending, and never runs beside one that hangs")
def takes_over():
    with Home() as desktop:
        process = desktop.start([BINARY])
        wait_for("the helper", desktop.running, 60)
        process.signal(signal.SIGSTOP)
        later = desktop.start([BINARY])
        time.sleep(0.5)
        equal((later.child.poll(), desktop.read("pid", "menubar.json")), (None, process.pid), "while the first one hangs")
        process.signal(signal.SIGTERM)
        process.signal(signal.SIGCONT)
        equal(process.ended(), 0, "the first one's exit status")
        # Which of the two it sees first is chance.
        if later.child.poll() is None:
            wait_for("its heartbeat", lambda: desktop.read("pid", "menubar.json") == later.pid)
            later.end()

        process = desktop.start([BINARY])
        wait_for("its heartbeat", lambda: desktop.read("pid", "menubar.json") == process.pid)
        process.signal(signal.SIGTERM)
        opened = desktop.start([OPEN, "-n", BUNDLE])
        equal(opened.ended(), 0, "open -n")
        equal(process.ended(), 0, "the ending one's exit status")
        successor = wait_for("its successor", lambda: desktop.read("pid", "menubar.json") not in (None, process.pid) and desktop.read("pid", "menubar.json"))
        desktop.stack.callback(lambda: alive(successor) and os.kill(successor, signal.SIGKILL))
        wait_for("one helper", lambda: len(desktop.helpers()) == 1)
        os.kill(successor, signal.SIGTERM)
        wait_for("the end of everything", lambda: not alive(successor) and not desktop.helpers())
