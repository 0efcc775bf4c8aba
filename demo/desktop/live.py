"""A companion with real effects, over the stand-in helper in a scratch home."""
import json
import subprocess

from desktop import BINARY, ROOT, Desktop, Failure, wait_for
from peers import NotificationServer, TrayHost


class LiveDesktop(Desktop):
    """A scratch home where the helper is set up, and the companion over it as a user has it."""

    def __init__(self, scene="outdated-app.json", **more):
        super().__init__(bus=True, **more)
        self.root = self.home / ".kestrelune"
        self.runner = self.root / "runner"
        self.status, self.heartbeat = self.runner / "status.json", self.runner / "menubar.json"
        subprocess.run([ROOT / "demo/place", self.root], check=True)
        self.environment["KESTRELUNE_DEMO_SCENE"] = str(ROOT / "demo/scenes" / scene)
        subprocess.run([self.root / "bin/kestrelune", "install", "--in-app"], check=True, stdout=subprocess.DEVNULL)

    def live(self):
        self.host = TrayHost(self)
        self.server = NotificationServer(self)
        process = self.start([BINARY])
        self.item = self.host.item()
        wait_for("the helper's status", lambda: self.read("state") == "running")
        return process

    def read(self, key, file="status.json"):
        try:
            return json.loads((self.runner / file).read_text()).get(key)
        except (OSError, ValueError):
            return None

    def choose(self, *labels):
        """Clicks the row under these labels, each found below the one before."""
        row = self.item.menu.layout()
        for label in labels:
            row = row.find(label)
            if not row:
                raise Failure(f"no row {label!r} in:\n" + "\n".join(self.item.menu.layout().lines()))
        self.item.menu.event(row)
