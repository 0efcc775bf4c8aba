#!/usr/bin/env python3
"""The whole life of an update, on the stage of a rehearsal: life.py BUILD-FOLDER [--counts FILE] [NAME …]

Real programs, really signed, a real service, the real script. Where the machine gives no namespaces it says so.
"""
import contextlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time
import traceback
import zipfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import release  # noqa: E402
from rehearsal import ELSEWHERE, MANIFEST_PATH, Stage, Watch, enter, wait_for  # noqa: E402
from hostile import hostile  # noqa: E402

KEPT = {"state.json", "watchdog.sh", "open", "move", "lock"}  # what may lie in the folder of updates for ever
TOOLS = pathlib.Path(sys.argv[1]).resolve() / release.APP / "Contents/Helpers"
HANGS = "trap '' TERM\nwhile :; do sleep 1; done"


def equal(got, wanted, what):
    if got != wanted:
        raise AssertionError(f"{what}: {got!r}, wanted {wanted!r}")


def confirmed(stage, number, **known):
    wait_for(f"the end of the update to {number}", lambda: stage.files() and stage.files() <= KEPT and stage.installed_build() == number)
    equal(stage.state(), {"schemaVersion": 1, **known}, "the state")
    wait_for("the companion", stage.running)


def whole_life(stage, good):
    """In an environment that means ill, of which nothing reaches anybody."""
    ill, usual = hostile(stage.scratch / "ill"), stage.environment
    stage.environment = {**usual, **ill, "LD_PRELOAD": str(stage.scratch / "ill/nonsense")}
    stage.install(good[41])
    stage.service.publish(good[42])
    with Watch(stage) as watch:
        stage.start()
        stage.start()  # twice at once, and again whenever it may disturb
        old = wait_for("a companion", stage.running)
        wait_for("what the archive holds", lambda: "staged-42" in stage.files())
        stage.start()
        wait_for("the other build", lambda: stage.installed_build() == 42)
        wait_for("the other companion", lambda: stage.running() not in (None, old))
        confirmed(stage, 42)
    equal((watch.builds, watch.longest), ([41, 42], 0.0), "what stood in its place")
    with processed(stage):  # the same manifest again is no reason to do anything
        equal(stage.service.times("/download/Kestrelune-42.zip"), 1, "downloads")
        got = pathlib.Path(f"/proc/{stage.running()}/environ").read_bytes().decode().split("\0")
    equal([entry for entry in got if entry.split("=")[0] in {*ill, "LD_PRELOAD"}], [], "what reaches the new companion")
    equal([path.name for path in (stage.scratch / "ill").glob("obeyed*")], [], "what was obeyed")
    stage.environment = usual


def across_file_systems(stage, good):
    stage.install(good[41])
    stage.folder.mkdir(parents=True)
    release.run("mount", "-t", "tmpfs", "none", stage.folder)
    stage.service.publish(good[42])
    with Watch(stage) as watch:
        stage.start()
        confirmed(stage, 42)
    equal((watch.builds, watch.longest), ([41, 42], 0.0), "what stood in its place")
    equal([path.name for path in stage.installed.parent.iterdir()], [release.APP], "what is there")


def full_disk(stage, good):
    stage.install(good[41])
    stage.folder.mkdir(parents=True)
    stage.service.publish(good[42])
    archive = (good[42] / "Kestrelune-42.zip").stat().st_size
    for room in archive // 2, archive + 1000000:  # for a part of the archive; for it and a part of what is in it
        release.run("mount", "-t", "tmpfs", "-o", f"size={room}", "none", stage.folder)
        if not stage.running():
            stage.start()
        with processed(stage, 2):
            equal((stage.installed_build(), stage.files() - KEPT), (41, set()), f"with room for {room} bytes")
        release.run("umount", "-l", stage.folder)
    confirmed(stage, 42)


