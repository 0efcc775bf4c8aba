"""Our own menu on a display, worked with mouse, keyboard and an assistive tool."""
import subprocess

from desktop import Desktop, send, wait_for
from runner import equal, test
from screenreader import Atspi, Reader


def focused(node):
    return node.get_state_set().contains(Atspi.StateType.FOCUSED)


@test("Later and Done are reached and pressed by keyboard and by an assistive tool")
def settling():
    with Desktop(display=True, bus=True, accessible=True) as desktop:
        reader = Reader()
        desktop.write_status("attention.json")
        process = desktop.companion("--show-menu")
        later, done = reader.wait("Later", "push button"), reader.wait("Done", "push button")
        row = done.get_parent()
        equal((row.get_role_name(), row.get_name().split(",")[0], row.get_parent().get_role_name()),
              ("panel", "#44 Which bank account?", "popup menu"), "the row")
        for key, reached in (("Down", row), ("Tab", later), ("Right", done)):
            subprocess.run(["xdotool", "key", key], check=True)
            wait_for(f"the focus after {key}", lambda: [node for node in (row, later, done) if focused(node)] == [reached])
        subprocess.run(["xdotool", "key", "space"], check=True)
        process.line("DRY_RUN settle done")
        reader.wait("Kestrelune — 2 need you").do_action(0)
        row = wait_for("the next row", lambda: next((node for _, name, node in reader.nodes() if name.startswith("#45 Newsletter draft")), None))
        row.get_child_at_index(0).do_action(0)
        process.line("DRY_RUN settle later")
        wait_for("the menu to go", lambda: len(desktop.windows()) == 1)
        equal(send(process), 0, "exit status")
