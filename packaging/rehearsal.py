#!/usr/bin/env python3
"""Rehearses an update: packaging/rehearsal.py [BUILD-FOLDER] tells what happens from the first check to a new build.

Two really signed builds, the service on https port 443 under its own name, a display, a session bus, an account with
a home folder; all in network, mounts and processes of their own, so that nothing of this machine is touched. Tests
and benchmarks of updates use the same stage.
"""
import contextlib
import fcntl
import http.server
import json
import os
import pathlib
import shutil
import signal
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import threading
import time

import release

ROOT = release.ROOT
sys.path.insert(0, str(ROOT / "demo/desktop"))
INSIDE = "KESTRELUNE_REHEARSAL_INSIDE"
ELSEWHERE = "elsewhere.example"
DISPLAY = ":9"
MANIFEST_PATH = f"/download/{release.MANIFEST}"


def enter():
    """Goes on in namespaces of its own, as root there; False where the machine gives none. Called first."""
    if os.environ.pop(INSIDE, None):
        return True
    apart = ["unshare", "--net", "--mount", "--pid", "--fork", "--mount-proc", "--kill-child"]
    if os.getuid() != 0:
        apart.append("--map-root-user")
    if not shutil.which("unshare") or subprocess.run([*apart, "true"], capture_output=True).returncode:
        return False
    # The shell is the first process there, which collects those that lost their parent.
    first = '"$@" & child=$!; trap "kill -KILL $child" INT TERM; wait $child'
    os.execvpe(apart[0], [*apart, "bash", "-c", first, "first", sys.executable, *sys.argv], {**os.environ, INSIDE: "1"})


def wait_for(what, predicate, seconds=30):
    end = time.monotonic() + seconds
    while not (value := predicate()):
        if time.monotonic() > end:
            raise AssertionError(f"waited {seconds} s for {what}")
        time.sleep(0.005)
    return value


def variant(build, scratch, name, program=None):
    """The bundle of a build as it can be rehearsed: a small runtime, and the throw-away anchor with short times.

    Another program, a script, can stand for the companion.
    """
    app = scratch / "variants" / name / release.APP
    shutil.copytree(build / release.APP, app, symlinks=True, ignore=lambda folder, _: {"node"} if "node-darwin" in folder else ())
    for folder in app.glob("Contents/Helpers/node-darwin-*"):
        (folder / "node").write_text('#!/bin/sh\nexec node "$@"\n')
        (folder / "node").chmod(0o755)
    shutil.copy2(build / "rehearsal/KestreluneMenu", app / "Contents/MacOS")
    shutil.copy2(build / "rehearsal/spctl", app / "Contents/Helpers")
    if program:
        (app / "Contents/MacOS/KestreluneMenu").write_text("#!/bin/sh\n" + program)
    return app


