#!/usr/bin/env bash
# Exports many clips in one run of the program and looks at what is left: many_exports.sh PROGRAM COUNT
#
# Every file must be one with pictures; while it runs the program's descriptors and threads must not become
# more, and after it no process and no file but the clips may be there.
set -euo pipefail
program=$(realpath -- "$1") count=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export HOME=$folder XDG_STATE_HOME=$folder/state MOVANE_RECORDINGS_DIR=$folder/recordings
export MOVANE_RUNTIME_DIR=$folder/runtime TMPDIR=$folder/temporary
unset MOVANE_FFMPEG_BIN
mkdir "$TMPDIR"
fail() { echo "$*" >&2; exit 1; }

ffmpeg -y -loglevel error -nostdin -f lavfi -i testsrc2=size=160x90:rate=25:duration=4 \
    -f lavfi -i sine=duration=4 -c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:a aac "$folder/source.mp4"
for ((i = 0; i < count; ++i)); do
    in=$((i % 30)) out=$((i % 30 + 3)) # tenths of a second
    echo "$((in / 10)).$((in % 10)),$((out / 10)).$((out % 10)),clip $i"
done >"$folder/clips.csv"

"$program" export "$folder/source.mp4" --clips "$folder/clips.csv" >"$folder/output" 2>"$folder/errors" &
pid=$!
most_descriptors=0 most_threads=0
while kill -0 $pid 2>/dev/null; do
    descriptors=$(ls "/proc/$pid/fd" 2>/dev/null | wc -l) || true
    threads=$(ls "/proc/$pid/task" 2>/dev/null | wc -l) || true
    [ "$descriptors" -le "$most_descriptors" ] || most_descriptors=$descriptors
    [ "$threads" -le "$most_threads" ] || most_threads=$threads
    sleep 0.05
done
wait $pid || fail "the program ended with $?: $(head -3 "$folder/errors")"
[ ! -s "$folder/errors" ] || fail "standard error: $(head -3 "$folder/errors")"
[ "$most_descriptors" -gt 0 ] && [ "$most_threads" -gt 0 ] || fail "the program was not seen while it ran"
[ "$most_descriptors" -le 40 ] || fail "$most_descriptors descriptors were open at once"
[ "$most_threads" -le 20 ] || fail "$most_threads threads ran at once"

# Home, state and temporary folders are in it, too.
expected=$(
    printf '%s\n' source.mp4 clips.csv output errors temporary recordings recordings/clips
    for ((i = 0; i < count; ++i)); do echo "recordings/clips/clip_00000_clip_$i.mkv"; done
)
difference=$(diff <(sort <<<"$expected") <(find "$folder" -mindepth 1 -printf '%P\n' | sort)) ||
    fail "files that are missing (<) or left behind (>): $difference"
for file in "$folder"/recordings/clips/*; do
    pictures=$(ffprobe -v error -count_packets -select_streams v:0 -show_entries stream=nb_read_packets \
        -of csv=p=0 "$file") || fail "ffprobe can't read $file"
    [[ $pictures =~ ^[1-9][0-9]*$ ]] || fail "$file has no pictures"
done
# Whoever works with this folder was started by the program.
left=$(env -i grep -lsF -f - /proc/[0-9]*/{cmdline,environ} <<<"$folder" || true)
[ -z "$left" ] || fail "processes are left: $left"
echo "$count files of $count; at most $most_descriptors descriptors and $most_threads threads"
