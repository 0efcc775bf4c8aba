#!/usr/bin/env python3
"""Makes a release: signs and countersigns a bundle under a build number of its own, packs it, and describes it.

    packaging/release.py --keys KEYS --version 1.2 --build 42 --output FOLDER [--bundle APP | --helper FILE]

FOLDER gets Kestrelune-<build>.zip and, as the very last step, Kestrelune-mac.json, which names it: the two go to
/download/ of the service host. Nothing that lies there is written over but the manifest of an older build, and a
release that fails leaves nothing behind. KEYS holds anchor, leaf, intermediate and notary as packaging/chain makes
them. Without --bundle the application is built first, with that helper and to trust exactly that anchor. A bundle
with the stand-in helper is refused.
"""
import argparse
import hashlib
import json
import os
import pathlib
import re
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import time
import zipfile

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent
APP = "Kestrelune.app"
MANIFEST = "Kestrelune-mac.json"
NOTARIZED = "source=Notarized Developer ID"
CARRIED = "Contents/Resources/helper/kestrelune-runner.mjs"
STAND_IN = ROOT / "demo/kestrelune-runner.mjs"
PIECE = 1 << 20


class Refusal(Exception):
    """Why there is no release."""


def run(*command):
    """What a program says on standard output; a failure is a refusal with what it says of that."""
    process = subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if process.returncode != 0:
        raise Refusal(f"{command[0]} failed ({process.returncode}): {(process.stderr or process.stdout).strip()}")
    return process.stdout


def requirement(identifier, team):
    """What every application of a maker satisfies."""
    return (f'anchor apple generic and identifier "{identifier}"'
            " and certificate 1[field.1.2.840.113635.100.6.2.6] exists"
            " and certificate leaf[field.1.2.840.113635.100.6.1.13] exists"
            f' and certificate leaf[subject.OU] = "{team}"')


def build(keys, helper, folder):
    """The application with that helper, built to trust the anchor of these keys."""
    if helper is None:
        raise Refusal("an application is built with a helper: give --helper, or a built one by --bundle")
    run("cmake", "-S", ROOT, "-B", folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DBUILD_TESTING=OFF",
        "-DKESTRELUNE_BENCHMARKS=OFF", f"-DKESTRELUNE_ANCHOR={(keys / 'anchor.pem').resolve()}",
        f"-DKESTRELUNE_HELPER={helper.resolve()}")
    run("cmake", "--build", folder)
    return folder / APP


def service_host(tools):
    """The host that the build in this folder asks for releases."""
    found = re.search(r"^KESTRELUNE_SERVICE_HOST:\w+=(.+)$", (tools / "CMakeCache.txt").read_text(), re.M)
    if not found:
        raise Refusal(f"{tools} is no folder of a build")
    return found[1]


def copy(bundle, app, numbers):
    """A fresh bundle with the rights that everybody gets, and the numbers of this release."""
    shutil.copytree(bundle, app, symlinks=True, ignore=lambda folder, _: {"_CodeSignature"} if folder == str(bundle / "Contents") else ())
    for folder, folders, files in os.walk(app):
        os.chmod(folder, 0o755)
        for path in (pathlib.Path(folder, name) for name in folders + files):
            mode = path.lstat().st_mode
            if stat.S_ISREG(mode):
                path.chmod(0o755 if mode & 0o111 else 0o644)
            elif not (stat.S_ISDIR(mode) or stat.S_ISLNK(mode)):
                raise Refusal(f"{path} is neither file, folder nor link")
    info = app / "Contents/Info.json"
    facts = {**json.loads(info.read_text()), **numbers}
    info.write_text(json.dumps(facts, indent=2, sort_keys=True) + "\n")
    return facts


def pack(app, archive):
    """The bundle as a zip archive with rights and links, durable."""
    now = time.gmtime()[:6]
    paths = [app, *sorted(app.rglob("*"))]
    with archive.open("xb") as file:
        with zipfile.ZipFile(file, "w", zipfile.ZIP_DEFLATED) as zipped:
            for path in paths:
                mode = path.lstat().st_mode
                name = str(path.relative_to(app.parent)) + ("/" if stat.S_ISDIR(mode) else "")
                entry = zipfile.ZipInfo(name, now)
                entry.create_system, entry.external_attr = 3, mode << 16
                if stat.S_ISREG(mode):
                    entry.compress_type, entry.file_size = zipfile.ZIP_DEFLATED, path.stat().st_size
                    with zipped.open(entry, "w") as to, path.open("rb") as source:
                        shutil.copyfileobj(source, to, PIECE)
                else:
                    zipped.writestr(entry, os.readlink(path) if stat.S_ISLNK(mode) else b"")
        file.flush()
        os.fsync(file.fileno())


def digest(path):
    sha256 = hashlib.sha256()
    with path.open("rb") as file:
        while piece := file.read(PIECE):
            sha256.update(piece)
    return sha256.hexdigest()


def require_real_helper(bundle):
    """What the stand-in invents must never reach a person."""
    carried = bundle / CARRIED
    if not carried.is_file():
        raise Refusal(f"{bundle} carries no helper")
    if digest(carried) == digest(STAND_IN):
        raise Refusal(f"{bundle} carries the stand-in helper, which is for trying out only")


