#!/usr/bin/env bash
# Builds LogDesk, starts a log service on this machine with some traffic in it, and opens the window.
# Without a display the window opens on a virtual one and a screenshot of it is written instead.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/build-environment.sh

with_display=yes
[ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] || with_display=no

scripts/install-packages.sh build
[ "$with_display" = yes ] || scripts/install-packages.sh virtual-display

echo "== Build"
build_preset release logdesk zulogsvc zulog
bin=build/release/bin

# Settings and the service's files go to the user's data folder unless ARZDATA says otherwise.
export ARZDATA=${ARZDATA:-${XDG_DATA_HOME:-$HOME/.local/share}/LogDesk}
mkdir -p "$ARZDATA/Applications" "$ARZDATA/log"

started=()
finish() {
    for pid in "${started[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    for pid in "${started[@]}"; do
        wait "$pid" 2>/dev/null || true
    done
}
trap finish EXIT

# "zulog send" is acknowledged: it tells whether a service answers on this machine.
service_answers() { "$bin/zulog" send --module run.sh --level info "$1" 2>/dev/null; }

if service_answers "LogDesk is being started"; then
    echo "== A log service runs on this machine already"
else
    echo "== Starting the log service"
    "$bin/zulogsvc" &
    started+=($!)
    for _ in $(seq 100); do
        service_answers "The log service was started" && break
        if ! kill -0 "${started[0]}" 2>/dev/null; then
            echo "run.sh: the log service did not start" >&2
            exit 1
        fi
        sleep 0.1
    done
fi
"$bin/zulog" demo --rate 50 2>/dev/null &
started+=($!)

if [ "$with_display" = yes ]; then
    echo '== LogDesk: press "Start logging"'
    "$bin/logdesk"
    exit 0
fi

echo "== No display: LogDesk on a virtual one"
screenshot=${LOGDESK_SCREENSHOT:-$PWD/build/logdesk.png}
exec 3< <(exec Xvfb -displayfd 1 -screen 0 1600x900x24 -nolisten tcp 2>/dev/null)
started+=($!)
read -r -t 30 -u 3 number || { echo "run.sh: no virtual display to be had" >&2; exit 1; }
export DISPLAY=:$number
unset WAYLAND_DISPLAY
QT_QPA_PLATFORM=xcb "$bin/logdesk" &
started+=($!)

window=$(timeout 60 xdotool search --sync --onlyvisible --name '^Arvenza LogDesk$' | head -n 1)
xdotool windowfocus --sync "$window"
# The menu opens with its first entry chosen, "Start logging".
xdotool key --clearmodifiers alt+l
sleep 0.5
xdotool key Return
sleep 5
import -window root "$screenshot"
echo "== Screenshot of the live table: $screenshot"
