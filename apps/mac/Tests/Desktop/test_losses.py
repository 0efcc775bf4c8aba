"""Losing the ground: bus, display and screen go and come back, disks fill up, files turn to nonsense; the program goes on."""
import contextlib
import json
import os
import pathlib
import random
import re
import resource
import signal
import time

from desktop import Desktop, children, send, wait_for, watch
from live import LiveDesktop
from peers import TrayHost
from runner import equal, test, true
from test_roads import QUESTION

def screens(process):
    found = []
    for child in children(process.pid):
        with contextlib.suppress(OSError):  # it ended meanwhile
            found += [child] if os.readlink(f"/proc/{child}/exe").endswith("KestreluneScreen") else []
    return found


def goes_on(process, count=2):
    seen = len(process.states())
    wait_for("more refreshes", lambda: len(process.states()) >= seen + count)


@test("a screen that is killed with a menu or a window open is there again")
def lost_screen():
    with Desktop(display=True, bus=True) as desktop:
        desktop.write_status("attention.json")
        for arguments in (["--show-menu"], ["--show-setup", "welcome"]):
            process = desktop.companion(*arguments)
            wait_for("something beside the strip", lambda: len(desktop.windows()) > 1)
            for _ in range(2):
                screen = screens(process)[0]
                os.kill(screen, signal.SIGKILL)
                wait_for("another screen", lambda: screens(process) not in ([], [screen]) and desktop.windows(), 60)
            equal(send(process), 0, f"exit status after {arguments}")
            wait_for("an empty display", lambda: not desktop.windows())


@test("display and bus may go and come back, and what is shown comes back with them")
def lost_ground():
    with Desktop(display=True, bus=True) as desktop:
        desktop.write_status("attention.json")
        process = desktop.companion()
        wait_for("the strip", desktop.windows)
        desktop.lose("display")
        goes_on(process)
        desktop.bring_back("display")
        wait_for("the strip on the new display", desktop.windows, 90)
        desktop.lose("bus")
        goes_on(process)
        desktop.bring_back("bus")
        host = TrayHost(desktop)
        wait_for("the item", lambda: host.items, 90)
        equal(host.item().says()[0], "Kestrelune — Something needs you", "words on the new bus")
        desktop.write_status("all-ready.json", attention=[{**QUESTION, "task_id": "b0-99"}])
        process.line("DRY_RUN notification attention-b0-99")
        equal(send(process, signal.SIGHUP), 0, "exit status")
        equal(desktop.heartbeat.exists(), False, "a heartbeat after the end")


@test("whatever lies where the status should be, the program goes on, stays small, and reads the next good one")
def odd_files():
    with Desktop() as desktop:
        kinds = {"a pipe": lambda: os.mkfifo(desktop.status), "a folder": desktop.status.mkdir,
                 "100 MB": lambda: desktop.status.touch() or os.truncate(desktop.status, 100 << 20),
                 "a loop": lambda: desktop.status.symlink_to(desktop.status)}
        desktop.write_status()
        process = desktop.companion()
        for name, make in kinds.items():
            desktop.status.unlink()
            make()
            wait_for(f"red at {name}", lambda: process.states()[-1].startswith("STATE red"))
            desktop.status.rmdir() if desktop.status.is_dir() else desktop.status.unlink()
            desktop.write_status()
            wait_for(f"green after {name}", lambda: process.states()[-1].startswith("STATE green"))
        good, chance, end = desktop.status.read_bytes(), random.Random(3), time.monotonic() + 8
        seen = len(process.states())
        while time.monotonic() < end:
            place = chance.randrange(len(good))
            (desktop.runner / "draft").write_bytes(good[:place] + chance.randbytes(chance.randrange(9)) + good[place:][:chance.randrange(99999)])
            (desktop.runner / "draft").rename(desktop.status)
            time.sleep(0.01)
        true(1 <= len(process.states()) - seen <= 3, process.states()[seen:])
        desktop.write_status()
        wait_for("green again", lambda: process.states()[-1].startswith("STATE green"))
        peak = int(re.search(r"VmHWM:\s*(\d+)", pathlib.Path(f"/proc/{process.pid}/status").read_text())[1])
        true(peak < 40_000, f"{peak} kB at its largest")
        equal(send(process), 0, "exit status")


@test("on a full disk the program goes on, what was kept stays, and it catches up when there is room")
def full_disk():
    with LiveDesktop("attention.json") as desktop:
        defaults = desktop.home / ".config/Kestrelune/defaults.json"
        defaults.parent.mkdir(parents=True)
        defaults.write_text('{"kestrelune.setupWindowCompleted":true,"of another version":[1]}')
        process = desktop.live()
        open_rows = lambda: [row for row in desktop.item.menu.layout().walk() if row.label == "Done"]
        wait_for("its heartbeat", desktop.heartbeat.exists)
        wait_for("the notice", lambda: desktop.server.calls)
        kept, beat = json.loads(defaults.read_text()), desktop.heartbeat.read_text()
        # A file that may not grow fails its writer as a full disk would, for an ordinary user too.
        resource.prlimit(process.pid, resource.RLIMIT_FSIZE, (0, resource.RLIM_INFINITY))
        rows = open_rows()
        true(len(rows) > 1, list(desktop.item.menu.layout().lines()))
        desktop.item.menu.event(rows[0])
        wait_for("one row less", lambda: len(open_rows()) == len(rows) - 1)
        watch(11)
        equal((json.loads(defaults.read_text()), desktop.heartbeat.read_text()), (kept, beat), "the files meanwhile")
        resource.prlimit(process.pid, resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
        wait_for("the next heartbeat", lambda: desktop.heartbeat.read_text() != beat)
        desktop.item.menu.event(open_rows()[0])
        wait_for("the marks", lambda: json.loads(defaults.read_text()) != kept)
        true(kept.keys() <= json.loads(defaults.read_text()).keys(), "every key that was kept")
        equal([path.name for folder in (desktop.runner, defaults.parent) for path in folder.iterdir() if path.name.startswith(".")], [], "left over")
        equal(send(process), 0, "exit status")
