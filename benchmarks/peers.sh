#!/usr/bin/env bash
# peers.sh LINES TEXT FIGURES: how long other programs take to open the text file LINES and to show
# the lines with TEXT in them, for those that are installed. Writes "name<TAB>seconds" lines to
# FIGURES.
#   lnav          its elapsed time, without a screen; the median of five
#   glogg-open    processor time, that of a start without a file taken off; the median of three
#   glogg-search  processor time from the return key until it rests again; the median of three
set -euo pipefail
lines=$1
text=$2
figures=$3
: > "$figures"

home=$(mktemp -d)
started=()
finish() {
    for pid in "${started[@]}"; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$home"
}
trap finish EXIT
# No settings of the user's, nor of the run before.
fresh_home() {
    local folder
    folder=$(mktemp -d -p "$home")
    export HOME=$folder XDG_RUNTIME_DIR=$folder XDG_CONFIG_HOME=$folder
}
fresh_home

middle() { sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'; }

if command -v lnav > /dev/null; then
    for _ in 1 2 3 4 5; do
        begin=$EPOCHREALTIME
        timeout 120 lnav -n -c ":filter-in $text" "$lines" > /dev/null < /dev/null
        awk -v begin="$begin" -v end="$EPOCHREALTIME" 'BEGIN { print end - begin }'
    done | middle | sed 's/^/lnav\t/' >> "$figures"
else
    echo "lnav is not installed (scripts/install-packages.sh peers): measured without it"
fi

if ! command -v glogg > /dev/null || ! command -v Xvfb > /dev/null || ! command -v xdotool > /dev/null; then
    echo "glogg, xvfb or xdotool is not installed (scripts/install-packages.sh peers): measured without glogg"
    exit 0
fi

exec 3< <(exec Xvfb -displayfd 1 -screen 0 1200x900x24 -nolisten tcp 2>/dev/null)
started+=($!)
read -r -t 30 -u 3 number
export DISPLAY=:$number QT_QPA_PLATFORM=xcb
unset WAYLAND_DISPLAY

ticks() { awk '{ print $14 + $15 }' "/proc/$1/stat"; }
# Until the program has taken next to no processor time for a second; prints what it took in all.
rested() {
    local before now quiet=0 rounds=0
    before=$(ticks "$1")
    while [ $quiet -lt 10 ] && [ $rounds -lt 600 ]; do
        sleep 0.1
        now=$(ticks "$1")
        if [ $((now - before)) -le 1 ]; then quiet=$((quiet + 1)); else quiet=0; fi
        before=$now
        rounds=$((rounds + 1))
    done
    echo "$before"
}

per_second=$(getconf CLK_TCK)
for _ in 1 2 3; do
    fresh_home
    glogg > /dev/null 2>&1 &
    program=$!
    started+=("$program")
    empty=$(rested "$program")
    kill "$program" && wait "$program" 2>/dev/null || true

    fresh_home
    glogg "$lines" > /dev/null 2>&1 &
    program=$!
    started+=("$program")
    opened=$(rested "$program")
    window=$(timeout 20 xdotool search --onlyvisible --name glogg | tail -n 1)
    eval "$(xdotool getwindowgeometry --shell "$window")"
    # The line for the search text stands a fifth above the lower end.
    xdotool mousemove $((X + 300)) $((Y + HEIGHT * 597 / 760)) click 1
    xdotool type "$text"
    before=$(rested "$program")
    xdotool key Return
    after=$(rested "$program")
    [ -z "${PEERS_SCREENSHOT:-}" ] || import -window root "$PEERS_SCREENSHOT"
    kill "$program" && wait "$program" 2>/dev/null || true
    echo "$((opened - empty)) $((after - before))" >> "$home/figures"
done
for column in 1 2; do
    name=$([ $column = 1 ] && echo glogg-open || echo glogg-search)
    awk -v c=$column -v per="$per_second" '{ print $c / per }' "$home/figures" | middle |
        sed "s/^/$name\t/" >> "$figures"
done