def read_only_folder(stage, good):
    stage.install(good[41])
    stage.service.publish(good[42])
    place = stage.installed.parent
    release.run("mount", "--bind", place, place)
    try:
        release.run("mount", "-o", "remount,ro,bind", place)
        stage.start()
        with processed(stage, 2):
            equal((stage.installed_build(), stage.files() - KEPT), (41, set()), "what a folder that can't be written to led to")
    finally:
        release.run("umount", "-l", place)
    confirmed(stage, 42, notifiedBuild=42)  # the user was told of it


def sleeps(stage, good):
    """Everything of the account stands still for longer than anything is waited for, at several moments."""
    stage.install(good[41])
    stage.service.publish(good[42])
    stage.start()
    for what, come in {"what the archive holds": lambda: "staged-42" in stage.files(), "the other build": lambda: stage.installed_build() == 42}.items():
        wait_for(what, come)
        everything = stage.processes()  # asked once: one that was just forked may have become another program when it stops
        for number in signal.SIGSTOP, signal.SIGCONT:
            for pid in everything:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, number)
            time.sleep(8 if number == signal.SIGSTOP else 0)
    confirmed(stage, 42)


def rolls_back(stage, good, bad, meddle=None):
    """An update to a build that is no good, and what comes after it."""
    stage.install(good[41])
    stage.service.publish(bad)
    with Watch(stage) as watch:
        stage.start()
        wait_for("the bad build", lambda: stage.installed_build() == 42)
        if meddle:
            meddle()
        wait_for("the old build", lambda: stage.installed_build() == 41)
        wait_for("the old companion", stage.running)
    equal(watch.builds, [41, 42, 41], "what stood in its place")
    wait_for("the state", lambda: stage.state() == {"schemaVersion": 1, "skippedBuild": 42})
    wait_for("a clean folder", lambda: stage.files() <= KEPT | {"staged-42"})
    with processed(stage):
        equal(stage.service.times("/download/Kestrelune-42.zip"), 1, "downloads of the bad build")


def crashes(stage, good):
    rolls_back(stage, good, stage.make(42, "crashes", "kill -SEGV $$"))
    stage.service.publish(stage.make(43))
    wait_for("the next build", lambda: stage.installed_build() == 43)
    wait_for("its confirmation", lambda: stage.files() <= KEPT)
    equal(stage.state(), {"schemaVersion": 1, "skippedBuild": 42}, "the state")


def hangs(stage, good):
    rolls_back(stage, good, stage.make(42, "hangs", HANGS))
    equal(subprocess.run(["pgrep", "-f", "sh .*MacOS/KestreluneMenu"], capture_output=True, text=True).stdout, "", "what hangs")


def never_confirms(stage, good):
    rolls_back(stage, good, good[42], (stage.folder / "state.json").unlink)


def is_killed(stage, good):
    rolls_back(stage, good, good[42], lambda: os.kill(wait_for("the new companion", stage.running), signal.SIGKILL))


