"""The main window, used as a person with a screen reader and a keyboard would."""
import contextlib
import json
import os
import pathlib
import re
import signal
import subprocess

from desktop import BINARY, children, send, wait_for, watch
from live import LiveDesktop
from peers import Peer
from runner import equal, test, true
from screenreader import CONTROLS, Atspi, Reader

FILE_MANAGER = "org.freedesktop.FileManager1"


class FileManager(Peer):
    def __init__(self, desktop):
        self.shown = []
        super().__init__(desktop, FILE_MANAGER, "/org/freedesktop/FileManager1", f"""<node><interface name="{FILE_MANAGER}">
<method name="ShowItems"><arg direction="in" type="as"/><arg direction="in" type="s"/></method></interface></node>""")

    def ShowItems(self, _sender, urls, _token):  # noqa: N802
        self.shown += urls


class Office(LiveDesktop):
    """A companion whose main window was opened by a second start."""

    def __init__(self, scene="crowded.json", orders=None):
        super().__init__(scene, display=True, accessible=True)
        self.reader = Reader()
        self.orders(**(orders or {}))
        self.process = self.live()
        wait_for("the companion to know the helper", lambda: self.item.menu.layout().find("Running"))
        self.open()

    def orders(self, **orders):
        draft = self.runner / "orders.new"
        draft.write_text(json.dumps(orders))
        draft.rename(self.runner / "orders.json")

    def change(self, **status):
        """Another state of this Mac from the helper's next status on."""
        scene = json.loads(pathlib.Path(self.environment["KESTRELUNE_DEMO_SCENE"]).read_text())
        draft = self.runner / "scene.new"
        draft.write_text(json.dumps({**scene, "status": {**scene.get("status", {}), **status}}))
        draft.rename(self.runner / "scene.json")

    def open(self):
        equal(self.start([BINARY]).ended(), 0, "a second start")
        self.reader.wait("Kestrelune", "frame")

    def close(self):
        self.key("ctrl+w")
        wait_for("the window to close", lambda: not self.reader.find("Kestrelune", "frame"))

    @staticmethod
    def key(*keys):
        subprocess.run(["xdotool", "key", *keys], check=True)

    def turn_to(self, tab, text):
        self.reader.press(tab, "page tab")
        self.reader.wait(text)
        equal(self.reader.nameless(), [], f"nameless controls of {tab}")

    def screen(self):
        return next((pid for pid in children(self.process.pid) if "KestreluneScreen" in command_line(pid)), None)

    def focused(self):
        """The innermost that says so."""
        found = [(role, name, node.get_description()) for role, name, node in self.reader.nodes()
                 if role in CONTROLS and node.get_state_set().contains(Atspi.StateType.FOCUSED)]
        return found[-1] if found else None

    def reached_by_tab(self):
        """What the Tab key comes by on its way around."""
        seen, silent = [], 0
        while silent < 4:
            before = self.focused()
            self.key("Tab")
            with contextlib.suppress(AssertionError):
                wait_for("the focus to move", lambda: self.focused() not in (None, before), timeout=1)
            now = self.focused()
            silent = silent + 1 if now in seen else 0
            seen.append(now)
        return {(role, name) for role, name, _ in filter(None, seen)}


    def row_button(self, button, row):
        """A button that says the same in every row is told by what it stands beside."""
        def found():
            return next((node for role, name, node in self.reader.nodes() if (role, name, node.get_description()) == ("push button", button, row)), None)
        wait_for(f"“{button}” of “{row}”", found).get_action_iface().do_action(0)

    def controls(self):
        """What can be pressed or typed in; of tabs the one that is on, since the arrow keys lead to the others."""
        return {(role, name) for role, name, node in self.reader.nodes()
                if role in CONTROLS - {"page tab", "page tab list"} and node.get_state_set().contains(Atspi.StateType.FOCUSABLE)}

    def window(self):
        return max(self.windows(), key=lambda window: window[3] * window[4])

    def scrolled(self):
        bar = next((node for role, _, node in self.reader.nodes() if role == "scroll bar"), None)
        return bar.get_value_iface().get_current_value() if bar else 0

    def rows(self):
        """The rows in sight, and how far below the window's edge each stands."""
        return {(name, node.get_component_iface().get_extents(Atspi.CoordType.WINDOW).y)
                for role, name, node in self.reader.nodes() if role == "push button"}

    def is_on(self, name):
        return self.reader.find(name, "check box").get_state_set().contains(Atspi.StateType.CHECKED)

    def defaults(self):
        file = self.home / ".config/Kestrelune/defaults.json"
        return json.loads(file.read_text()) if file.exists() else {}

    def schedule(self, name):
        return next((each for each in self.read("schedules", "choices.json") or [] if each["name"] == name), None)


