#!/bin/bash
# Runs a command on a private Xvfb with openbox: with-xvfb.sh COMMAND...; its exit code is the command's.
# ORVO_SCREEN sets the screen (1280x800x24), ORVO_WINDOW_MANAGER another manager or nothing.
set -euo pipefail
work=$(mktemp -d)
server=
manager=
finish() {
    [ -z "$manager" ] || kill "$manager" 2>/dev/null || true
    [ -z "$server" ] || kill "$server" 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM

mkfifo "$work/display"
Xvfb -displayfd 3 -screen 0 "${ORVO_SCREEN:-1280x800x24}" -nolisten tcp -noreset \
    3>"$work/display" >"$work/server.log" 2>&1 &
server=$!
# A server that does not start closes the pipe, and the read ends without a number.
if ! read -r -t 20 number <"$work/display"; then
    echo "with-xvfb: Xvfb did not start:" >&2
    cat "$work/server.log" >&2
    exit 1
fi
export DISPLAY=":$number"

if [ -n "${ORVO_WINDOW_MANAGER-openbox}" ]; then
    "${ORVO_WINDOW_MANAGER-openbox}" >"$work/manager.log" 2>&1 &
    manager=$!
    for _ in $(seq 100); do
        ! xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' || break
        sleep 0.05
    done
fi

status=0
"$@" || status=$?
exit "$status"
