"""Our own menu on a display, worked with mouse, keyboard and an assistive tool."""
import subprocess

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

from desktop import Desktop, send, wait_for  # noqa: E402
from runner import equal, test  # noqa: E402


def found(what, matches):
    """The first thing in the accessibility trees of the desktop that matches, waited for."""
    def within(node):
        if node is None or matches(node):
            return node
        return next(filter(None, (within(node.get_child_at_index(i)) for i in range(node.get_child_count()))), None)
    return wait_for(what, lambda: within(Atspi.get_desktop(0)))


def button(name):
    return found(name, lambda node: node.get_role() == Atspi.Role.PUSH_BUTTON and node.get_name() == name)


def focused(node):
    return node.get_state_set().contains(Atspi.StateType.FOCUSED)


@test("Later and Done are reached and pressed by keyboard and by an assistive tool")
def settling():
    with Desktop(display=True, bus=True, accessible=True) as desktop:
        desktop.write_status("attention.json")
        process = desktop.companion("--show-menu")
        later, done = button("Later"), button("Done")
        row = done.get_parent()
        equal((row.get_role_name(), row.get_name().split(",")[0], row.get_parent().get_role_name()),
              ("panel", "#44 Which bank account?", "popup menu"), "the row")
        for key, reached in (("Down", row), ("Tab", later), ("Right", done)):
            subprocess.run(["xdotool", "key", key], check=True)
            wait_for(f"the focus after {key}", lambda: [node for node in (row, later, done) if focused(node)] == [reached])
        subprocess.run(["xdotool", "key", "space"], check=True)
        process.line("DRY_RUN settle done")
        found("the icon", lambda node: node.get_name() == "Kestrelune — 2 need you").do_action(0)
        row = found("the next row", lambda node: node.get_name().startswith("#45 Newsletter draft"))
        row.get_child_at_index(0).do_action(0)
        process.line("DRY_RUN settle later")
        wait_for("the menu to go", lambda: len(desktop.windows()) == 1)
        equal(send(process), 0, "exit status")
