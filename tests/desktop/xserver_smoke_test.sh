#!/usr/bin/env bash
# The first minute of a user in a real X server, with the OpenGL surface and real events from outside.
#
#     tests/xserver_smoke_test.sh MOVANE XDNDSOURCE AWAITPIXEL
#
# A file is dropped by XDND, a range is marked, saved, named and exported by keys, the exported file is
# looked at, and SIGTERM ends the program in order. Returns 77 where a program that it needs is missing.
set -euo pipefail

if [ "${MOVANE_SMOKE_FOLDER:-}" = "" ]; then
    for needed in xvfb-run xdotool ffmpeg; do
        command -v "$needed" >/dev/null || { echo "Skipped: $needed is not installed."; exit 77; }
    done
    MOVANE_SMOKE_FOLDER=$(mktemp -d)
    export MOVANE_SMOKE_FOLDER
    trap 'rm -rf "$MOVANE_SMOKE_FOLDER"' EXIT
    xvfb-run -a -s "-screen 0 1280x800x24" "$0" "$@"
    exit
fi

movane=$1 xdndsource=$2 awaitpixel=$3
folder=$MOVANE_SMOKE_FOLDER
mkdir -p "$folder"/{home,state,recordings,runtime}
chmod 700 "$folder/runtime"
unset WAYLAND_DISPLAY QT_SCALE_FACTOR
# Where dbus-x11 is installed, the D-Bus library starts a bus for whoever has no address.
export DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent
export HOME=$folder/home XDG_STATE_HOME=$folder/state XDG_RUNTIME_DIR=$folder/runtime
export MOVANE_RECORDINGS_DIR=$folder/recordings MOVANE_RUNTIME_DIR=$folder/runtime/movane
export LC_ALL=C.UTF-8 # window titles are compared, which hold more than ASCII
export QT_QPA_PLATFORM=xcb MOVANE_AUDIO=null LIBGL_ALWAYS_SOFTWARE=1

fail() { echo "FAILED: $*"; exit 1; }
# await WHAT COMMAND…: runs it until it succeeds.
await() {
    local what=$1 end=$((SECONDS + 40))
    shift
    until "$@" >/dev/null 2>&1; do
        [ $SECONDS -lt $end ] || fail "$what"
        sleep 0.1
    done
}
said() { grep -qx "$1" "$folder/dragged"; }
nudge_until_accepted() { xdotool mousemove_relative 1 0 && said accepted; }
length() { ffprobe -v error -show_entries format=duration -of csv=p=0 "$1" | grep '^[0-9]'; }

ffmpeg -y -loglevel error -nostdin -f lavfi -i color=0xd07030:size=320x180:rate=25:duration=6 \
    -f lavfi -i sine=duration=6 -c:v libx264 -preset ultrafast -c:a aac "$folder/A sea.mp4"

"$movane" --video=gl &
program=$!
trap 'kill -9 "$program" 2>/dev/null || true' EXIT
window=$(timeout 40 xdotool search --sync --onlyvisible --name '^Movane$' | head -1) || fail "no window"
xdotool windowmove --sync "$window" 0 0 windowsize "$window" 1000 700 windowfocus --sync "$window"
grep -q '_dri\.so\|libgallium' "/proc/$program/maps" || fail "OpenGL is not in use"

# The drop.
"$xdndsource" 1100 300 "$folder/A sea.mp4" >"$folder/dragged" &
source=$!
trap 'kill -9 "$program" "$source" 2>/dev/null || true' EXIT
timeout 40 xdotool search --sync --onlyvisible --name '^xdndsource$' >/dev/null || fail "no drag source"
xdotool mousemove 1160 360 mousedown 1 mousemove 1150 355 mousemove 700 320 mousemove 300 300
await "the drop is accepted" nudge_until_accepted
xdotool mouseup 1
await "the file is dropped" said dropped # what was dropped is fetched after that
await "the file is open" xdotool search --onlyvisible --name '^A sea\.mp4 – Movane$'
"$awaitpixel" 300 200 d07030 >/dev/null || fail "the picture is not shown"

# The keys.
xdotool windowfocus --sync "$window" key --delay 40 Right i Right Right o plus F2
xdotool type --delay 40 "The sea"
xdotool key --delay 40 Return e
file=$folder/recordings/clips/clip_00000_The_sea.mkv
await "the clip is exported under its name" length "$file"
[ "$(printf '%.1f' "$(length "$file")")" = 2.0 ] || fail "the clip lasts $(length "$file") s, not 2 s"
[ "$(ls "$folder/recordings/clips")" = clip_00000_The_sea.mkv ] || fail "further files: $(ls "$folder/recordings/clips")"

# The end.
kill -TERM "$program"
code=0
wait "$program" || code=$?
[ $code -eq 0 ] || fail "exit code $code after SIGTERM"
left=$(find "$folder/runtime" -mindepth 1)
[ -z "$left" ] || fail "left behind: $left"
echo "passed"
