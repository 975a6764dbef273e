#!/bin/bash
# orvocap on windows of a real server: records covered, fitted, composed and several windows, watches one until it goes.
# usage, on a display of its own: orvocap_test.sh ORVOCAP PART
set -euo pipefail
orvocap=$1
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

fail() { echo "orvocap_test: $*" >&2; exit 1; }

# eventually COMMAND...: waits until it succeeds.
eventually() {
    for _ in $(seq 150); do ! "$@" >"$work/found" 2>/dev/null || return 0; sleep 0.1; done
    xwininfo -root -tree >&2
    fail "in vain: $*"
}

# open NAME COLOUR GEOMETRY: a window of one colour; its number is then in $number.
open() {
    xlogo -name "$1" -fg "$2" -bg "$2" -geometry "$3" &
    eventually xdotool search --onlyvisible --classname "^$1\$"
    number=$(tail -n 1 "$work/found")
}

record() { "$orvocap" record --force --no-cursor --seconds 0.5 --fps 10 --y4m "$work/video.y4m" "$@" >"$work/log" 2>&1 || fail "$(cat "$work/log")"; }

# expect FILE WxH COLUMN,ROW=LUMA...: size and brightness of a video's first picture.
expect() {
    local file=$work/$1 size=$2 header pixel place luma found
    IFS= read -r header <"$file"
    [[ $header == *" W${size%x*} H${size#*x} "* ]] || fail "$file has another size: $header"
    for pixel in "${@:3}"; do
        place=${pixel%=*} luma=${pixel#*=}
        found=$(od -An -tu1 -N1 -j $((${#header} + 7 + ${place#*,} * ${size%x*} + ${place%,*})) "$file")
        ((found >= luma - 2 && found <= luma + 2)) || fail "$file at $place: $found, expected $luma"
    done
}

# expect_exit CODE COMMAND...
expect_exit() {
    local status=0
    "${@:2}" >"$work/log" 2>&1 || status=$?
    [ "$status" = "$1" ] || fail "exit code $status: ${*:2}: $(cat "$work/log")"
}

black=16 red=82 green=145
open below '#ff0000' 300x200+100+100
below=$number
open above '#00ff00' 100x100+200+150
above=$number above_process=$!
xdotool windowactivate --sync "$above"

part_targets() {
    record --window "$below"
    expect video.y4m 300x200 5,5=$red 150,100=$red 299,199=$red
    record --window "$below" --mode area
    expect video.y4m 300x200 5,5=$red 150,100=$green
    record --window belo --size 200x200 --fit letterbox
    expect video.y4m 200x200 100,5=$black 100,100=$red 100,195=$black
    record --window "$below" --size 200x200 --fit fill --crop 0,0,50,40
    expect video.y4m 200x200 100,5=$red 100,195=$red
    record --screen main --exclude "$above"
    expect video.y4m 1280x800 250,220=$red 1000,700=$black
    record --window "$below" --extra "$above"
    expect "video-window-$below.y4m" 300x200 150,100=$red
    expect "video-window-$above.y4m" 100x100 50,50=$green

    expect_exit 3 "$orvocap" record --window 99 --png "$work"
    expect_exit 3 "$orvocap" watch --window 99
    expect_exit 2 "$orvocap" record --window "$below" --extra "$above" --y4m -
}

part_pipes() {
    # A pipe gets the pixels and nothing else, as many as its reader takes.
    "$orvocap" record --window "$below" --seconds 0.5 --fps 10 --raw - 2>"$work/log" >"$work/raw"
    [ "$(($(stat -c %s "$work/raw") % (300 * 200 * 4)))" = 0 ] || fail "raw bytes: $(stat -c %s "$work/raw")"
    [ "$(od -An -tx1 -j $(((100 * 300 + 150) * 4)) -N4 "$work/raw")" = ' 00 00 ff ff' ] || fail 'a raw pixel'
    for format in --raw --y4m; do
        "$orvocap" record --window "$below" --fps 10 $format - 2>"$work/log" | head -c 250000 >"$work/raw" || fail "$(cat "$work/log")"
        grep -q 'the program that reads has ended' "$work/log" || fail "$format: $(cat "$work/log")"
    done
}

part_series() {
    "$orvocap" record --window "$below" --png "$work/pictures" --json >"$work/summary" 2>"$work/log" &
    recording=$!
    eventually test -s "$work/pictures/frame-000003.png"
    kill -INT "$recording"
    wait "$recording" || fail "interrupted: $(cat "$work/log")"
    python3 - "$work" <<'END' || fail 'the summary of an interrupted recording'
import json, os, sys
*frames, summary = map(json.loads, open(sys.argv[1] + "/summary"))  # the summary is the last line
assert frames, "no frame has a line"
target, = summary["targets"]
files = [os.path.join(sys.argv[1], "pictures", name) for name in os.listdir(sys.argv[1] + "/pictures")]
assert (target["frames"], target["bytes"]) == (len(files), sum(map(os.path.getsize, files))), target
assert (target["width"], target["height"]) == (300, 200), target
END

    # The older series is not mixed with a new one.
    expect_exit 1 "$orvocap" record --window "$below" --seconds 0.2 --png "$work/pictures" </dev/null
    expect_exit 0 "$orvocap" record --window "$below" --seconds 0.2 --png "$work/pictures" --force
    [ "$(find "$work/pictures" -name 'frame-*' | wc -l)" -lt 5 ] || fail 'frames of the older recording'
}

part_gone() {
    # Paused for longer than it may take, and minimised; then closed.
    open gone '#0000ff' 100x100+500+150
    gone_process=$!
    "$orvocap" record --window gone --fps 10 -o "$work/gone.y4m" >"$work/said" 2>&1 &
    recording=$!
    bytes() { stat -c %s "$work/gone.y4m"; }
    grows() { [ "$(bytes)" -gt "$size" ]; }
    eventually test -s "$work/gone.y4m"
    kill -USR1 "$recording"
    sleep 0.5
    size=$(bytes)
    sleep 0.5
    [ "$(bytes)" = "$size" ] || fail 'recorded while paused'
    kill -USR1 "$recording"
    xdotool windowminimize "$number"
    eventually grep -q 'is minimised; the recording goes on' "$work/said"
    size=$(bytes)
    eventually grows
    xdotool windowmap "$number"
    kill "$gone_process"
    expect_exit 1 wait "$recording"
    grep -q 'the window was closed' "$work/said" || fail "a window that was closed: $(cat "$work/said")"
}

part_watch() {
    "$orvocap" watch --window "$above" >"$work/events" 2>"$work/log" &
    watch=$!
    happened() { eventually grep -E "$1" "$work/events"; }
    happened " status +$above +0 normal"
    xdotool windowmove "$above" 400 300
    happened " moved +$above .* at 40[0-9],3"
    happened " status +$above +8 moved"
    xdotool windowminimize "$above"
    happened " status +$above +3 minimized  0x0 at 0,0"
    kill "$above_process"
    happened " status +$above +1 missing"
    happened " error .* 3 no-content"
    kill "$watch"
    expect_exit 1 wait "$watch"
}

"part_$2"
