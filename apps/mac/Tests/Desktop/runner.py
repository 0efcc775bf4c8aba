"""A small test runner: named tests, each in a process of its own, a few at a time, and a final count."""
import argparse
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import traceback

from desktop import Failure

LONGEST = 240  # seconds a single test may take
_tests = {}


def test(name):
    """Registers a function as a test; it builds the desktop that it needs."""
    def register(function):
        assert name not in _tests, name
        _tests[name] = function
        return function
    return register


def equal(actual, expected, what):
    if actual != expected:
        raise Failure(f"{what}:\n  expected {expected!r}\n  got      {actual!r}")


def true(condition, what):
    if not condition:
        raise Failure(what)


def _run_one(name):
    try:
        _tests[name]()
    except Exception as error:  # whatever went wrong is this test's result
        traceback.print_exception(error, limit=None if not isinstance(error, Failure) else -2)
        return 1
    return 0


def main():
    parser = argparse.ArgumentParser(description="Tests the real companion on a desktop of its own.")
    parser.add_argument("names", nargs="*", help="only tests whose name contains one of these")
    parser.add_argument("--one", help=argparse.SUPPRESS)
    parser.add_argument("--counts", help="write the numbers of passed, failed and skipped tests to this file")
    parser.add_argument("--jobs", type=int, default=4)
    parser.add_argument("--list", action="store_true")
    options = parser.parse_args()
    if options.one:
        sys.exit(_run_one(options.one))
    names = [name for name in _tests if not options.names or any(part in name for part in options.names)]
    if options.list:
        print("\n".join(names))
        return
    waiting, running, failed = list(names), {}, []
    while waiting or running:
        while waiting and len(running) < options.jobs:
            name = waiting.pop(0)
            said = tempfile.TemporaryFile("w+", errors="replace")
            child = subprocess.Popen([sys.executable, os.path.abspath(sys.argv[0]), "--one", name], stdin=subprocess.DEVNULL,
                                     stdout=said, stderr=subprocess.STDOUT)
            running[child] = name, time.monotonic(), said
        for child, (name, began, said) in list(running.items()):
            took = time.monotonic() - began
            if took > LONGEST:
                child.kill()
            if child.poll() is None:
                continue
            del running[child]
            if child.returncode:
                failed.append(name)
                said.seek(0)
                print(said.read().rstrip() + ("\n(it never ended)" if took > LONGEST else ""))
            print(f"{'FAILED' if child.returncode else 'ok'} {name} ({took:.1f} s)", flush=True)
        time.sleep(0.02)
    passed = len(names) - len(failed)
    if options.counts:
        pathlib.Path(options.counts).write_text(f"{passed} {len(failed)} 0\n")
    print(f"desktop: {passed} passed, {len(failed)} failed")
    sys.exit(1 if failed or not passed else 0)
