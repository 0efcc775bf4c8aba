"""The icon on a desktop: the item of a tray host, its exported menu, and the strip where there is no host."""
import signal

from desktop import ROOT, Desktop, send, wait_for
from peers import TrayHost
from runner import equal, test, true

TRAY = ROOT / "demo/desktop/xembed_tray.py"


@test("the status item says the state in words, signals only a change, and is there again at a new host")
def item_says_the_state():
    with Desktop(bus=True) as desktop:
        host = TrayHost(desktop)
        desktop.write_status()
        process = desktop.companion()
        item = host.item()
        now = item.properties()
        equal((now["Status"], now["ItemIsMenu"], now["Title"] != "", now["Id"] != ""), ("Active", True, True, True), "what the item is, where no menu of ours can be placed")
        equal(item.says(), ("Kestrelune — Everything is ready", "", "Kestrelune — Everything is ready", ""), "all ready")
        sizes = sorted(width for width, height, data in now["IconPixmap"] if width == height and len(data) == 4 * width * height)
        true({16, 22, 24, 32, 48, 64} <= set(sizes), f"pixmap sizes {sizes}")

        seen = len(process.states())
        wait_for("two more refreshes", lambda: len(process.states()) >= seen + 2)
        equal((item.signals, item.menu.updates), ([], []), "signals while nothing changed")

        desktop.write_status("one-running.json")
        wait_for("the new words", lambda: item.says()[0] == "Kestrelune — A task is running")
        equal(item.says()[1:], ("#42 Prepare the spring cata…", "Kestrelune — #42 Prepare the spring cata…", "#42 Prepare the spring cata…"), "one task")
        wait_for("the signals", lambda: {"NewIcon", "NewToolTip"} <= set(item.signals))
        equal([name for name in set(item.signals) if item.signals.count(name) > 1], [], "signals sent twice for one change")
        host.leave()
        equal(TrayHost(desktop).item().says()[0], "Kestrelune — A task is running", "words at a new host")
        equal(send(process), 0, "exit status")


@test("where nobody shows items the strip is on the display; it gives way to a host, and to a tray of the old kind")
def strip():
    with Desktop(display=True, bus=True) as desktop:
        desktop.write_status("attention.json")
        process = desktop.companion()

        def old_tray():
            tray = desktop.start(["/usr/bin/python3", TRAY], {"LD_PRELOAD": ""})
            tray.line("docked ")
            return lambda: send(tray)

        for name, come in ("host", lambda: TrayHost(desktop).leave), ("xembed", old_tray):
            window, x, y, width, height = wait_for("the strip", desktop.windows)[0]
            true(x + width > 1000 and y < 60 and height < 80, f"the strip is at {x},{y} with {width} by {height}")
            desktop.screenshot(f"strip-before-{name}")
            leave = come()
            wait_for("the strip to go", lambda: window not in [seen[0] for seen in desktop.windows()])
            desktop.screenshot(f"{name}-attention")
            leave()
        wait_for("the strip to come back", desktop.windows)
        equal(send(process, signal.SIGINT), 0, "exit status")
        wait_for("an empty display", lambda: not desktop.windows())


@test("the exported menu is whole, and Quit ends the program")
def exported_menu():
    with Desktop(bus=True) as desktop:
        host = TrayHost(desktop)
        desktop.write_status("attention.json")
        process = desktop.companion()
        item = host.item()
        layout = item.menu.layout()
        lines = list(layout.lines())
        true("Something needs you" in lines[0], f"the menu begins with the state: {lines}")
        wrong = [row.id for row in layout.walk() if not row.separator and not row.label]
        equal(wrong, [], "rows without a label")
        ids = [row.id for row in layout.walk()]
        equal(len(ids), len(set(ids)), "every row has its own number")
        item.menu.event(layout.find("Quit"))
        equal(process.ended(), 0, "exit status")
        true(not desktop.heartbeat.exists(), "the heartbeat is still there")
