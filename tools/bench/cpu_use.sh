#!/usr/bin/env bash
# CPU use of the running game: during the opening "Get ready..." screen (a 5.184 s wait) and
# while the table then sits idle for 10 s. Needs a display (e.g. Xvfb) in DISPLAY.
#   tools/bench/cpu_use.sh path/to/brindlemoor
set -euo pipefail
game=${1:-build/bin/brindlemoor}
hz=$(getconf CLK_TCK)
ticks() { awk '{print $14 + $15}' "/proc/$1/stat"; }
"$game" > /dev/null 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null || true' EXIT
sleep 0.6
a=$(ticks $pid); sleep 4.4; b=$(ticks $pid)
echo "message screen: $((b - a)) ticks of CPU in 4.4 s ($(awk "BEGIN{printf \"%.2f\", 100*($b-$a)/$hz/4.4}") %)"
sleep 1.5
a=$(ticks $pid); sleep 10; b=$(ticks $pid)
echo "idle table: $((b - a)) ticks of CPU in 10 s ($(awk "BEGIN{printf \"%.2f\", 100*($b-$a)/$hz/10}") %)"
