"""The inspecting program: one JSON value and status 0, or one line on standard error and status 2."""
import json
import os
import pathlib
import subprocess
import tempfile

from desktop import BUNDLE
from runner import equal, test, true

INSPECT = BUNDLE.parent / "kestrelune-inspect"
NOW = "2026-03-10T12:00:05Z"
STATUS = {
    "schemaVersion": 1, "pid": 1, "state": "running", "updatedAt": "2026-03-10T12:00:00Z", "computer": "Studio",
    "attention": [{"task_id": "a1", "kind": "question", "line": "Go?"}],
}


def inspect(*arguments, **environment):
    done = subprocess.run([INSPECT, *map(str, arguments)], env={"LC_ALL": "en_US.UTF-8", **environment},
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=30)
    return done.returncode, json.loads(done.stdout) if done.stdout else None, done.stderr


def answer(*arguments, **environment):
    status, value, errors = inspect(*arguments, **environment)
    equal((status, errors), (0, ""), f"the end of {arguments}")
    return value


def write(folder, name, value):
    path = pathlib.Path(folder) / name
    path.write_text(value if isinstance(value, str) else json.dumps(value))
    return path


@test("inspect judges a status file, with marks and at any time")
def snapshots():
    with tempfile.TemporaryDirectory() as folder:
        file = write(folder, "status.json", STATUS)
        equal(answer("snapshot", file, "--now", NOW),
              {"signal": "yellow", "headline": "Something needs you", "hidden": [], "status": True}, "a fresh one")
        key = "a1\x1fquestion\x1fGo?"
        mark = {"until": 1900000000.0, "done": True}
        marks = write(folder, "marks.json", {key: mark})
        equal(answer("snapshot", file, "--now", NOW, "--marks", marks),
              {"signal": "green", "headline": "Everything is ready", "status": True,
               "hidden": [{"key": key, "item": STATUS["attention"][0], "mark": mark}]}, "a settled one")
        equal(answer("snapshot", file, "--now", NOW, "--alive", "none")["issue"], "invalidPID", "a dead one")
        equal(answer("snapshot", file, LC_ALL="de_DE.UTF-8"),
              {"signal": "red", "issue": "outdated", "headline": "Kestrelune läuft nicht", "hidden": [], "status": True,
               "message": "Der letzte Status ist älter als zwei Minuten."}, "an old one in German")
        os.mkfifo(pathlib.Path(folder) / "pipe")
        equal(answer("snapshot", pathlib.Path(folder) / "pipe")["issue"], "unreadable", "a pipe without a writer")


@test("inspect takes texts as they stand, and prints null for what is refused")
def values():
    equal(answer("action", "--off:app:codex"), None, "an action that begins like an option")
    equal(answer("action", "off:app:codex"), {"identifier": "off:app:codex"}, "an action")
    equal(answer("link", "http://kestrelune.example/"), None, "a link")
    equal(answer("text", "SettleCopy", "later", LC_ALL="de_CH.UTF-8"), "Später", "a text")
    equal(answer("run", "--timeout", "10", "--", "/bin/sh", "-c", "echo one; echo '--two'; exit 3"),
          {"code": 3, "lastLine": "--two"}, "a command")


@test("inspect refuses unusable arguments with one line")
def unusable():
    with tempfile.TemporaryDirectory() as folder:
        marks = write(folder, "marks.json", "[]")
        rows = [
            [], ["nothing"], ["snapshot"], ["snapshot", "a", "b"], ["snapshot", "a", "--now"],
            ["snapshot", "a", "--now", "noon"], ["snapshot", "a", "--now", NOW, "--now", NOW],
            ["snapshot", "a", "--alive", "some"], ["snapshot", "a", "--later", "1"], ["snapshot", "a", "--marks", "gone"],
            ["snapshot", "a", "--marks", marks], ["text", "Copies"], ["text", "Copy", "two\nlines"], ["notices", "file"],
            ["update-report", "file"], ["run", "--timeout", "-1", "--", "/bin/true"],
        ]
        for row in rows:
            status, value, errors = inspect(*row)
            equal((status, value, errors.count("\n")), (2, None, 1), f"inspect {row}")
    refused = inspect("config", KESTRELUNE_DRY_RUN="1")
    equal(refused[:2], (1, None), "an unsafe configuration")
    true("KESTRELUNE_DRY_RUN" in refused[2], "the program's own line")
