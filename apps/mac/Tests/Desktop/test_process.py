"""The process itself: it follows the status file, refuses unsafe settings, leaves a whole heartbeat, ends cleanly."""
import json
import signal
import socket
import subprocess

from desktop import BINARY, Desktop, send, wait_for
from runner import equal, test

READY = ("STATE green Everything is ready", "STATE green Alles bereit")
WORKING = ("STATE running A task is running", "STATE running Ein Auftrag läuft")
THREE = ("STATE running 3 running", "STATE running 3 laufen")
NEEDED = ("STATE yellow Something needs you", "STATE yellow Eine Sache braucht dich")
OFFLINE = ("STATE red Kestrelune is not running", "STATE red Kestrelune läuft nicht")

# What each scene of the tour reads as, in its order.
TOUR = [READY, WORKING, THREE, NEEDED, NEEDED, NEEDED, NEEDED, NEEDED, OFFLINE, OFFLINE, OFFLINE, OFFLINE, OFFLINE]


@test("state lines follow the file through every scene, in English and German, without bus and display")
def follows():
    with Desktop() as desktop:
        helper = desktop.helper("tour.json")
        both = [desktop.companion(language=language, heartbeat=desktop.runner / f"{language}.json")
                for language in ("en_US.UTF-8", "de_DE.UTF-8")]
        for number, expected in enumerate(TOUR):
            if number:
                told = len(helper.lines)
                helper.signal(signal.SIGUSR2)
                wait_for("the next scene", lambda: len(helper.lines) > told)
            before = [len(process.states()) for process in both]

            def arrived():
                # The first line of a scene may still tell of a file read just before it, the second may not.
                new = [process.states()[count:] for process, count in zip(both, before)]
                return all(lines and (lines[-1] == line or len(lines) > 1) for lines, line in zip(new, expected))

            wait_for("state lines of this scene", arrived, 30)
            equal(tuple(process.states()[-1] for process in both), expected, helper.lines[-1])
        equal([send(process) for process in both], [0, 0], "exit status")


@test("an unsafe setting is refused: one line, nothing written, status 0")
def refusals():
    line = "KESTRELUNE_DRY_RUN requires distinct, explicit status and heartbeat paths."
    with Desktop() as desktop:
        protected = desktop.home / ".kestrelune"
        protected.mkdir(mode=0o700)
        link = desktop.folder / "link"
        link.symlink_to(protected)
        rows = {
            "no heartbeat path": {"KESTRELUNE_DRY_RUN": "1", "KESTRELUNE_STATUS_FILE": str(desktop.status)},
            "the same file without a dry run": {name: str(desktop.status) for name in ("KESTRELUNE_STATUS_FILE", "KESTRELUNE_MENUBAR_FILE")},
            "heartbeat in the real helper folder": desktop.dry_run(heartbeat=protected / "menubar.json"),
            "helper root by a link": {**desktop.dry_run(), "KESTRELUNE_HOME": f"{link}/x"},
        }
        started = {name: desktop.start([BINARY, "--quit-after", "0.5"], environment) for name, environment in rows.items()}
        for name, process in started.items():
            equal((process.ended(), process.lines, process.errors), (0, [], [line]), name)
        written = [path for path in desktop.folder.rglob("*") if path.is_file() and path.name not in ("passwd", "group")]
        equal(written, [], "files written by refused starts")
        process = desktop.start([BINARY, "--quit-after", "0.2"], desktop.dry_run(status=f"{protected}-more/status.json"))
        equal((process.ended(), process.states()), (0, [OFFLINE[0]]), "start beside the helper folder")


@test("the heartbeat is this process's own, gone after every way to end, and another's is left alone")
def heartbeat():
    with Desktop() as desktop:
        desktop.write_status()
        ways = {"SIGTERM": signal.SIGTERM, "SIGINT": signal.SIGINT, "SIGHUP": signal.SIGHUP, "--quit-after": None}
        for way, number in ways.items():
            path = desktop.folder / way / "deep" / "menubar.json"
            process = desktop.companion(*(() if number else ("--quit-after", "1.5")), heartbeat=path)
            wait_for("the heartbeat", path.exists)
            equal(json.loads(path.read_text())["pid"], process.pid, way)
            equal(send(process, number) if number else process.ended(), 0, way)
            equal(list(path.parent.iterdir()), [], f"left after {way}")
        process = desktop.companion()
        wait_for("its own heartbeat", desktop.heartbeat.exists)
        desktop.heartbeat.write_text('{"pid":1,"schemaVersion":1}')
        equal(send(process), 0, "exit status")
        equal(desktop.heartbeat.read_text(), '{"pid":1,"schemaVersion":1}', "another process's heartbeat")


@test("a closed output ends nothing")
def closed_output():
    with Desktop() as desktop:
        process = subprocess.Popen([BINARY, "--quit-after", "0.5"], env={**desktop.environment, **desktop.dry_run()}, stdout=subprocess.PIPE)
        process.stdout.close()
        equal(process.wait(10), 0, "exit status")


@test("a bus that never answers holds up nothing")
def dead_bus():
    with Desktop() as desktop:
        desktop.write_status()
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(str(desktop.folder / "mute"))
        listener.listen(4)
        process = desktop.companion(environment={"DBUS_SESSION_BUS_ADDRESS": f"unix:path={desktop.folder}/mute"})
        wait_for("a second state line", lambda: len(process.states()) > 1)
        equal(send(process), 0, "exit status")
        listener.close()
