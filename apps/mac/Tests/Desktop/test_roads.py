"""Roads through the whole program: an attention item from file to "Done", and choices that reach the helper."""
import json

from desktop import Desktop, send, wait_for
from live import LiveDesktop
from peers import NotificationServer, TrayHost
from runner import equal, test, true

QUESTION = {"label": "#44", "title": "Which bank account?", "kind": "question", "line": "The invoice names two accounts.",
            "task_id": "b0-44", "open": "codex://threads/b0-44"}


@test("one attention item: file, pill, notice, menu, Later, Done")
def attention_road():
    with Desktop(bus=True) as desktop:
        host = TrayHost(desktop)
        desktop.write_status()
        process = desktop.companion()
        item = host.item()
        desktop.write_status("all-ready.json", attention=[QUESTION])
        process.line("DRY_RUN notification attention-b0-44: #44 Which bank account? | The invoice names two accounts. -> open:codex://threads/b0-44")
        wait_for("the pill", lambda: item.says()[3] == "#44 Which bank account?")
        row = wait_for("the row", lambda: item.menu.layout().find("Which bank account?"))
        equal([child.label for child in row.children], ["The invoice names two accounts.", "Answer in Codex", "Later", "Done"], "the row's submenu")
        item.menu.event(row.find("Answer in Codex"))
        process.line("DRY_RUN open codex://threads/b0-44")
        item.menu.event(next(child for child in row.children if child.label == "Done"))
        process.line("DRY_RUN settle done")
        process.line("STATE green", 2)
        wait_for("the pill to go", lambda: item.says()[3] == "")
        equal(item.menu.layout().find("Which bank account?"), None, "the row after Done")
        desktop.write_status("all-ready.json", attention=[{**QUESTION, "line": "And which of the two addresses?"}])
        wait_for("another question of the same task", lambda: item.says()[3] == "#44 Which bank account?")
        equal(send(process), 0, "exit status")


@test("the helper runs under the companion, and choices in the menu are seen in the next status")
def choices():
    with LiveDesktop() as desktop:
        process = desktop.live()
        helper = desktop.read("pid")
        wait_for("a menu with the helper's facts", lambda: desktop.item.menu.layout().find("Auto-Delegate"))
        desktop.choose("Auto-Delegate")
        wait_for("auto-delegate off", lambda: desktop.read("autoDelegate") is False)
        desktop.choose("Small model")
        wait_for("small model off", lambda: desktop.read("enabled", "small-model.json") is False)
        desktop.choose("Workers", "Only Codex")
        wait_for("one worker", lambda: desktop.read("workers") == {"mode": "only", "apps": ["codex"]})
        wait_for("the menu to say so", lambda: desktop.item.menu.layout().find("Workers: Only Codex"))
        desktop.choose("Shared tools", "Skills of every app")
        wait_for("skills off", lambda: not desktop.read("view", "share-tools.json")[2]["on"])
        desktop.server.leave()
        desktop.choose("Update all AI apps")
        wait_for("the update's progress in the menu", lambda: desktop.item.menu.layout().find("Updating "))
        wait_for("its end", lambda: not desktop.item.menu.layout().find("Updating "), 60)
        desktop.server = NotificationServer(desktop)
        shown = wait_for("the report, at a server that came late", lambda: list(desktop.server.shown.values()), 60)
        true("Claude Code" in shown[-1]["body"], shown)
        desktop.status.unlink()
        wait_for("the helper to write again", desktop.status.exists)
        equal(desktop.read("pid"), helper, "still the same helper")
        equal(send(process), 0, "exit status")
        wait_for("the helper to end with it", lambda: desktop.read("state") == "stopped")


@test("a helper that crashes, asks for a restart or updates itself is there again; one that ends by its own will is not")
def supervised():
    with LiveDesktop() as desktop:
        process = desktop.live()
        orders = desktop.runner / "orders.json"

        def after(order):
            before = desktop.read("pid")
            orders.write_text(json.dumps({"run": {**order, "times": 1}}))
            wait_for(f"a new helper after {order}", lambda: desktop.read("pid") not in (before, None) and desktop.read("state") == "running", 45)

        after({"exit": 75})
        after({"update": "1.9.0"})
        equal(desktop.read("helperVersion"), "1.9.0", "version after its own update")
        after({"signal": "SIGSEGV"})
        orders.write_text(json.dumps({"run": {"exit": 0, "times": 1}}))
        gone = desktop.read("pid")
        wait_for("the helper to end", lambda: not json.loads(orders.read_text())["run"]["times"])
        desktop.status.unlink()
        wait_for("nobody to start it again", lambda: "not running" in desktop.item.says()[0])
        equal(desktop.read("pid"), None, f"nobody writes a status after {gone}")
        equal(send(process), 0, "exit status")
