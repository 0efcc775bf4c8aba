#!/usr/bin/python3
"""Prints how long a click on the icon takes until our own menu or the main window is on the screen, with the screen not
yet started and with it running, and until a host has the exported menu; menu_latency.py [ENTRIES [CHARACTERS [TIMES]]].

ENTRIES is the length of every list of the status (usual: 5), CHARACTERS that of each name. Without them also what a host
waits for over the demo's fullest scene."""
import datetime
import json
import os
import pathlib
import statistics
import sys
import time
import uuid

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "demo/desktop"))
from desktop import Desktop, send, wait_for  # noqa: E402
from gi.repository import GLib  # noqa: E402
from peers import TrayHost  # noqa: E402

FAMILIES = ["claude", "chatgpt", "cursor", "grok", "google"]


def status(entries, characters):
    now = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    name = ("Invoices of the month " * (characters // 22 + 1))[:characters]

    def each(make):
        return [make(i) for i in range(entries)]

    return {
        "schemaVersion": 1, "pid": os.getpid(), "state": "running", "updatedAt": now, "serverReachable": True,
        "apps": each(lambda i: {"host": f"app{i}", "name": name, "state": "ready"}),
        "connections": each(lambda i: {"family": FAMILIES[i % 5], "name": name, "state": "connected"}),
        "profiles": each(lambda i: {"executorId": str(uuid.UUID(int=i)), "name": name, "profile": name, "by": "owner", "thisMac": True}),
        "attention": each(lambda i: {"label": f"#{i}", "title": name, "line": name, "task_id": f"a{i}"}),
        "running": each(lambda i: {"label": f"#{i}", "title": name, "since": now, "task_id": f"r{i}"}),
        "done": each(lambda i: {"label": f"#{i}", "title": name, "ended_at": now, "task_id": f"d{i}"}),
    }


def seconds_until(what, action, predicate):
    begun = time.monotonic()
    action()
    wait_for(what, predicate, 60)
    return time.monotonic() - begun


def tell(what, seconds):
    print(f"{what}: median {statistics.median(seconds) * 1000:.1f} ms, most {max(seconds) * 1000:.1f} ms, {len(seconds)} times")


def fetch(item):
    """Seconds until a host that asks has the whole menu; nobody else needs an answer meanwhile."""
    begun = time.monotonic()
    for method, arguments in (("AboutToShow", GLib.Variant("(i)", (0,))), ("GetLayout", GLib.Variant("(iias)", (0, -1, [])))):
        item.desktop.connection.call_sync(item.name, item.menu.path, "com.canonical.dbusmenu", method, arguments, None, 0, 5000, None)
    return time.monotonic() - begun


def fullest_scene(times):
    with Desktop(bus=True) as desktop:
        host = TrayHost(desktop)
        desktop.helper("crowded.json")
        process = desktop.companion()
        item = host.item()
        fetched = [fetch(item) for _ in range(10 * times)]
        send(process)
    return fetched


def measure(entries, characters, times, cold_window=False):
    """One start of the companion: a cold click, and so many warm ones and fetched layouts."""
    with Desktop(display=True, bus=True) as desktop:
        host = TrayHost(desktop)
        desktop.status.write_text(json.dumps(status(entries, characters)))
        process = desktop.companion()
        item = host.item()

        def shown_after(what, action):
            before = {window[0] for window in desktop.windows()}
            return seconds_until(what, action, lambda: {window[0] for window in desktop.windows()} - before)

        def click():
            return shown_after("a menu", lambda: item.call("Activate"))

        def open_window():
            row = item.menu.layout().find("All tasks")
            return shown_after("the main window", lambda: item.menu.event(row))

        cold = open_window() if cold_window else click()
        warm = [] if cold_window else [click() for _ in range(times)]
        window = None if cold_window else open_window()
        exported = [fetch(item) for _ in range(times)]
        send(process)
    return cold, warm, window, exported


def main(entries=5, characters=20, times=5):
    rounds = [measure(entries, characters, times) for _ in range(times)]
    tell("click to menu, screen not yet started", [cold for cold, _, _, _ in rounds])
    tell("click to menu, screen running", [one for _, warm, _, _ in rounds for one in warm])
    tell("click to main window, screen not yet started", [measure(entries, characters, 1, True)[0] for _ in range(times)])
    tell("click to main window, screen running", [window for _, _, window, _ in rounds])
    tell("whole exported menu at a host", [one for _, _, _, exported in rounds for one in exported])
    if not sys.argv[1:]:
        tell("whole exported menu at a host, the demo's fullest scene", fullest_scene(times))


if __name__ == "__main__":
    main(*map(int, sys.argv[1:]))