class Service:
    """The service host, and another one, on https; a plain port 80, to which nobody has a reason to come."""

    def __init__(self, host, scratch):
        self.host, self.scratch, self.asked, self.answers, self._hold = host, scratch, [], {}, None
        release.run("mount", "-t", "tmpfs", "none", "/etc/ssl/certs")
        secure = self.secure = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        self.present(self.certificate("Service", host, ELSEWHERE))
        self._serve(443, secure)
        self._serve(80)

    def certificate(self, name, *hosts, trusted=True):
        """A certificate for these hosts and its key; trusted: by everything on this stage."""
        certificate, key = self.scratch / f"{name}.pem", self.scratch / f"{name}.key"
        release.run("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-noenc", "-days", "2",
                    "-subj", f"/CN={name}", "-addext", "subjectAltName=" + ",".join(f"DNS:{host}" for host in hosts),
                    "-out", certificate, "-keyout", key)
        if trusted:
            with open("/etc/ssl/certs/ca-certificates.crt", "ab") as known:
                known.write(certificate.read_bytes())
        return certificate, key

    def present(self, certificate):
        """Shows it to all who come from now on."""
        self.secure.load_cert_chain(*certificate)

    def _serve(self, port, secure=None):
        service = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                service.asked.append((port, self.headers["Host"], self.path))
                if self.path == MANIFEST_PATH and (hold := service._hold):
                    hold[0].set()
                    hold[1].wait(30)
                with contextlib.suppress(OSError):
                    service.answer(self)

            def log_message(self, *_):
                pass

        server = http.server.ThreadingHTTPServer(("127.0.0.1", port), Handler)
        server.daemon_threads = True
        server.handle_error = lambda *_: None
        if secure:
            server.socket = secure.wrap_socket(server.socket, server_side=True)
        threading.Thread(target=server.serve_forever, daemon=True).start()

    def answer(self, handler):
        """A file's content, bytes, the address of a redirect, or whatever a function writes."""
        body = self.answers.get(handler.path)
        if body is None:
            return handler.send_error(404)
        if callable(body):
            return body(handler)
        if isinstance(body, str):
            handler.send_response(302)
            handler.send_header("Location", body)
            # Without it only the end of the connection ends the answer, which a newer library takes for a cut one.
            handler.send_header("Content-Length", "5")
            handler.end_headers()
            return handler.wfile.write(b"moved")
        size = body.stat().st_size if isinstance(body, pathlib.Path) else len(body)
        handler.send_response(200)
        handler.send_header("Content-Length", str(size))
        handler.end_headers()
        if isinstance(body, bytes):
            return handler.wfile.write(body)
        with body.open("rb") as file:
            shutil.copyfileobj(file, handler.wfile, release.PIECE)

    def publish(self, folder):
        """Whatever a release tool left in the folder, from now on."""
        self.answers = {f"/download/{path.name}": path for path in folder.iterdir()}

    @contextlib.contextmanager
    def held(self):
        """The next who asks for the manifest waits for an answer while this context lasts."""
        came, released = self._hold = threading.Event(), threading.Event()
        try:
            if not came.wait(60):
                raise AssertionError("nobody asks for the manifest")
            yield
        finally:
            self._hold = None
            released.set()

    def times(self, path):
        return sum(asked[2] == path for asked in self.asked)


class Stage:
    """An account on a desktop, and the service. Used as a context, inside."""

    def __init__(self, build):
        self.build, self.stack = pathlib.Path(build).resolve(), contextlib.ExitStack()
        self.scratch = pathlib.Path(self.stack.enter_context(tempfile.TemporaryDirectory(prefix="kestrelune-rehearsal-")))
        self.keys, self.home = self.build / "rehearsal/keys", self.scratch / "home (C++) [new]"
        self.installed = self.home / "Applications" / release.APP
        self.root = self.home / ".kestrelune"
        self.folder = self.root / "app-update"
        self.environment = {
            "PATH": os.environ.get("PATH", "/usr/bin:/bin"), "HOME": str(self.home), "LANG": "en_US.UTF-8", "DISPLAY": DISPLAY,
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.scratch}/bus", "XDG_RUNTIME_DIR": str(self.scratch),
            "GSETTINGS_BACKEND": "memory", "KESTRELUNE_DEMO_SCENE": str(ROOT / "demo/scenes/all-ready.json"),
        }
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as anything:
            fcntl.ioctl(anything, 0x8914, struct.pack("16sh", b"lo", 1))  # the loopback goes up
        host = release.service_host(self.build)
        self._put("/etc/passwd", f"root:x:0:0::{self.home}:/bin/sh\nnobody:x:65534:65534::/:/bin/false\n")
        self._put("/etc/hosts", f"127.0.0.1 localhost {host} {ELSEWHERE}\n")
        self.service = Service(host, self.scratch)
        self._start_desktop()

    def _put(self, path, text):
        mine = self.scratch / path.replace("/", "-")
        mine.write_text(text)
        release.run("mount", "--bind", mine, path)

    def _start_desktop(self):
        sockets = pathlib.Path("/tmp/.X11-unix")
        sockets.mkdir(mode=0o1777, exist_ok=True)
        release.run("mount", "-t", "tmpfs", "none", sockets)
        quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        # Its lock would be taken in the view of this machine that all share.
        subprocess.Popen(["Xvfb", DISPLAY, "-nolock", "-nolisten", "tcp", "-noreset", "-screen", "0", "1280x800x24"], **quiet)
        subprocess.Popen(["dbus-daemon", "--session", "--nofork", f"--address=unix:path={self.scratch}/bus"], **quiet)
        wait_for("the desktop", lambda: (sockets / f"X{DISPLAY[1:]}").exists() and (self.scratch / "bus").exists())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.clear()
        self.stack.close()

    def make(self, number, name=None, program=None, **more):
        """A release of the bundle, or of a variant of it, in a folder of its own, which is given."""
        name = name or str(number)
        output = self.scratch / "releases" / name
        more = {"keys": self.keys, "version": f"1.{number}", "tools": self.build, **more}
        release.release(variant(self.build, self.scratch, name, program), number=number, output=output, **more)
        return output

    def unpack(self, published, folder):
        folder.mkdir(parents=True)
        archive, = published.glob("*.zip")
        release.run(self.build / release.APP / "Contents/Helpers/ditto", "-x", "-k", archive, folder)

    def processes(self):
        """The process ids of all that belongs to the account."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                if str(self.home).encode() in (process / "cmdline").read_bytes():
                    found.append(int(process.name))
        return found

    def clear(self):
        """Ends what runs, and removes the account's files."""
        while running := self.processes():
            for pid in running:
                with contextlib.suppress(OSError):
                    os.kill(pid, signal.SIGKILL)
            time.sleep(0.02)
        while os.path.ismount(self.folder):
            release.run("umount", self.folder)
        shutil.rmtree(self.home, ignore_errors=True)

    def install(self, published):
        """An account anew, where that release is installed and the first run was gone through."""
        self.clear()
        self.unpack(published, self.installed.parent)
        defaults = self.home / ".config/Kestrelune/defaults.json"
        defaults.parent.mkdir(parents=True)
        defaults.write_text('{"kestrelune.setupWindowCompleted":true}')

    def start(self):
        """Starts what is installed, as the desktop would."""
        subprocess.run([self.build / release.APP / "Contents/Helpers/open", "-n", self.installed], env=self.environment, check=True)

    def installed_build(self):
        """The number of the build at its place; None while there is none."""
        try:
            return int(json.loads((self.installed / "Contents/Info.json").read_text())["CFBundleVersion"])
        except (OSError, ValueError):
            return None

    def running(self):
        """The process id of a companion that says that it runs, and does."""
        try:
            pid = json.loads((self.root / "runner/menubar.json").read_text())["pid"]
            return pid if os.readlink(f"/proc/{pid}/exe") == str(self.installed / "Contents/MacOS/KestreluneMenu") else None
        except (OSError, ValueError):
            return None

    def state(self):
        return json.loads(release.run(self.build / "kestrelune-inspect", "update-state", self.folder))

    def files(self):
        """What lies in the folder of updates, by name."""
        return set(os.listdir(self.folder)) if self.folder.is_dir() else set()