def prove(archive, manifest, facts, anchor, tools, scratch):
    """Judges archive and manifest as the installed application will, with the tools of the new one."""
    inspect = tools / "kestrelune-inspect"
    offered = json.loads(run(inspect, "release", manifest))
    if not offered["download"] or not offered["minimum"]:
        raise Refusal(f"the manifest isn't one that may be acted on: {manifest.read_text()}")
    unpacked = scratch / "unpacked"
    unpacked.mkdir()
    original = scratch / APP
    run(original / "Contents/Helpers/ditto", "-x", "-k", archive, unpacked)
    app = unpacked / APP

    def verified(team):
        return json.loads(run(inspect, "verify", app, "--requirement", requirement(facts["CFBundleIdentifier"], team), "--anchor", anchor))

    team = verified("")["team"]
    if not team or not verified(team)["satisfies"]:
        raise Refusal(f"the signature doesn't hold under {anchor} (team {team})")
    if json.loads((app / "Contents/Info.json").read_text()) != facts:
        raise Refusal("the unpacked application isn't the one that was packed")
    assessed = subprocess.run([original / "Contents/Helpers/spctl", "--assess", "--type", "execute", "-v", app], capture_output=True, text=True)
    if assessed.returncode != 0 or assessed.stdout.splitlines()[-1:] != [NOTARIZED]:
        raise Refusal(f"the application doesn't trust the anchor of these keys (build it with -DKESTRELUNE_ANCHOR={anchor})")
    return team


def require_room(output, number):
    """Nothing of this build, and no manifest of a later one, lies there."""
    archive, manifest = output / f"Kestrelune-{number}.zip", output / MANIFEST
    if os.path.lexists(archive):
        raise Refusal(f"{archive} exists")
    if os.path.lexists(manifest):
        try:
            there = json.loads(manifest.read_text())["build"]
        except (OSError, ValueError, KeyError, TypeError):
            raise Refusal(f"{manifest} exists, and is no manifest") from None
        if not isinstance(there, int) or there >= number:
            raise Refusal(f"{manifest} is of build {there}")
    return archive, manifest


def sync(folder):
    descriptor = os.open(folder, os.O_RDONLY | os.O_DIRECTORY)
    try:
        os.fsync(descriptor)
    finally:
        os.close(descriptor)


def publish(scratch, archive, manifest):
    """Places both, the archive first, since the manifest sends everybody to it."""
    os.link(scratch / archive.name, archive)  # fails where there is one by now
    try:
        sync(archive.parent)
        os.replace(scratch / manifest.name, manifest)
    except BaseException:
        archive.unlink()
        raise
    sync(archive.parent)


def release(bundle, keys, version, number, output, tools=None, minimum="5.10"):
    """Makes the release and gives its manifest; see above."""
    bundle, keys, output = (pathlib.Path(path).resolve() for path in (bundle, keys, output))
    tools = pathlib.Path(tools).resolve() if tools else bundle.parent
    output.mkdir(parents=True, exist_ok=True)
    archive, manifest = require_room(output, number)
    with tempfile.TemporaryDirectory(prefix=".making-", dir=output) as folder:
        scratch = pathlib.Path(folder)
        app, draft, description = scratch / APP, scratch / archive.name, scratch / MANIFEST
        facts = copy(bundle, app, {"CFBundleShortVersionString": version, "CFBundleVersion": str(number)})
        run(HERE / "sign", tools / "seal", keys, app)
        pack(app, draft)
        offer = {"schemaVersion": 1, "version": version, "build": number,
                 "url": f"https://{service_host(tools)}/download/{archive.name}",
                 "sha256": digest(draft), "size": draft.stat().st_size, "minimumSystemVersion": minimum}
        with description.open("x") as file:
            file.write(json.dumps(offer, indent=2) + "\n")
            file.flush()
            os.fsync(file.fileno())
        prove(draft, description, facts, keys / "anchor.pem", tools, scratch)
        for path in draft, description:
            path.chmod(0o644)
        publish(scratch, archive, manifest)
    return offer


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--keys", required=True, type=pathlib.Path, help="folder with anchor, leaf, intermediate and notary")
    parser.add_argument("--version", required=True, help="the version that people see")
    parser.add_argument("--build", required=True, type=int, help="the number of the build, greater with each release")
    parser.add_argument("--output", required=True, type=pathlib.Path, help="the folder for archive and manifest")
    parser.add_argument("--bundle", type=pathlib.Path, help="a built application; without it, it is built")
    parser.add_argument("--helper", type=pathlib.Path, help="the helper that a built application carries")
    parser.add_argument("--tools", type=pathlib.Path, help="the build's folder, where seal and kestrelune-inspect lie (beside the bundle)")
    parser.add_argument("--minimum-system", default="5.10", help="the lowest version of the kernel that it runs on (5.10)")
    options = parser.parse_args()
    # What ends this also cleans up after it.
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit(1))
    try:
        bundle = options.bundle or build(options.keys, options.helper, ROOT / "build/shipping")
        require_real_helper(bundle)
        offer = release(bundle, options.keys, options.version, options.build, options.output, options.tools, options.minimum_system)
        print(json.dumps(offer, indent=2))
    except (Refusal, OSError) as reason:
        sys.exit(f"release: {reason}")


if __name__ == "__main__":
    main()
