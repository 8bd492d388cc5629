#!/usr/bin/env bash
# Window figures of the game beside a bare Qt window (and a peer program when one is given), all
# measured in one run, interleaved, medians printed. Needs an X display in DISPLAY (e.g. Xvfb) and
# the X-side tools of ../shared/tools built (xspy, xresize, bareqt) in TOOLS.
#   TOOLS=/path/to/tools tools/bench/window_figures.sh BUILD_DIR [PEER_COMMAND]
# Prints: start to first paint (beside the bare window and a bare window of the game's first
# window's size), resident memory 3 s after start, memory after 40 resizes up to
# 3840x2160 and after a resize to 30000x30000 and back, and the time to the first and last drawing
# after a resize to an unseen size and after each small step of a drag (one that shrinks the
# game's table, one that grows every window on every step).
# For a scaled screen, set QT_SCALE_FACTOR (and the peer's own setting, such as GDK_SCALE for a GTK
# program) in the environment: every program measured inherits it.
# An X server like Xvfb resets when its last client leaves: it frees its screen's memory and forks
# to compile its keymap again, and the next program then pays for fresh server memory in
# proportion to its window's area. A desktop's X server never resets (its window manager stays
# connected), so a connection is held open for the whole run; RESETS=1 lets the server reset
# between programs instead.
set -euo pipefail
build=${1:?build folder}
peer=${2:-}
tools=${TOOLS:?folder with xspy, xresize and bareqt}
rounds=${ROUNDS:-5}
phases=${PHASES:-start memory resize}  # any of them, to measure a part
game=$build/bin/brindlemoor
table="$build/tools/bench/bm_bench_startup --table"
bare=$tools/bareqt

if [[ ${RESETS:-0} != 1 ]]; then
    xdotool sleep 1000000 &  # xdotool connects first, then sleeps
    holder=$!
    trap 'kill $holder 2> /dev/null || true' EXIT
    sleep 0.5
fi

median() { sort -n | awk '{a[NR]=$1} END {if (NR) print a[int((NR+1)/2)]; else print "-"}'; }
rss_kb() { awk '/VmRSS/ {print $2}' "/proc/$1/status"; }

# The largest mapped top-level window of a process.
window_of() {
    local best="" area=0 w
    for w in $(xdotool search --all --onlyvisible --pid "$1" 2>/dev/null); do
        eval "$(xdotool getwindowgeometry --shell "$w")"
        if ((WIDTH * HEIGHT > area)); then area=$((WIDTH * HEIGHT)); best=$w; fi
    done
    echo "$best"
}

# The size of the game's first window, for a bare window of the same size ("same"): on a large
# screen the game's windows grow with it, and the X server's work for a first frame with them.
"$game" > /dev/null 2>&1 &
probe=$!
sleep 2
eval "$(xdotool getwindowgeometry --shell "$(window_of $probe)")"
kill $probe 2>/dev/null || true
wait $probe 2>/dev/null || true
first_size=${WIDTH}x${HEIGHT}

# xspy stops each program at its first paint seen by the X server.
declare -A paint rss
names=(game bare same)
# (The size is in device pixels, so that window is not scaled.)
cmds=("$game" "$bare" "env -u QT_SCALE_FACTOR $build/tools/bench/bm_bare_window $first_size")
if [[ -n $peer ]]; then names+=(peer); cmds+=("$peer"); fi
echo "first window $first_size; same = a bare window of that size"

for ((r = 0; r < rounds; ++r)); do
    [[ $phases == *start* ]] || break
    for i in "${!names[@]}"; do
        n=${names[$i]}
        # shellcheck disable=SC2086
        ms=$(XSPY_STOP_AT_PAINT=1 "$tools/xspy" 10 100 ${cmds[$i]} 2>/dev/null |
            sed -n 's/.*paint_ms=\([0-9.]*\).*/\1/p' | head -1)
        paint[$n]+="$ms "
        # shellcheck disable=SC2086
        ${cmds[$i]} > /dev/null 2>&1 &
        pid=$!
        sleep 3
        rss[$n]+="$(rss_kb $pid) "
        kill $pid 2>/dev/null || true
        wait $pid 2>/dev/null || true
    done
