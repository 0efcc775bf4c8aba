#!/usr/bin/python3
"""A tray of the old kind, as a process of its own: shows each docked icon 32 by 32 at the top right.

Prints "ready", "docked WINDOW" and "undocked WINDOW".
"""
from Xlib import X, Xatom, display
from Xlib.protocol import event

SIZE = 32


def main():
    server = display.Display()
    root = server.screen().root
    tray = root.create_window(1280 - 4 * SIZE, 0, 4 * SIZE, SIZE, 0, X.CopyFromParent, background_pixel=0x808080,
                              override_redirect=True, event_mask=X.SubstructureNotifyMask | X.StructureNotifyMask)
    tray.map()
    selection, opcode = (server.intern_atom(name) for name in ("_NET_SYSTEM_TRAY_S0", "_NET_SYSTEM_TRAY_OPCODE"))
    tray.change_property(server.intern_atom("_NET_SYSTEM_TRAY_ORIENTATION"), Xatom.CARDINAL, 32, [0])
    tray.set_selection_owner(selection, X.CurrentTime)
    message = event.ClientMessage(window=root, client_type=server.intern_atom("MANAGER"),
                                  data=(32, [X.CurrentTime, selection, tray.id, 0, 0]))
    root.send_event(message, event_mask=X.StructureNotifyMask)
    server.flush()
    print("ready", flush=True)
    docked = []
    while True:
        now = server.next_event()
        if now.type == X.ClientMessage and now.client_type == opcode and now.data[1][1] == 0:
            icon = server.create_resource_object("window", now.data[1][2])
            icon.reparent(tray, SIZE * len(docked), 0)
            icon.configure(width=SIZE, height=SIZE)
            icon.map()
            embedded = event.ClientMessage(window=icon, client_type=server.intern_atom("_XEMBED"), data=(32, [X.CurrentTime, 0, 0, tray.id, 0]))
            icon.send_event(embedded)
            server.flush()
            docked.append(icon.id)
            print("docked", icon.id, flush=True)
        elif now.type == X.DestroyNotify and now.window.id in docked:
            docked.remove(now.window.id)
            print("undocked", now.window.id, flush=True)


if __name__ == "__main__":
    main()