@test("the main window by an assistive tool: tasks, schedules, AIs, Macs, settings, a problem's report")
def everything():
    with Office("attention.json") as desktop:
        reader, files = desktop.reader, FileManager(desktop)
        task = next(name for role, name, _ in reader.nodes() if role == "push button" and name.startswith("#"))
        reader.press(task)
        reader.press("‹ All tasks")
        reader.wait(task)

        desktop.row_button("Pause", "Morning inbox")
        desktop.row_button("Resume", "Morning inbox")
        wait_for("the schedule to go on", lambda: desktop.schedule("Morning inbox")["paused"] is False)
        desktop.row_button("Remove", "Dependency check")
        reader.wait("Remove “Dependency check”?")
        os.kill(desktop.screen(), signal.SIGKILL)
        wait_for("the screen to end", lambda: not reader.find("Cancel"))
        reader.press("Cancel")  # the question is asked again
        wait_for("the question to close", lambda: not reader.find("Cancel"))
        desktop.row_button("Remove", "Dependency check")
        reader.wait("Remove “Dependency check”?")
        desktop.row_button("Remove", "")
        wait_for("the schedule to go", lambda: not desktop.schedule("Dependency check"))
        wait_for("its row to go", lambda: not reader.find("Dependency check"))

        desktop.turn_to("AIs", "Your AIs")
        desktop.row_button("Turn off", "Cursor")
        reader.wait("Turn off Cursor?")
        desktop.row_button("Turn off", "")
        reader.wait("Turn on ↗")
        desktop.turn_to("Macs", "Online")
        reader.press("Add a Mac · copy download link")
        reader.wait("Link copied")

        desktop.turn_to("General", "Open at login")
        autostart = desktop.home / ".config/autostart"
        for name, seen in {"Open at login": lambda: any(autostart.glob("*")),
                           "Notifications": lambda: not desktop.defaults().get("notificationsMuted")}.items():
            for _ in range(2):
                wanted = not desktop.is_on(name)
                reader.press(name, "check box")
                wait_for(f"{name} to turn {wanted}", lambda: (desktop.is_on(name), bool(seen())) == (wanted, wanted))
        desktop.row_button("Check it", "Report a problem")
        desktop.row_button("Check it", "")
        reader.wait("Codex checked the problem")
        true(any(text.startswith("Kestrelune is running and") for text in reader.texts()), f"the answer in {reader.texts()}")
        reader.press("Show report")
        wait_for("the file manager", lambda: files.shown)
        equal(files.shown[0].rsplit("/", 1)[1], "report.md", "what it shows")
        equal(send(desktop.process), 0, "exit status")


@test("every control of the main window is reached by the Tab key, and the window comes back as it was left")
def by_keyboard():
    with Office() as desktop:
        for tab, text in {"Tasks": "Needs you", "AIs": "Your AIs", "Macs": "Online", "General": "Open at login"}.items():
            desktop.turn_to(tab, text)
            wait_for("a focus", desktop.focused)
            missed = desktop.controls() - desktop.reached_by_tab()
            equal(missed, set(), f"not reached in {tab}")
        window = desktop.window()
        subprocess.run(["xdotool", "windowmove", str(window[0]), "40", "30", "windowsize", str(window[0]), "700", "600"], check=True)
        wait_for("its new frame", lambda: desktop.window()[1:] == (40, 30, 700, 600))
        desktop.close()
        desktop.open()
        equal(desktop.window()[1:], (40, 30, 700, 600), "its frame when it is opened again")
        equal(send(desktop.process), 0, "exit status")


@test("nothing jumps in the main window while the status changes, and a history of 20,000 tasks costs what it weighs")
def steady():
    with Office(orders={"tasks": {"count": 20000, "steps": 100}}) as desktop:
        reader = desktop.reader
        wait_for("the page to be scrolled", lambda: desktop.key("Page_Down") or desktop.scrolled() > 3000)
        reader.find("Tasks", "page tab list").grab_focus()
        wait_for("the focus", lambda: desktop.focused() == ("page tab", "Tasks", ""))
        shown, top = desktop.rows(), desktop.scrolled()
        desktop.change(attention=[{"task_id": f"new-{n}", "label": f"#{n}", "title": "A new question"} for n in range(90, 95)])
        wait_for("new rows above", lambda: desktop.scrolled() != top)
        watch(6)  # a few more looks at the status
        equal((desktop.rows(), desktop.focused()), (shown, ("page tab", "Tasks", "")), "what is in sight")
        answer = len(subprocess.check_output([desktop.root / "bin/kestrelune", "tasks", "--json"])) / 1024
        for pid, most in {desktop.process.pid: 10000 + 2.5 * answer, desktop.screen(): 50000}.items():
            memory = int(re.search(r"^Pss: +(\d+)", pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text(), re.M)[1])
            true(memory < most, f"{memory} KB, with {answer:.0f} KB of history")
        equal(send(desktop.process), 0, "exit status")


@test("a helper that hangs or answers nonsense takes nothing from the main window, and no question outlives the companion")
def bad_answers():
    with Office() as desktop:
        wait_for("the history", lambda: len(desktop.rows()) > 5)
        rows = desktop.rows()

        def asked():
            return [pid for pid in children(desktop.process.pid) if "tasks" in command_line(pid)]
        desktop.orders(tasks={"garbage": True}, schedules={"fail": "No."})
        desktop.open()
        wait_for("the answer", lambda: not asked())
        desktop.orders(tasks={"hang": True, "ignoreTerm": True})
        for _ in range(4):
            desktop.open()
        wait_for("the helper to hang", lambda: asked())
        watch(2)
        true(len(asked()) <= 2, f"{asked()} are asked")
        equal(desktop.rows(), rows, "what is shown")
        left = asked()
        equal(send(desktop.process), 0, "exit status")
        wait_for("those asked to end", lambda: not any(command_line(pid) for pid in left))


def command_line(pid):
    with contextlib.suppress(OSError):
        return pathlib.Path(f"/proc/{pid}/cmdline").read_text()
    return ""
