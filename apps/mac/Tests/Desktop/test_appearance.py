"""What the user wants of how things look, as the desktop publishes it."""
from gi.repository import GLib

from desktop import Desktop, send, wait_for
from peers import Portal
from runner import equal, test, true

COMMON, GNOME = "org.freedesktop.appearance", "org.gnome.desktop.interface"
GROUNDS = {"light": (246, 246, 248), "dark": (43, 43, 45), "high contrast": (255, 255, 255)}


@test("a window follows the desktop's settings while it is open, and the bus is asked to start who tells them")
def follows_settings():
    with Desktop(display=True, bus=True) as desktop:
        asked = desktop.folder / "asked"
        desktop.activatable("org.freedesktop.portal.Desktop", f"/usr/bin/touch {asked}")
        desktop.write_status()
        process = desktop.companion("--show-setup", "2")

        def largest():
            return max(desktop.windows(), key=lambda window: window[3] * window[4], default=None)

        def shows(ground):
            window = largest()
            return window and desktop.pixel(window[1] + 3, window[2] + 3) == GROUNDS[ground]

        wait_for("a light window", lambda: shows("light"))
        true(asked.exists(), "the bus was asked to start it")
        portal = Portal(desktop, {COMMON: {"color-scheme": GLib.Variant("u", 1)}})
        wait_for("a dark window, once somebody tells", lambda: shows("dark"))
        portal.change(COMMON, "color-scheme", GLib.Variant("u", 2))
        wait_for("a light window again", lambda: shows("light"))
        portal.change(COMMON, "contrast", GLib.Variant("u", 1))
        wait_for("high contrast", lambda: shows("high contrast"))
        width = largest()[3]
        portal.change(GNOME, "text-scaling-factor", GLib.Variant("d", 1.25))
        wait_for("a window for larger text", lambda: abs(largest()[3] - width * 1.25) < 3)

        def accent():
            _, x, y, _, _ = largest()
            return any(red > blue + 60 for red, _, blue in (desktop.pixel(x + 60, y + row) for row in range(30, 80)))

        true(not accent(), "an accent that nobody asked for")
        portal.change(COMMON, "accent-color", GLib.Variant("(ddd)", (0.9, 0.6, 0.0)))
        wait_for("the accent", accent)
        desktop.screenshot("large-high-contrast")
        equal(send(process), 0, "exit status")


@test("a window that opens on a dark desktop is never light")
def dark_from_the_first_picture():
    with Desktop(display=True, bus=True) as desktop:
        Portal(desktop, {COMMON: {"color-scheme": GLib.Variant("u", 1)}})
        desktop.write_status()
        process = desktop.companion("--show-setup", "2")
        _, x, y, _, _ = wait_for("a window", lambda: next((window for window in desktop.windows() if window[4] > 200), None))
        colours = {wait_for("its ground", lambda: next((c for c in (desktop.pixel(x + 3, y + 3),) if c != (0, 0, 0)), None)) for _ in range(50)}
        equal(colours, {GROUNDS["dark"]}, "its ground")
        equal(send(process), 0, "exit status")