def put_script(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(f"#!/bin/sh\n{text}\n")
    path.chmod(0o755)


def put_app(app, build):
    """One that tells its number, and has what makes a whole one."""
    put_script(app / "Contents/MacOS/KestreluneMenu", f"echo {build}")
    for part in ("Info.json", "Helpers/KestreluneScreen", "Helpers/KestreluneLeash", "Helpers/open", "Helpers/move",
                 "Frameworks/libKestreluneText.so", "Frameworks/libKestreluneCrypto.so", "Resources/helper/kestrelune-runner.mjs"):
        put_script(app / "Contents" / part, "")


def script_stopped_at_each_command(stage, good):
    stage.install(good[41])
    stage.service.publish(good[42])
    stage.start()
    wait_for("the script", lambda: "watchdog.sh" in stage.files())
    script = (stage.folder / "watchdog.sh").read_text()
    stage.clear()
    app, backup, trap = stage.installed, stage.folder / "previous-41.app", stage.scratch / "trap"
    # What is there when it comes to its end: build, backup, mark.
    for way, ends in {"confirmed": (42, False, False), "rolled back": (41, False, True), "can't move back": (42, True, False)}.items():
        ended = None
        for number in range(1, 999):
            shutil.rmtree(stage.home, ignore_errors=True)
            put_app(app, 42)
            put_app(backup, 41)
            (stage.folder / ("confirmed-42" if way == "confirmed" else "other")).touch()
            put_script(stage.folder / "open", "")
            put_script(stage.folder / "move", f'[ "$1 {way}" != "{backup} can\'t move back" ] && exec "{TOOLS}/move" "$@"')
            # Sleeps take no time, and before its n-th command it is killed.
            trap.write_text(f"set -T; sleep() {{ :; }}; trap '[ $((++n_th)) -lt {number} ] || kill -KILL $$' DEBUG\n")
            ended = subprocess.run(["bash", "-c", script, "watchdog.sh", "999999", app, backup, stage.folder, "42"], capture_output=True,
                                   env={**stage.environment, "BASH_ENV": str(trap)}).returncode
            found = backup.exists(), (stage.folder / "rolled-back").exists()
            started = subprocess.run([release.HERE / "launcher"], env=stage.environment, capture_output=True, text=True)
            if ended == 0:
                equal((int(started.stdout), *found), ends, f"{way}, at the end, after {number} commands")
                break
            equal(started.stdout in ("41\n", "42\n"), True, f"{way}, killed before command {number}: {started.stderr}")
        equal(ended == 0 and number > 9, True, f"{way}: it came to its end after {number} commands")


@contextlib.contextmanager
def processed(stage, checks=1):
    """Lets so many checks pass, and lasts while the next one waits for its answer: the companion asks only when it is
    done with what it got the time before, and does nothing meanwhile."""
    for _ in range(checks):
        with stage.service.held():
            pass
    with stage.service.held():
        yield


def answers(folder):
    return {f"/download/{path.name}": path for path in folder.iterdir()}


def describe(folder, **changes):
    manifest = folder / release.MANIFEST
    manifest.write_text(json.dumps({**json.loads(manifest.read_text()), **changes}))
    return answers(folder)


def endless(handler):
    handler.send_response(200)
    handler.end_headers()
    while True:
        handler.wfile.write(b"[" * 65536)


def attacks(stage, good):
    numbers = iter(range(50, 99))

    def described(**changes):
        return describe(stage.make(next(numbers)), **changes)

    def redirected(which, to):
        offered = described()
        path = next(path for path in offered if path.endswith(which))
        return {**offered, path: to + "/there", "/there": offered[path]}

    def tampered(change=None, entry=None):
        """Packed anew after a change to the signed application or with one more entry; the manifest is right."""
        folder = stage.make(next(numbers))
        archive, = folder.glob("*.zip")
        if change:
            app = stage.scratch / "tampered" / folder.name / release.APP
            stage.unpack(folder, app.parent)
            change(app)
            archive.unlink()
            release.pack(app, archive)
        else:
            with zipfile.ZipFile(archive, "a") as zipped:
                zipped.writestr(entry, "evil")
        return describe(folder, sha256=release.digest(archive), size=archive.stat().st_size)

    def signed(team, *options):
        def change(app):
            release.run(release.HERE / "chain", stage.scratch / team, "--team", team, *options)
            release.run(release.HERE / "sign", stage.build / "seal", stage.scratch / team, app)
        return tampered(change)

    host, size = stage.service.host, (stage.make(48) / "Kestrelune-48.zip").stat().st_size
    endless_archive = described()
    # What is offered, and how often its archive is asked for.
    rows = {
        "no manifest": ({}, 0),
        "a manifest elsewhere": (redirected("json", f"https://{ELSEWHERE}"), 0),
        "a manifest by http": (redirected("json", f"http://{host}"), 0),
        "a manifest that moves for ever": ({MANIFEST_PATH: f"https://{host}/there", "/there": f"https://{host}/there"}, 1),
        "an endless manifest": ({MANIFEST_PATH: endless}, 0),
        "an address elsewhere": (described(url=f"https://{ELSEWHERE}/there.zip"), 0),
        "an archive elsewhere": (redirected("zip", f"https://{ELSEWHERE}"), 1),
        "an archive by http": (redirected("zip", f"http://{host}"), 1),
        "an endless archive": ({path: endless if path.endswith("zip") else file for path, file in endless_archive.items()}, 1),
        "a larger size": (described(size=size * 2), 1),
        "another digest": (described(sha256="0" * 64), 1),
        "an older build as a newer one": (describe(stage.make(39), build=next(numbers)), 1),
        "another version": (described(version="9.9"), 1),
        "an entry that leaves": (tampered(entry="../../evil"), 1),
        "another team": (signed("TEAM000002", "--beside", stage.keys), 1),
        "a foreign chain": (signed("TEAM000001"), 1),
    }
    stage.install(good[41])
    stage.service.publish(good[41])
    stage.start()
    wait_for("a companion", stage.running)
    for name, (offered, downloads) in rows.items():
        with processed(stage, 0):
            stage.service.asked.clear()
            stage.service.answers = offered
        with processed(stage, 0):
            asked = {(port, at, path) for port, at, path in stage.service.asked if path != MANIFEST_PATH}
            equal((stage.installed_build(), stage.files() - KEPT), (41, set()), name)
            equal((len(asked), all((port, at) == (443, host) for port, at, _ in asked)), (downloads, True), f"{name}: {asked}")
            stage.service.answers = {}
    equal([path for path in stage.root.rglob("evil")], [], "what an entry left")
    own, stranger = stage.scratch / "Service.pem", stage.service.certificate("Stranger", host, trusted=False)
    for certificate in stranger, stage.service.certificate("Neighbour", ELSEWHERE):
        stage.service.present(certificate)
        time.sleep(1)
        stage.service.asked.clear()
        time.sleep(2)  # several checks
        equal(stage.service.asked, [], f"what came to {certificate[0].stem}")
    stage.service.present((own, own.with_suffix(".key")))
    stage.service.answers = redirected("zip", f"https://{host}")  # that is followed
    confirmed(stage, next(numbers) - 1)


SCENARIOS = [whole_life, script_stopped_at_each_command, across_file_systems, full_disk, read_only_folder, sleeps, crashes, hangs, never_confirms, is_killed, attacks]


def main():
    arguments = sys.argv[2:]
    counts = pathlib.Path(arguments[1]) if arguments[:1] == ["--counts"] else None
    names = arguments[2:] if counts else arguments
    passed = failed = skipped = 0
    if not enter():
        skipped = len(SCENARIOS)
        print("SKIPPED: the life of an update needs root or namespaces for users, and this machine gives neither")
    else:
        with Stage(sys.argv[1]) as stage:
            good = {number: stage.make(number) for number in (41, 42)}
            for scenario in SCENARIOS:
                name, began = scenario.__name__.replace("_", " "), time.monotonic()
                if names and not any(part in name for part in names):
                    continue
                stage.service.asked.clear()
                try:
                    scenario(stage, good)
                    passed += 1
                    print(f"ok {name} ({time.monotonic() - began:.1f} s)", flush=True)
                except Exception:  # whatever went wrong is this scenario's result
                    traceback.print_exc(file=sys.stdout)
                    failed += 1
                    print(f"FAILED {name}: {stage.files()} {stage.service.asked[-5:]}", flush=True)
                    subprocess.run(["ps", "-eo", "pid,ppid,stat,args"])
    if counts:
        counts.write_text(f"{passed} {failed} {skipped}\n")
    print(f"updates: {passed} passed, {failed} failed, {skipped} skipped")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
