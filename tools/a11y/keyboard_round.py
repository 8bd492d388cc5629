#!/usr/bin/python3
"""Plays a whole round with the keyboard alone, deciding as a screen reader user would: from what
the accessibility bus says about the cards. Keys go to the game window through xdotool.

Before every move it asks for a hint (H) and times the answer (from the key to the highlight
showing); then Tab and an arrow key put the mark on the first card that plays and Enter plays it,
or T turns the next pile card. When nothing plays and the pile is empty, Tab moves to
"Take Score" and Enter presses it; the script then reads the best possible score.
"""
import os
import statistics
import subprocess
import sys
import time

import pyatspi
from gi.repository import Atspi

import play_by_atspi as bus


def key(name):
    subprocess.run(["xdotool", "key", "--clearmodifiers", name], check=True)


def shot(name):
    """A screenshot into $A11Y_SHOTS, when set."""
    folder = os.environ.get("A11Y_SHOTS")
    if folder:
        path = os.path.join(folder, name + ".png")
        subprocess.run(["import", "-window", "root", path], check=False)
        say(f"  screenshot {path}")


def say(text):
    bus.say(text)


def items(app):
    """The table's cards and the open card, as the reader lists them."""
    found = []
    for obj in bus.descendants(app):
        try:
            if obj.getRole() != pyatspi.ROLE_PUSH_BUTTON:
                continue
            if obj.name.startswith("Open card:") or obj.name == "Face-down card" or \
                    obj.name.endswith(("Clubs", "Diamonds", "Hearts", "Spades")):
                found.append(obj)
        except Exception:
            continue
    return found


def open_card(app):
    return bus.find(app, pyatspi.ROLE_PUSH_BUTTON, prefix="Open card:")


def pile_left(opened):
    """The number of pile cards the open card's name says are left."""
    words = opened.name.rsplit(",", 1)[-1].split() if opened else []
    return int(words[0]) if words and words[0].isdigit() else -1


def focused(objs):
    for obj in objs:
        if obj.getState().contains(pyatspi.STATE_FOCUSED):
            return obj
    return None


def hint_shown(app):
    hint = None
    for obj in bus.descendants(app):
        try:
            if obj.getRole() == pyatspi.ROLE_IMAGE and obj.name == "Hint":
                hint = obj
                break
        except Exception:
            continue
    return hint is not None and hint.getState().contains(pyatspi.STATE_SHOWING)


def main():
    # A screen reader listens for events; with any listener on the bus, Qt hands every key to the
    # reader first and delivers it to the game afterwards, and each key must still act once.
    pyatspi.Registry.registerEventListener(bus.on_event, "focus:")
    app = bus.wait_for(bus.application, "the game on the accessibility bus")
    app.set_cache_mask(Atspi.Cache.NONE)
    start = bus.wait_for(lambda: bus.find(app, pyatspi.ROLE_PUSH_BUTTON, name="Start Game"),
                         '"Start Game"')
    bus.say("Menu open; Enter on the focused \"Start Game\"")
    key("Return")
    bus.wait_for(lambda: bus.label_text(app, "Score"), "table")
    time.sleep(6)  # "Get ready..." closes by itself after 5.2 s
    hint_times = []
    moves = 0
    clock_out = False
    while moves < 200:
        cards = items(app)
        opened = next((c for c in cards if c.name.startswith("Open card:")), None)
        playable = [c for c in cards if c.description == "Playable"]
        pile_empty = opened is None or opened.name.endswith(" 0 cards left")
        if not playable and pile_empty:
            break
        if not hint_shown(app):
            began = time.monotonic()
            key("h")
            try:
                bus.wait_for(lambda: hint_shown(app), "hint", 3)
                hint_times.append((time.monotonic() - began) * 1000)
                if len(hint_times) == 1:
                    shot("a11y-hint")
            except SystemExit:
                pass
        before = bus.label_text(app, "Score")
        if playable:
            key("Tab")
            key("Right")
            mark = focused(items(app))
            name = mark.name if mark else "?"
            key("Return")
            bus.say(f"Tab, Right marks {name!r}; Enter plays it")
        else:
            left = pile_left(opened)
            # The table takes no keys for a moment after some moves (a castle's bonus): a T
            # that turned nothing is pressed again.
            for attempt in range(3):
                key("t")
                try:
                    bus.wait_for(
                        lambda: (lambda o: o if o and pile_left(o) != left else None)(
                            open_card(app)), "turned pile card", 3)
                    break
                except SystemExit:
                    if attempt == 2:
                        raise
            bus.pump(0.3)  # a second card turned by the same key would show by now
            turned = open_card(app)
            if pile_left(turned) > left:
                bus.say("The round's clock ran out meanwhile: a new deal is on the table")
                clock_out = True
                break
            if pile_left(turned) != left - 1:
                raise SystemExit(f"FAILED: one T took the pile from {left} to "
                                 f"{pile_left(turned)} cards")
            bus.say(f"Nothing plays: T turns a pile card ({turned.name})")
        moves += 1
        time.sleep(0.25)
        if playable:
            bus.say(f"  Score {before!r} -> {bus.label_text(app, 'Score')!r}, "
                    f"Run {bus.label_text(app, 'Run')!r}")
    # The clock may also have run out just as the last card went: the high/low card is up.
    clock_out = clock_out or any(
        "High/Low" in (w.name or "") and w.getState().contains(pyatspi.STATE_SHOWING)
        for w in app)
    if clock_out:
        bus.say("The round ended on its clock")
        return read_best(app, hint_times)
    bus.say(f"Round over after {moves} key moves; Tab to \"Take Score\", Enter")
    marked = focused([o for o in items(app) if o.getState().contains(pyatspi.STATE_SHOWING)])
    bus.announced()  # what came before is not this key's
    key("Tab")
    time.sleep(0.3)
    # Tab from the card mark to the button moves the reader's focus there, with an event.
    said = bus.announced()
    if marked and not any(line.endswith("'Take Score'") for line in said):
        still = focused([o for o in items(app) if o.getState().contains(pyatspi.STATE_SHOWING)])
        raise SystemExit(f"FAILED: no focus event for \"Take Score\" after Tab from the mark "
                         f"on {marked.name!r}; heard {said}; marked now: "
                         f"{still.name if still else None!r}")
    shot("a11y-take-score-focus")
    take = focused([o for o in bus.descendants(app) if o.getRole() == pyatspi.ROLE_PUSH_BUTTON])
    bus.say(f"  focus on {take.name if take else '?'!r}")
    key("Return")
    return read_best(app, hint_times)


def read_best(app, hint_times):
    best = bus.wait_for(lambda: bus.label_text(app, "Best possible score"),
                        "best possible score", 30)
    caption = bus.label_text(app, "Best possible caption")
    bus.say(f"After the round: Score {bus.label_text(app, 'Score')!r}; {caption} {best}")
    time.sleep(0.5)
    shot("a11y-best-possible")
    if hint_times:
        bus.say(f"Hint answer times (ms, key to highlight, {len(hint_times)} hints): median "
                f"{statistics.median(hint_times):.0f}, min {min(hint_times):.0f}, "
                f"max {max(hint_times):.0f}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
