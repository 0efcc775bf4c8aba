"""The first-run window, gone through as a person with a screen reader would: by names, roles and actions only."""
import json
import os
import signal
import subprocess

from desktop import BUNDLE, ROOT, SCENES, Desktop, children, send, wait_for
from peers import TrayHost
from runner import equal, test, true
from screenreader import Atspi, Reader

TOOLS = {"xdg-mime": "echo browser.desktop", "xdg-open": 'echo "$1" >> "$HOME/opened"'}


class NewMac(Desktop):
    """An empty home with the application in its Applications folder, and a browser that notes what it is to open."""

    def __init__(self, language="en_US.UTF-8"):
        super().__init__(display=True, bus=True, accessible=True)
        self.runner = self.home / ".kestrelune/runner"
        self.bundle = self.home / "Applications" / "Kestrelune.app"
        self.bundle.parent.mkdir()
        subprocess.run(["cp", "-a", "--reflink=auto", BUNDLE, self.bundle], check=True)
        (self.home / "bin").mkdir()
        for name, command in TOOLS.items():
            (self.home / "bin" / name).write_text(f"#!/bin/sh\n{command}\n")
            (self.home / "bin" / name).chmod(0o700)
        self.environment.update(PATH=f"{self.home}/bin:{os.environ['PATH']}", LANG=language,
                                KESTRELUNE_DEMO_SCENE=str(SCENES / "new-account.json"))
        self.texts = json.loads(subprocess.check_output([ROOT / "build/release/kestrelune-inspect", "text", "SetupCopy"], env={"LANG": language}))
        self.reader = Reader()

    def say(self, key, value=""):
        return self.texts[key].replace("%@", value)

    def companion(self):
        return self.start([self.bundle / "Contents/MacOS/KestreluneMenu"])

    def orders(self, **orders):
        self.runner.mkdir(parents=True, exist_ok=True)
        (self.runner / "orders.json").write_text(json.dumps(orders))

    def connected(self, family):
        """What the user did in that AI's own settings."""
        scene = json.loads((SCENES / "new-account.json").read_text())
        scene["connections"][family] = {"state": "connected"}
        draft = self.runner / "scene.new"
        draft.write_text(json.dumps(scene))
        draft.rename(self.runner / "scene.json")

    def opened(self):
        file = self.home / "opened"
        return file.read_text().split() if file.exists() else []

    def completed(self):
        file = self.home / ".config/Kestrelune/defaults.json"
        return file.exists() and json.loads(file.read_text()).get("kestrelune.setupWindowCompleted")

    def titled(self):
        return self.reader.find(self.say("windowTitle"), "frame")

    def at(self, heading):
        """Waits for the step with that heading, all of whose controls have names."""
        self.reader.wait(self.say(heading))
        equal(self.reader.nameless(), [], f"nameless controls at {heading}")


def walk(language):
    with NewMac(language) as desktop:
        reader, say = desktop.reader, desktop.say
        process = desktop.companion()
        desktop.at("welcomeTitle")
        desktop.orders(install={"seconds": 1.5})
        reader.press(say("signIn"))
        desktop.at("waitingTitle")
        desktop.at("aiTitle")  # by itself, once the helper says that it runs
        reader.press("ChatGPT", "radio button")
        reader.press(say("connect", "ChatGPT"))
        reader.wait(say("guideChatGPT"))
        wait_for("the browser", lambda: any("chatgpt.com" in url for url in desktop.opened()))
        desktop.connected("chatgpt")
        reader.wait(say("aiConnected", "ChatGPT"))
        reader.press(say("continueButton"))
        desktop.at("macTitle")
        true(any(text.startswith("Codex, ") for text in reader.texts()), f"the row of Codex in {reader.texts()}")
        reader.press(say("back"))
        desktop.at("aiTitle")
        true(reader.find(say("aiConnected", "ChatGPT")), "the choice is kept")
        reader.press(say("continueButton"))
        reader.press(say("firstTask"))
        wait_for("the first task in the browser", lambda: any("chatgpt.com/?q=" in url for url in desktop.opened()))
        wait_for("the window to close", lambda: not desktop.titled())
        true(desktop.completed(), "the flag")
        equal(send(process), 0, "exit status")
        process = desktop.companion()
        wait_for("the heartbeat", lambda: (desktop.runner / "menubar.json").exists())
        equal(desktop.titled(), None, "a window at the next start")
        equal(send(process), 0, "exit status")


test("the first run, from welcome to the first task, by an assistive tool")(lambda: walk("en_US.UTF-8"))
test("the first run in German")(lambda: walk("de_DE.UTF-8"))


@test("the first run survives a failed install, a killed screen, a dead helper, a second start and closing")
def disturbed():
    with NewMac() as desktop:
        reader, say = desktop.reader, desktop.say
        host = TrayHost(desktop)
        process = desktop.companion()
        desktop.at("welcomeTitle")
        desktop.orders(install={"fail": "The account is full.", "times": 1})
        reader.press(say("signIn"))
        reader.wait(say("accountFailed", "The account is full."))
        reader.press("OK")
        reader.press(say("tryAgain"))
        desktop.at("aiTitle")
        reader.press("Cursor", "radio button")
        screen = next(pid for pid in children(process.pid) if "Screen" in os.readlink(f"/proc/{pid}/exe"))
        os.kill(screen, signal.SIGKILL)
        reader.wait(say("connect", "Cursor"), "push button")
        os.kill(json.loads((desktop.runner / "status.json").read_text())["pid"], signal.SIGKILL)
        reader.press(say("skip"))
        desktop.at("macTitle")
        equal(desktop.companion().ended(), 0, "a second start")
        wait_for("the main window beside it", lambda: reader.find("Kestrelune", "frame") and desktop.titled())
        item = host.item()

        def open_from_menu():
            item.menu.event(wait_for("the way back", lambda: item.menu.layout().find(say("menuOpen"))))
        open_from_menu()
        true(reader.find(say("macTitle")), "the same window")
        wait_for("the window in front", lambda: desktop.titled().get_state_set().contains(Atspi.StateType.ACTIVE))
        subprocess.run(["xdotool", "key", "Escape"], check=True)
        wait_for("the window to close", lambda: not desktop.titled())
        true(not desktop.completed(), "the flag is not set by closing")
        open_from_menu()
        # The helper takes its time to come back, and with it the step that is reached.
        wait_for("the window", lambda: reader.find(say("welcomeTitle")) or reader.find(say("aiTitle")))
        equal(send(process), 0, "exit status")