done
[[ $phases == *start* ]] && for n in "${names[@]}"; do
    echo "$n start_to_first_paint_ms=$(tr ' ' '\n' <<< "${paint[$n]}" | grep . | median)" \
        "rss_3s_kb=$(tr ' ' '\n' <<< "${rss[$n]}" | grep . | median)"
done

# Memory through resizes: the table (once the game has started) and the bare window.
resize_memory() {
    local name=$1 settle=$2
    shift 2
    "$@" > /dev/null 2>&1 &
    local pid=$!
    sleep "$settle"
    local w
    w=$(window_of $pid)
    eval "$(xdotool getwindowgeometry --shell "$w")"
    local w0=$WIDTH h0=$HEIGHT before after big
    before=$(rss_kb $pid)
    for ((k = 0; k < 40; ++k)); do
        xdotool windowsize "$w" $((800 + k * 76)) $((560 + k * 40))
        sleep 0.15
    done
    xdotool windowsize "$w" $w0 $h0
    sleep 2
    after=$(rss_kb $pid)
    xdotool windowsize "$w" 30000 30000
    sleep 2
    xdotool windowsize "$w" $w0 $h0
    sleep 2
    big=$(rss_kb $pid)
    echo "$name rss_kb before=$before after_40_resizes=$after after_30000=$big"
    kill $pid 2>/dev/null || true
    wait $pid 2>/dev/null || true
}
if [[ $phases == *memory* ]]; then
    # shellcheck disable=SC2086
    resize_memory game 9 $table
    resize_memory bare 2 "$bare"
    # shellcheck disable=SC2086
    [[ -n $peer ]] && resize_memory peer 4 $peer
fi

# Resizes timed from the X server's side: unseen sizes, then the small steps of a drag.
# (The X server may still be busy with the 30000x30000 window of a moment ago.)
for ((k = 0; k < 30; ++k)); do
    geometry=$(xdotool getdisplaygeometry 2> /dev/null) && break
    sleep 1
done
read -r sw sh <<< "$geometry"
unseen="$((sw * 70 / 100))x$((sh * 70 / 100)),$((sw * 90 / 100))x$((sh * 95 / 100)),$((sw * 55 / 100))x$((sh * 60 / 100)),$((sw * 80 / 100))x$((sh * 85 / 100))"
# Eight small steps of a drag from W% x H% of the screen, growing by 12 x 8 pixels a step.
drag_steps() {
    local k sizes=""
    for ((k = 0; k < 8; ++k)); do
        sizes+="$((sw * $1 / 100 + k * 12))x$((sh * $2 / 100 + k * 8)),"
    done
    echo "${sizes%,}"
}
drag=$(drag_steps 60 60)
# A drag that grows every window on every step (each starts smaller than the first size).
grow=$(drag_steps 70 82)
resize_times() {
    local name=$1 settle=$2 sizes=$3 out
    shift 3
    out=$("$tools/xresize" "$settle" 1 "$sizes" "$@" 2> /dev/null)
    echo "$name first_ms=$(grep -o 'first_ms=[0-9.]*' <<< "$out" | cut -d= -f2 | median)" \
        "settled_ms=$(grep -o 'settled_ms=[0-9.]*' <<< "$out" | cut -d= -f2 | median)"
}
[[ $phases == *resize* ]] || exit 0
for what in unseen drag grow; do
    sizes=${!what}
    for ((r = 0; r < 3; ++r)); do
        # shellcheck disable=SC2086
        resize_times "game $what" 9 "$sizes" $table
        resize_times "bare $what" 2 "$sizes" "$bare"
        # shellcheck disable=SC2086
        [[ -n $peer ]] && resize_times "peer $what" 4 "$sizes" $peer
    done
done
