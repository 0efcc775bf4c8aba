"""The windows as a screen reader sees them: a tree of controls with roles, names and actions. Nothing else is used."""
import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from desktop import LIMIT, Failure, wait_for  # noqa: E402

# By their numbers, which last: the names that the system gives them have changed ("push button" became "button").
ROLES = {43: "push button", 7: "check box", 44: "radio button", 37: "page tab", 38: "page tab list", 61: "text", 48: "scroll bar"}
CONTROLS = set(ROLES.values()) - {"scroll bar"}


def role_of(node):
    """What it is, in the words of ROLES; everything else by the system's name."""
    return ROLES.get(int(node.get_role()), node.get_role_name())


class Reader:
    """What our windows show now. Everything is looked up anew, since a redraw may have replaced it."""

    def nodes(self):
        """(role, name, node) of everything that is on screen, in reading order."""
        try:
            desktop = Atspi.get_desktop(0)
            roots = [desktop.get_child_at_index(i) for i in range(desktop.get_child_count())]
            return [found for root in roots if root and root.get_name() == "Kestrelune" for found in self._walk(root)]
        except GLib.Error:  # it changed while it was read
            return []

    def _walk(self, node):
        if node is None:
            return
        states = node.get_state_set()
        if node.get_role() != Atspi.Role.APPLICATION and not states.contains(Atspi.StateType.VISIBLE):
            return
        yield role_of(node), node.get_name(), node
        for i in range(node.get_child_count()):
            yield from self._walk(node.get_child_at_index(i))

    def texts(self):
        return [name for _, name, _ in self.nodes() if name]

    def find(self, name, role=None):
        return next((node for is_role, is_name, node in self.nodes() if is_name == name and role in (None, is_role)), None)

    def wait(self, name, role=None, timeout=LIMIT):
        try:
            return wait_for(f"{role or 'a text'} “{name}”", lambda: self.find(name, role), timeout)
        except Failure as failure:
            raise Failure(f"{failure}; there is {self.texts()}") from None

    def press(self, name, role="push button"):
        """Presses a control once it is there and can be pressed."""
        def ready():
            node = self.find(name, role)
            return node if node and node.get_state_set().contains(Atspi.StateType.ENABLED) else None
        node = wait_for(f"{role} “{name}” that can be pressed; there is {self.texts()}", ready)
        node.get_action_iface().do_action(0)

    def nameless(self):
        """The controls that a user of it could not tell apart."""
        return [role for role, name, _ in self.nodes() if role in CONTROLS and not name]
