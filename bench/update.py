#!/usr/bin/env python3
"""Measures updates, on the stage of a rehearsal: bench/update.py [--mebibytes N] [BUILD-FOLDER]

Memory of the companion and its children while a large release is downloaded and proved; what the proof of a bundle
takes beside `sha256sum` of the same bytes; how long no application stands at its place.
"""
import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "packaging"))
import release  # noqa: E402
import rehearsal  # noqa: E402
from rehearsal import wait_for  # noqa: E402

PROOF_MEBIBYTES = 150
ROUNDS = 5


def fill(app, mebibytes):
    """Makes a bundle that large, with bytes that nothing makes fewer."""
    present = sum(path.stat().st_size for path in app.rglob("*") if path.is_file() and not path.is_symlink())
    with (app / "Contents/Resources/filling").open("wb") as file:
        for _ in range(max(0, mebibytes - (present >> 20))):
            file.write(os.urandom(release.PIECE))


class Memory:
    """The most that each program of the account was seen to have resident, in MiB, while this is entered."""

    def __init__(self, stage):
        self.stage, self.most, self._ended = stage, {}, False
        self._thread = threading.Thread(target=self._look, daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._ended = True
        self._thread.join()

    def _look(self):
        while not self._ended:
            for name, now in resident(self.stage):
                self.most[name] = max(self.most.get(name, 0), now)
            time.sleep(0.02)


def resident(stage):
    """Each program of the account with what it has resident, in MiB: its own memory, and pages of files."""
    for pid in stage.processes():
        try:
            status = pathlib.Path(f"/proc/{pid}/status").read_text()
            name = os.path.basename(os.readlink(f"/proc/{pid}/exe"))
        except OSError:
            continue
        own = re.search(r"^VmHWM:\s+(\d+)", status, re.M)
        if own:
            yield name, int(own[1]) / 1024


def memory_of_a_large_release(stage, mebibytes):
    stage.install(stage.make(41))
    app = rehearsal.variant(stage.build, stage.scratch, "large")
    fill(app, mebibytes)
    large = stage.scratch / "releases/large"
    offer = release.release(app, stage.keys, "1.42", 42, large, tools=stage.build)
    shutil.rmtree(app.parent)
    stage.service.publish(stage.scratch / "releases/41")
    stage.start()
    wait_for("a companion", stage.running)
    time.sleep(3)
    idle = dict(resident(stage))["KestreluneMenu"]
    stage.service.publish(large)
    with Memory(stage) as memory:
        began = time.monotonic()
        wait_for("the download", lambda: "staged-42" in stage.files(), 600)
        arrived = time.monotonic()
        wait_for("the swap", lambda: stage.installed_build() == 42, 600)
        proved = time.monotonic()
    print(f"release of {offer['size'] / 2**20:.0f} MiB: downloaded and compared in {arrived - began:.1f} s, unpacked and proved in {proved - arrived:.1f} s")
    print(f"  most resident: KestreluneMenu {memory.most.pop('KestreluneMenu'):.1f} MiB (idle {idle:.1f})", end="")
    print("".join(f", {name} {memory.most[name]:.1f}" for name in ("KestreluneFetch", "ditto", "spctl") if name in memory.most))


def least(command):
    times = []
    for _ in range(ROUNDS):
        began = time.monotonic()
        subprocess.run(command, check=True, capture_output=True)
        times.append(time.monotonic() - began)
    return min(times)


def proof_beside_a_digest(stage):
    app = rehearsal.variant(stage.build, stage.scratch, "proof")
    fill(app, PROOF_MEBIBYTES)
    release.run(release.HERE / "sign", stage.build / "seal", stage.keys, app)
    files = [path for path in app.rglob("*") if path.is_file() and not path.is_symlink()]
    text = release.requirement("com.kestrelune.menu", "TEAM000001")
    command = [stage.build / "kestrelune-inspect", "verify", app, "--requirement", text, "--anchor", stage.keys / "anchor.pem"]
    assert '"satisfies":true' in release.run(*command)
    proof, digest = least(command), least(["sha256sum", *files])
    print(f"proof of {PROOF_MEBIBYTES} MiB: {proof * 1000:.0f} ms, sha256sum {digest * 1000:.0f} ms, ratio {proof / digest:.2f}")


def time_without_an_application(stage):
    good = {number: stage.make(number, f"gap-{number}") for number in (41, 42)}
    bad = stage.make(42, "gap-bad", "exit 1")
    for what, offered, across in ("by exchange", good[42], False), ("across file systems", good[42], True), ("back again", bad, False):
        stage.install(good[41])
        if across:
            stage.folder.mkdir(parents=True)
            release.run("mount", "-t", "tmpfs", "none", stage.folder)
        stage.service.publish(offered)
        with rehearsal.Watch(stage) as watch:
            stage.start()
            wait_for("the new build", lambda: stage.installed_build() == 42)
            if offered is bad:
                wait_for("the old build", lambda: stage.installed_build() == 41)
            time.sleep(0.2)
        print(f"no application at its place, {what}: {watch.longest * 1000:.1f} ms")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", nargs="?", default=ROOT / "build/release")
    parser.add_argument("--mebibytes", type=int, default=1000, help="of the large release, at most 1023")
    options = parser.parse_args()
    if not rehearsal.enter():
        sys.exit("update: neither root nor namespaces for users on this machine")
    with rehearsal.Stage(options.build) as stage:
        time_without_an_application(stage)
        proof_beside_a_digest(stage)
        memory_of_a_large_release(stage, options.mebibytes)


if __name__ == "__main__":
    main()
