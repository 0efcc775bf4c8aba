#!/usr/bin/env python3
"""Attacks on the signature of a bundle: signature.py BUILD-FOLDER

Bundles are really signed, by throw-away chains, and judged by `kestrelune-inspect verify`.
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(HERE))
import release  # noqa: E402

BUILD = pathlib.Path(sys.argv[1]).resolve()
IDENTIFIER, TEAM = "com.kestrelune.menu", "TEAM000001"


def requirement(identifier=IDENTIFIER, team=TEAM):
    return release.requirement(identifier, team)


def chain(folder, *options):
    subprocess.run([HERE / "chain", folder, *options], check=True, capture_output=True)
    return folder


def sign(keys, app, *options):
    subprocess.run([HERE / "sign", *options, BUILD / "seal", keys, app], check=True, capture_output=True)


def bundle(app, identifier=IDENTIFIER, build="41"):
    contents = app / "Contents"
    (contents / "MacOS").mkdir(parents=True)
    (contents / "Info.json").write_text(json.dumps({"CFBundleIdentifier": identifier, "CFBundleVersion": build}))
    (contents / "MacOS" / "program").write_bytes(b"program" * 1000)
    (contents / "MacOS" / "program").chmod(0o755)
    (contents / "link").symlink_to("MacOS/program")
    return app


def verify(app, keys, text=None):
    out = subprocess.run([BUILD / "kestrelune-inspect", "verify", app, "--requirement", text or requirement(),
                          "--anchor", keys / "anchor.pem"], check=True, capture_output=True, text=True)
    return json.loads(out.stdout)


results = []


def expect(name, got, wanted):
    results.append(got == wanted)
    if got != wanted:
        print(f"FAILED {name}: {got}, wanted {wanted}")


def changes(app):
    """Ways to change a bundle after it was signed, each by a name."""
    program, contents = app / "Contents/MacOS/program", app / "Contents"
    signature = contents / "_CodeSignature"

    def aside(path):
        shutil.move(path, app.parent / "aside")
        return app.parent / "aside"

    return {
        "a file added": lambda: (contents / "new").write_text(""),
        "an empty folder added": lambda: (contents / "new").mkdir(),
        "a file added beside the contents": lambda: (app / "new").write_text(""),
        "a file added to the signature": lambda: (signature / "new").write_text(""),
        "a file removed": lambda: program.unlink(),
        "a file changed": lambda: program.write_bytes(b"Program" * 1000),
        "a file's rights changed": lambda: program.chmod(0o777),
        "a file set to another user's rights": lambda: program.chmod(0o4755),
        "a folder's rights changed": lambda: (contents / "MacOS").chmod(0o777),
        "a file turned into a link to the same bytes": lambda: program.symlink_to(aside(program)),
        "a link turned outside": lambda: ((contents / "link").unlink(), (contents / "link").symlink_to("../../etc")),
        "a link turned elsewhere": lambda: ((contents / "link").unlink(), (contents / "link").symlink_to("Info.json")),
        "a link turned into its file": lambda: ((contents / "link").unlink(), shutil.copy2(program, contents / "link")),
        "a folder turned into a link": lambda: (contents / "MacOS").symlink_to(aside(contents / "MacOS")),
        "the application turned into a link": lambda: app.symlink_to(aside(app)),
        "a pipe added": lambda: os.mkfifo(contents / "pipe"),
        "the list changed": lambda: (signature / "Files.json").write_bytes((signature / "Files.json").read_bytes() + b" "),
        "the list as a link": lambda: (signature / "Files.json").symlink_to(aside(signature / "Files.json")),
        "the signature removed": lambda: (signature / "Signature.cms").unlink(),
        "the signature cut": lambda: os.truncate(signature / "Signature.cms", 1000),
        "the notary's in place of the maker's": lambda: shutil.copy(signature / "Notary.cms", signature / "Signature.cms"),
    }


def attack_files(folder, keys):
    good = bundle(folder / "good/Kestrelune.app")
    sign(keys, good)
    expect("as signed", verify(good, keys), {"satisfies": True, "team": TEAM})
    copies = folder / "copies"
    for name in changes(good):
        shutil.rmtree(copies, ignore_errors=True)
        app = pathlib.Path(shutil.copytree(good.parent, copies / "a", symlinks=True)) / "Kestrelune.app"
        expect("a copy, before: " + name, verify(app, keys)["satisfies"], True)
        changes(app)[name]()
        expect(name, verify(app, keys)["satisfies"], False)
        if name in ("a pipe added", "a link turned outside"):
            expect("no list with " + name, subprocess.run([BUILD / "seal", app], capture_output=True).returncode, 1)
    return good


def attack_requirements(good, keys):
    for name, text in {
        "another team": requirement(team="TEAM000002"),
        "another identifier": requirement(identifier="com.kestrelune.menu2"),
        "no team": requirement(team=""),
        "more behind it": requirement() + " or anchor trusted",
        "less of it": requirement().split(" and certificate leaf")[0],
        "an empty text": " ",
    }.items():
        expect("requirement: " + name, verify(good, keys, text)["satisfies"], False)


def attack_chains(folder, keys, good):
    other = chain(folder / "other")
    expect("a foreign anchor", verify(good, other), {"satisfies": False, "team": TEAM})
    for name, options in {
        "a leaf without its mark": ["--no-leaf-mark"],
        "an intermediate without its mark": ["--no-intermediate-mark"],
        "a leaf that isn't for code": ["--use", ""],
        "a leaf for servers": ["--use", "serverAuth"],
        "a leaf that signs no bytes": ["--key-use", "keyAgreement"],
        "another team's leaf": ["--team", "TEAM000002"],
        "an expired leaf": ["--starts", "20200101000000Z", "--ends", "20200201000000Z"],
        "a leaf of the future": ["--starts", "20900101000000Z", "--ends", "20910101000000Z"],
    }.items():
        bad = chain(folder / name.replace(" ", "-"), *options)
        app = bundle(folder / (name + ".app"))
        sign(bad, app)
        expect(name, verify(app, bad)["satisfies"], False)
    sign(keys, app, "--digest", "sha1")
    expect("a weak digest", verify(app, keys)["satisfies"], False)


def attack_replays(folder, keys, good):
    newer = bundle(folder / "newer.app", build="42")
    sign(keys, newer)
    shutil.rmtree(newer / "Contents/_CodeSignature")
    shutil.copytree(good / "Contents/_CodeSignature", newer / "Contents/_CodeSignature")
    expect("a signature copied from another build", verify(newer, keys)["satisfies"], False)

    renamed = bundle(folder / "renamed.app", identifier="com.other")
    sign(keys, renamed)
    expect("another application of the same maker", verify(renamed, keys)["satisfies"], False)


def judge_by_the_notary_s_time(folder):
    """Leaves that end while this runs: only the notary's own word outlives them."""
    ends = time.time() + 8
    short = ("--ends", time.strftime("%Y%m%d%H%M%SZ", time.gmtime(ends)))
    keys = chain(folder / "short", *short)
    own = chain(folder / "own", *short, "--notary-by", "intermediate")
    unmarked = chain(folder / "unmarked", *short, "--no-notary-mark")
    apps = {}
    for name, using, *options in ("notarized", keys), ("plain", keys, "--no-notary"), ("own", own), ("unmarked", unmarked), ("foreign", keys):
        app = bundle(folder / (name + ".app"))
        sign(using, app, *options)
        apps[app] = using
    maker = app / "Contents/_CodeSignature/Signature.cms"
    mine = maker.read_bytes()
    sign(folder / "other", app)
    maker.write_bytes(mine)
    expect("a short leaf, in its time", [verify(*pair)["satisfies"] for pair in apps.items()], [True] * 5)
    time.sleep(max(0, ends + 2 - time.time()))
    expect("a short leaf, after its time", [verify(*pair)["satisfies"] for pair in apps.items()], [True] + [False] * 4)
    late = bundle(folder / "late.app")
    sign(keys, late)
    expect("a notary who came too late", verify(late, keys)["satisfies"], False)


with tempfile.TemporaryDirectory() as scratch:
    top = pathlib.Path(scratch)
    own = chain(top / "keys")
    signed = attack_files(top, own)
    attack_requirements(signed, own)
    attack_chains(top, own, signed)
    attack_replays(top, own, signed)
    judge_by_the_notary_s_time(top)
print(f"{sum(results)} of {len(results)} passed")
sys.exit(0 if results and all(results) else 1)
