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

# openbox loses windows that appear between its first sign of life and its readiness, which it reports by running a command.
is_ready() {
    if [ "$1" = openbox ]; then
        [ -e "$work/ready" ]
    else
        xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'
    fi
}

name=${ORVO_WINDOW_MANAGER-openbox}
if [ -n "$name" ]; then
    arguments=()
    [ "$name" != openbox ] || arguments=(--startup "touch '$work/ready'")
    "$name" "${arguments[@]}" >"$work/manager.log" 2>&1 &
    manager=$!
    for _ in $(seq 100); do
        ! is_ready "$name" || break
        sleep 0.05
    done
fi

status=0
"$@" || status=$?
exit "$status"
