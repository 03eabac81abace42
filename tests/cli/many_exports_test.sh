#!/usr/bin/env bash
# Shows that many_exports.sh sees what a program leaves.
#
# The program is a script that copies its source, and a shell command behind that or before it. It waits until
# the check has looked at it once: two different pauses of the check have such a look between them.
set -euo pipefail
check=$(realpath "$(dirname "$0")/many_exports.sh")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

wait_for_a_look='
pause() { until grep -ls "(sleep) . $PPID " /proc/[0-9]*/stat | grep .; do :; done; }
first=$(pause)
until [ "$(pause)" != "$first" ]; do :; done'
failures=0
# expect good|bad COMMAND [COMMAND_BEFORE]
expect() {
    local verdict=good said
    printf '%s\n' '#!/usr/bin/env bash' "${3:-}" "$wait_for_a_look" 'clips=$MOVANE_RECORDINGS_DIR/clips' \
        'mkdir -p "$clips"' 'cp "$2" "$clips/clip_00000_clip_0.mkv"' "$2" >"$folder/program"
    chmod +x "$folder/program"
    said=$("$check" "$folder/program" 1 2>&1 9>&-) || verdict=bad
    if [ "$verdict" != "$1" ]; then
        echo "'${3:-}' and '$2' are $1, the check says $verdict: $said"
        failures=$((failures + 1))
    fi
}

expect good ':'
expect bad 'touch "$clips/stray"'
expect bad 'touch "$clips/.hidden"'
expect bad 'touch "$clips/../beside"'
expect bad 'mkdir "$clips/../.beside"'
expect bad 'mkdir "$XDG_STATE_HOME"'
expect bad 'mkdir "$HOME/.cache"'
expect bad 'touch "$TMPDIR/x"'
expect bad 'mkdir "$MOVANE_RUNTIME_DIR"'
expect bad 'rm "$clips"/*'
expect bad 'mv "$clips"/* "$clips/other.mkv"'
expect bad 'truncate -s 0 "$clips"/*'
expect bad 'ffmpeg -v error -f lavfi -i sine=duration=1 -y "$clips"/*'
expect bad 'echo "a warning" >&2'
expect bad 'exit 1'
expect bad ':' 'for number in {100..150}; do eval "exec $number</dev/null"; done'

ls() { :; }
export -f ls # the check sees nothing of the program
expect bad ':'
unset -f ls

mkfifo "$folder/end"
exec 9<>"$folder/end" # whoever reads it ends with this script at the latest
expect bad "read line <$folder/end >/dev/null 2>&1 &"
expect bad "env -i sh -c 'read line <$folder/end' \"\$HOME\" >/dev/null 2>&1 &"
printf '\n\n' >&9

[ "$failures" -eq 0 ]