class Watch:
    """Watches the place of the application: the longest time without one, in seconds, and the builds seen there."""

    def __init__(self, stage):
        self.stage, self.longest, self.builds, self._ended = stage, 0.0, [], False
        self._thread = threading.Thread(target=self._look, daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._ended = True
        self._thread.join()

    def _look(self):
        there = time.monotonic()
        while not self._ended:
            build = self.stage.installed_build()
            now = time.monotonic()
            self.longest = max(self.longest, now - there if build is None else 0.0)
            if build is not None:
                there = now
                if self.builds[-1:] != [build]:
                    self.builds.append(build)
            time.sleep(0.0002)


def main():
    if not enter():
        sys.exit("rehearsal: neither root nor namespaces for users on this machine")
    began = time.monotonic()

    def tell(what):
        print(f"{time.monotonic() - began:6.2f} s  {what}", flush=True)

    with Stage(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build/release") as stage:
        stage.install(stage.make(41))
        stage.service.publish(stage.make(42))
        tell("two builds are signed")
        with Watch(stage) as watch:
            stage.start()
            old = wait_for("a companion", stage.running)
            tell(f"build {stage.installed_build()} runs")
            wait_for("a request", lambda: stage.service.times(MANIFEST_PATH))
            tell("it has asked for the manifest")
            wait_for("a staged build", lambda: "staged-42" in stage.files())
            tell("the archive has arrived")
            wait_for("the other build", lambda: stage.installed_build() == 42)
            tell("build 42 stands in its place")
            wait_for("the other companion", lambda: stage.running() not in (None, old))
            tell("and runs")
            wait_for("its confirmation", lambda: not any(name.startswith(("previous-", "confirmed-")) for name in stage.files()))
            tell(f"it is confirmed; for at most {watch.longest * 1000:.1f} ms there was no application")


if __name__ == "__main__":
    main()
