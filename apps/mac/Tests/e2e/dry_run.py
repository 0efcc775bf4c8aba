#!/usr/bin/env python3
"""Runs the built program in a dry run, without a session bus and without a display, and watches what it prints and
what it writes. Usage: dry_run.py PROGRAM"""
import datetime
import json
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
REFUSAL = "KESTRELUNE_DRY_RUN requires distinct, explicit status and heartbeat paths.\n"
TOOL = "~/.kestrelune/bin/kestrelune "


def iso(moment):
    return moment.strftime("%Y-%m-%dT%H:%M:%SZ")


class DryRun(unittest.TestCase):
    def setUp(self):
        self.holder = tempfile.TemporaryDirectory()
        self.folder = self.holder.name
        self.status = os.path.join(self.folder, "runner", "status.json")
        self.heartbeat = os.path.join(self.folder, "runner", "menubar.json")
        os.mkdir(os.path.join(self.folder, "runner"))

    def tearDown(self):
        self.holder.cleanup()

    def environment(self, **changes):
        result = {"PATH": os.environ["PATH"], "HOME": self.folder, "LC_ALL": "en_US.UTF-8",
                  "KESTRELUNE_DRY_RUN": "1", "KESTRELUNE_STATUS_FILE": self.status,
                  "KESTRELUNE_MENUBAR_FILE": self.heartbeat}
        result.update(changes)
        return {key: value for key, value in result.items() if value is not None}

    def start(self, *arguments, **changes):
        process = subprocess.Popen([PROGRAM, *arguments], env=self.environment(**changes), text=True,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
            process.wait()
        process.stdout.close()
        process.stderr.close()

    def finished(self, *arguments, **changes):
        process = self.start(*arguments, **changes)
        output, errors = process.communicate(timeout=20)
        return process.returncode, output, errors

    def write_status(self, **members):
        status = {"schemaVersion": 1, "state": "running", "pid": os.getpid(),
                  "updatedAt": iso(datetime.datetime.now(datetime.timezone.utc))}
        status.update(members)
        with open(self.status + ".new", "w") as file:
            json.dump(status, file)
        os.rename(self.status + ".new", self.status)

    def expect_line(self, process, line, seconds):
        begun = time.monotonic()
        while (read := process.stdout.readline()) and read != line + "\n":
            pass
        self.assertEqual(read, line + "\n")
        self.assertLess(time.monotonic() - begun, seconds)

    def wait_for(self, path):
        latest = time.monotonic() + 3
        while not os.path.exists(path) and time.monotonic() < latest:
            time.sleep(0.01)

    def test_state_lines_follow_the_file(self):
        process = self.start()
        self.expect_line(process, "STATE red Kestrelune is not running", 3)
        self.wait_for(self.heartbeat)
        with open(self.heartbeat) as file:
            beat = json.load(file)
        self.assertEqual((beat["pid"], beat["schemaVersion"]), (process.pid, 1))
        self.write_status()
        self.expect_line(process, "STATE green Everything is ready", 6)
        self.write_status(attention=[{"title": "Pick a date"}])
        self.expect_line(process, "STATE yellow Something needs you", 6)
        process.terminate()
        self.assertEqual(process.wait(5), 0)
        self.assertFalse(os.path.exists(self.heartbeat))

    def test_speaks_german(self):
        code, output, _ = self.finished("--quit-after", "0.2", LC_ALL="de_DE.UTF-8")
        self.assertEqual((code, output.splitlines()[0]), (0, "STATE red Kestrelune läuft nicht"))

    def test_ending_signals_end_it_cleanly(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number):
                process = self.start("--show-menu")
                self.expect_line(process, "STATE red Kestrelune is not running", 3)
                process.send_signal(number)
                self.assertEqual(process.wait(5), 0)
                self.assertFalse(os.path.exists(self.heartbeat))

    def test_a_closed_output_does_not_end_it(self):
        process = self.start("--quit-after", "0.5")
        process.stdout.close()
        self.assertEqual(process.wait(5), 0)

    def test_refuses_unsafe_paths_and_writes_nothing(self):
        home = os.path.join(os.path.expanduser("~"), ".kestrelune")
        rows = {
            "no status file": {"KESTRELUNE_STATUS_FILE": None},
            "empty heartbeat file": {"KESTRELUNE_MENUBAR_FILE": ""},
            "the same file": {"KESTRELUNE_MENUBAR_FILE": self.folder + "/runner/./status.json"},
            "the same file, no dry run": {"KESTRELUNE_MENUBAR_FILE": self.status, "KESTRELUNE_DRY_RUN": None},
            "the user's folder": {"KESTRELUNE_STATUS_FILE": home + "/runner/status.json"},
            "the user's folder as root": {"KESTRELUNE_HOME": home},
        }
        for name, changes in rows.items():
            with self.subTest(name):
                self.assertEqual(self.finished("--quit-after", "0.1", **changes), (0, "", REFUSAL))
                self.assertEqual(os.listdir(self.folder), ["runner"])
                self.assertEqual(os.listdir(os.path.dirname(self.status)), [])

    def test_exercise_actions(self):
        code, output, errors = self.finished("--exercise-actions", "--quit-after", "0.5")
        self.assertEqual((code, errors), (0, ""))
        lines = [line[len("DRY_RUN "):] for line in output.splitlines() if line.startswith("DRY_RUN ")]
        host = next(line for line in lines if line.endswith("/workspace"))[len("open https://"):-len("/workspace")]
        mcp = f"https%3A%2F%2F{host}%2Fmcp"
        self.assertIn(mcp, lines[0])
        self.assertEqual(lines[1], "open https://chatgpt.com/#settings")
        self.assertEqual(lines[3:], [
            "open https://grok.com/connectors",
            "open antigravity://",
            f"open https://{host}/workspace",
            f"open https://{host}/workspace?ai=claude#ais",
            f"launchctl kickstart -k gui/{os.getuid()}/com.kestrelune.helper",
            "SMAppService.mainApp toggle registration",
            TOOL + "report-problem (asks first)",
            "quit KestreluneMenu",
            "open -b com.openai.codex",
            "Terminal: claude auth login",
            "Terminal: cursor-agent login",
            "Terminal: " + TOOL + "update-app codex",
            "update-all",
            TOOL + "switch off connection grok (requires confirmation)",
            TOOL + "switch off app codex (requires confirmation)",
            TOOL + "switch read connection claude (requires confirmation)",
            TOOL + "workers auto (background)",
            TOOL + "workers codex (background)",
            TOOL + "small-model off (background)",
            TOOL + "auto-delegate on (background)",
            TOOL + "profile set|clear 00000000-0000-4000-8000-000000000001 (background)",
        ])


if __name__ == "__main__":
    unittest.main()
