#!/usr/bin/env bash
# Checks that includes point one way: main.cpp -> cli and desktop -> app -> export and player -> media ->
# base, player and app -> process -> base, app -> panel -> host -> base; and within the desktop's rooms.
#
#     tests/check_includes.sh [ROOT]
#
# Says FILE:LINE of each include that its room may not have. The include root is src/, so an include
# without a folder or with a relative path is a fault, too. Host and panel know no toolkit and no
# player: base gets the standard library and POSIX, the host the standard library, the panel that and unistd.h.
set -euo pipefail
root=${1:-$(dirname "$0")/..}
cd "$root"

standard='<[a-z_0-9]+>'
name='[a-z0-9_]+\.h'

posix='<(dirent|fcntl|locale|poll|pthread|pwd|signal|spawn|unistd)\.h>|<sys/[a-z]+\.h>'
plain='<[^Q>][^>]*>' # whatever is no Qt
below='app|export|player|media|process|panel|host|base' # what both programs share

declare -A allowed=(
    [base]="$standard|$posix|\"base/$name\""
    [host]="$standard|<unistd\.h>|\"(host|base)/$name\""
    [panel]="$standard|<unistd\.h>|\"(panel|host)/$name\""
    [process]="$plain|\"(process|base)/$name\""
    [media]="$plain|\"(media|base)/$name\""
    [player]="$plain|\"(player|media|process|host|base)/$name\""
    [export]="$plain|\"(export|media|base)/$name\""
    [app]="$plain|\"($below)/$name\""
    [cli]="$plain|\"(cli|$below)/$name\""
    [.]="$plain|\"(desktop|cli|$below)/$name\""
)
# The rooms of the desktop: each may use what shared code there is, itself, and these.
declare -A desktop_rooms=(
    [look]=
    [timeline]='look'
    [video]='look'
    [export]='look'
    [notify]='look'
    [session]='timeline|export|look'
    [actions]='session|look'
    [clips]='actions|session|export|look'
)
rooms=$(IFS='|'; echo "${!desktop_rooms[*]}")
allowed[desktop]="<[^>]+>|\"(desktop|desktop/($rooms)|$below)/$name\""
for room in "${!desktop_rooms[@]}"; do
    allowed[desktop/$room]="<[^>]+>|\"(desktop/($room|${desktop_rooms[$room]:-$room})|$below)/$name\""
done

status=0
fault() {
    echo "$*"
    status=1
}

mapfile -t files < <(find src -name '*.h' -o -name '*.cpp' | sort)
[ ${#files[@]} -gt 0 ] || { echo "there are no sources in $PWD/src"; exit 1; }

declare -A folder_of=()
for file in "${files[@]}"; do
    folder=${file#src/}
    [[ $folder == */* ]] && folder=${folder%/*} || folder=.
    folder_of[$file]=$folder
    [ -n "${allowed[$folder]:-}" ] || fault "$file: the folder $folder has no rule in $0"
done

included='^[[:space:]]*("[^"]*"|<[^>]*>|[^[:space:]]*)[[:space:]]*(/[/*].*)?$'
while IFS=: read -r file line text; do
    folder=${folder_of[$file]}
    [ -n "${allowed[$folder]:-}" ] || continue
    # Blanks and a comment behind what is included do not count.
    text=${text#*include}
    [[ $text =~ $included ]] && target=${BASH_REMATCH[1]} || target=$text
    if ! [[ $target =~ ^(${allowed[$folder]})$ ]]; then
        fault "$file:$line: $folder may not include $target"
    elif [[ $target == \"* && ! -f src/${target//\"/} ]]; then
        fault "$file:$line: there is no src/${target//\"/}"
    fi
done < <(grep -nHE '^[[:space:]]*#[[:space:]]*include' "${files[@]}" || true)

[ "$status" -ne 0 ] || echo "includes: ${#files[@]} files"
exit "$status"
