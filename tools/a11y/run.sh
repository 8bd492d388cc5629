#!/bin/sh
# Runs play_by_atspi.py against the game as a screen reader would meet it: a virtual X display
# with a window manager, a private session bus with the accessibility bus on it, and the game with
# its accessibility bridge on.
#   tools/a11y/run.sh [path/to/brindlemoor] [moves]
#   A11Y_SCRIPT=keyboard_round.py tools/a11y/run.sh [path/to/brindlemoor]
# Needs xvfb, openbox (optional), dbus, at-spi2-core and python3-pyatspi (Debian packages).
set -eu
here=$(cd "$(dirname "$0")" && pwd)
game=$(realpath "${1:-$here/../../build/bin/brindlemoor}")
moves=${2:-4}
display=${A11Y_DISPLAY:-:73}

Xvfb "$display" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null || true' EXIT INT TERM
sleep 1
export DISPLAY="$display"
if command -v openbox >/dev/null; then
    # Keys typed with xdotool go to the focused window, which needs a window manager.
    openbox >/dev/null 2>&1 &
fi

export GAME="$game" MOVES="$moves" SCRIPT="$here/${A11Y_SCRIPT:-play_by_atspi.py}"
dbus-run-session -- sh -c '
    /usr/libexec/at-spi-bus-launcher --launch-immediately &
    bus=$!
    sleep 1
    QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 QT_QPA_PLATFORM=xcb "$GAME" >/tmp/a11y-game.$$.log 2>&1 &
    game=$!
    status=0
    /usr/bin/python3 "$SCRIPT" "$MOVES" || status=$?
    kill $game 2>/dev/null || true
    wait $game 2>/dev/null || true
    kill $bus 2>/dev/null || true
    exit $status
'
