#!/usr/bin/python3
"""Plays the game as a screen reader user would, over the AT-SPI accessibility bus.

Finds the running game by its application name, presses "Start Game" on the start menu through
its Press action, waits for the table, then finds a card whose description says it plays, presses
it and reads the score label; it plays a few cards this way, turning a pile card when none plays.
Prints every step. Run it through run.sh, which starts the display, the buses and the game.
"""
import sys
import time

import pyatspi
from gi.repository import Atspi, GLib

APP_NAME = "Brindlemoor"
MOVES = int(sys.argv[1]) if len(sys.argv) > 1 else 4


heard = []


def on_event(event):
    try:
        name = event.source.name
    except Exception:
        name = "?"
    detail = event.any_data if isinstance(event.any_data, str) else ""
    heard.append(f"{event.type.split(':', 1)[1]} {name!r}" + (f" {detail!r}" if detail else ""))


def announced():
    """What the game announced since the last call, in order."""
    pump(0.1)
    said = list(dict.fromkeys(heard))
    heard.clear()
    return said


def say(text):
    print(text, flush=True)


def wait_for(find, what, seconds=30.0):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        try:
            found = find()
        except Exception:  # the tree changes under us while windows open and close
            found = None
        if found:
            return found
        pump(0.2)
    raise SystemExit(f"FAILED: no {what} within {seconds:.0f} s")


def pump(seconds):
    """Lets the bus deliver what the game announced meanwhile."""
    context = GLib.MainContext.default()
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        while context.iteration(False):
            pass
        time.sleep(0.02)


def application():
    desktop = pyatspi.Registry.getDesktop(0)
    for app in desktop:
        if app is not None and app.name == APP_NAME:
            return app
    return None


def descendants(node):
    """Every object below node, fetched afresh (names and states change as the game plays)."""
    result = []
    stack = [node]
    while stack:
        current = stack.pop()
        try:
            count = current.childCount
        except Exception:
            continue
        for i in range(count):
            try:
                child = current.getChildAtIndex(i)
            except Exception:
                continue
            if child is not None:
                result.append(child)
                stack.append(child)
    return result


def showing(obj):
    states = obj.getState()
    return states.contains(pyatspi.STATE_SHOWING) or states.contains(pyatspi.STATE_VISIBLE)


def find(app, role, name=None, description=None, prefix=None):
    for obj in descendants(app):
        try:
            if obj.getRole() != role or not showing(obj):
                continue
            if name is not None and obj.name != name:
                continue
            if prefix is not None and not obj.name.startswith(prefix):
                continue
            if description is not None and obj.description != description:
                continue
            return obj
        except Exception:
            continue
    return None


def press(obj):
    action = obj.queryAction()
    for i in range(action.nActions):
        if action.getName(i).lower() == "press":
            try:
                action.doAction(i)
            except Exception as e:  # the call may time out while the game acts on it
                say(f"  (press answered late: {e.__class__.__name__})")
            return
    raise SystemExit(f"FAILED: {obj.name} has no Press action")


def label_text(app, name):
    label = find(app, pyatspi.ROLE_LABEL, name=name)
    if label is None:
        return None
    try:
        text = label.queryText()
        return text.getText(0, text.characterCount)
    except NotImplementedError:
        return label.description


def main():
    app = wait_for(application, f"application named {APP_NAME} on the accessibility bus")
    # Names and states change as the game plays: read them from the game every time.
    app.set_cache_mask(Atspi.Cache.NONE)
    pyatspi.Registry.registerEventListener(on_event, "object:property-change:accessible-name",
                                           "object:text-changed:insert", "focus:")
    say(f"Found application {app.name!r}")

    start = wait_for(lambda: find(app, pyatspi.ROLE_PUSH_BUTTON, name="Start Game"),
                     '"Start Game" button')
    say(f"Found {start.getRoleName()} {start.name!r} in window {start.parent.name!r}")
    press(start)
    say("Pressed \"Start Game\"")

    score = wait_for(lambda: label_text(app, "Score"), 'table with a "Score" label')
    say(f"Table is open; Score reads {score!r}")
    cards = wait_for(lambda: [o for o in descendants(app)
                              if o.getRole() == pyatspi.ROLE_PUSH_BUTTON
                              and (o.name.endswith(("Clubs", "Diamonds", "Hearts", "Spades"))
                                   or o.name == "Face-down card")],
                     "layout cards")
    say(f"The table lists {len(cards)} layout cards, e.g. {cards[0].name!r}, "
        f"{cards[-1].name!r} ({cards[-1].description})")
    opened = wait_for(lambda: find(app, pyatspi.ROLE_PUSH_BUTTON, prefix="Open card:"),
                      "open card")
    say(f"{opened.name}")

    played = 0
    turned = 0
    while played < MOVES and turned < 30:
        card = find(app, pyatspi.ROLE_PUSH_BUTTON, description="Playable")
        if card is None:
            opened = find(app, pyatspi.ROLE_PUSH_BUTTON, prefix="Open card:")
            if opened is None or opened.name.endswith(" 0 cards left"):
                say("No card plays and the pile is empty")
                break
            before = opened.name
            press(opened)
            turned += 1
            # As for a card, the first press may come while the opening screen still holds the
            # table's input: then the pile stays as it was and the press is made again.
            try:
                after = wait_for(lambda: (lambda o: o.name if o and o.name != before else None)(
                    find(app, pyatspi.ROLE_PUSH_BUTTON, prefix="Open card:")), "turned card", 8)
            except SystemExit:
                say(f"Pressed {before!r} but the pile stayed as it was; trying again")
                continue
            say(f"No card plays: pressed the open card -> {after}; "
                f"Score reads {label_text(app, 'Score')!r}")
            continue
        name = card.name
        before = label_text(app, "Score")
        announced()
        press(card)
        # The game may not take the first press until its opening screen has closed.
        try:
            wait_for(lambda: label_text(app, "Score") != before, f"score change after {name}", 8)
        except SystemExit:
            say(f"Pressed {name!r} but the score stayed {before!r}; trying again")
            continue
        played += 1
        pump(0.3)
        say(f"Pressed {name!r} (Playable): Score {before!r} -> {label_text(app, 'Score')!r}, "
            f"Run {label_text(app, 'Run')!r}")
        for line in announced():
            say(f"  announced: {line}")
    say(f"Done: {played} cards played, {turned} pile cards turned")
    return 0 if played > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
