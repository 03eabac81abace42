#!/usr/bin/env bash
# The first minute of a user in a Wayland compositor, once with each surface of the picture.
#
#     tests/wayland_smoke_test.sh MOVANE TYPIST_PLUGINS
#
# What the compositor shows is looked at: the picture and the bars beside it. Then a range is marked, saved and
# exported by keys, the exported file is looked at, and the program ends in order: by its key, and by SIGTERM.
# Returns 77 where a program that it needs is missing.
set -euo pipefail

for needed in weston weston-screenshooter ffmpeg; do
    command -v "$needed" >/dev/null || { echo "Skipped: $needed is not installed."; exit 77; }
done
# Of Debian 12, and of 13.
ls /usr/lib/*/qt6/plugins/platforms/libqwayland*.so >/dev/null 2>&1 || { echo "Skipped: qt6-wayland is not installed."; exit 77; }

movane=$1 plugins=$2
folder=$(mktemp -d)
pids=()
trap '{ kill -9 "${pids[@]}"; wait; } 2>/dev/null || true; rm -rf "$folder"' EXIT
mkdir -p "$folder"/{home,state,recordings,runtime,shots}
chmod 700 "$folder/runtime"
unset DISPLAY QT_SCALE_FACTOR
export DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent
export HOME=$folder/home XDG_STATE_HOME=$folder/state XDG_RUNTIME_DIR=$folder/runtime
export MOVANE_RECORDINGS_DIR=$folder/recordings MOVANE_RUNTIME_DIR=$folder/temporary
export LC_ALL=C.UTF-8 MOVANE_AUDIO=null LIBGL_ALWAYS_SOFTWARE=1
export QT_QPA_PLATFORM=wayland QT_QPA_GENERIC_PLUGINS=typist QT_PLUGIN_PATH=$plugins
export MOVANE_TEST_KEYS=$folder/keys MOVANE_TEST_TEXTS=$folder/texts

fail() { echo "FAILED: $*"; exit 1; }
# await WHAT COMMAND…: runs it until it succeeds.
await() {
    local what=$1 end=$((SECONDS + 60))
    shift
    until "$@" >/dev/null 2>&1; do
        [ $SECONDS -lt $end ] || fail "$what"
        sleep 0.1
    done
}
# shows X Y RED GREEN BLUE: whether the compositor has about that colour there, as a video's are never exact.
shows() {
    local seen i
    rm -f "$folder"/shots/*
    (cd "$folder/shots" && weston-screenshooter) || return 1
    seen=$(ffmpeg -nostdin -loglevel error -i "$folder"/shots/*.png -vf "crop=1:1:$1:$2" -f rawvideo -pix_fmt rgb24 - |
        od -An -tu1) || return 1
    read -ra seen <<<"$seen"
    for i in 0 1 2; do
        local wanted=("$3" "$4" "$5")
        [ $((seen[i] - wanted[i])) -le 24 ] && [ $((wanted[i] - seen[i])) -le 24 ] || return 1
    done
}
says() { grep -q "$1" "$folder/texts"; }
length() { ffprobe -v error -show_entries format=duration -of csv=p=0 "$1" | grep '^[0-9]'; }

ffmpeg -y -loglevel error -nostdin -f lavfi -i color=0xd07030:size=320x180:rate=25:duration=6 \
    -f lavfi -i sine=duration=6 -c:v libx264 -preset ultrafast -c:a aac "$folder/sea.mp4"
mkfifo "$folder/keys"
exec 3<>"$folder/keys"

# Its options have other names since weston 12.
headless=(--backend=headless-backend.so --use-pixman)
! weston --help | grep -q -- --renderer || headless=(--backend=headless --renderer=pixman)
weston "${headless[@]}" --socket=wayland-test --width=1000 --height=700 --idle-time=0 --no-config --debug \
    >"$folder/weston" 2>&1 3>&- &
pids+=($!)
await "the compositor runs" test -S "$folder/runtime/wayland-test"
export WAYLAND_DISPLAY=wayland-test

for surface in sw gl; do
    rm -f "$folder/texts"
    "$movane" --video=$surface "$folder/sea.mp4" 2>"$folder/stderr" 3>&- &
    program=$!
    pids+=("$program")
    await "the file is open ($surface)" says 'Source: sea\.mp4'
    await "the picture is shown ($surface)" shows 300 270 208 112 48
    await "the bar above it is black ($surface)" shows 300 115 0 0 0
    [ $surface = sw ] || grep -q '_dri\.so\|libgallium' "/proc/$program/maps" || fail "OpenGL is not in use"

    printf '%s\n' Right I Right Right O + E >&3
    file=$folder/recordings/clips/clip_00000_Clip_1.mkv
    await "the clip is exported ($surface)" says "Exported ${file##*/}"
    # Both frames that were marked are in it.
    [ "$(printf '%.1f' "$(length "$file")")" = 2.0 ] || fail "the clip lasts $(length "$file") s, not 2 s ($surface)"

    if [ $surface = sw ]; then kill -TERM "$program"; else echo Ctrl+Q >&3; fi
    code=0
    wait "$program" || code=$?
    [ $code -eq 0 ] || fail "exit code $code at the end ($surface): $(cat "$folder/stderr")"
    [ ! -e "$folder/temporary" ] || fail "left behind: $(find "$folder/temporary")"
    rm "$file"
done
echo "passed"
