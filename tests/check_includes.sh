#!/usr/bin/env bash
# Checks that includes point one way: desktop -> cli -> app -> export and player -> media -> host, and
# app -> panel -> host.
#
#     tests/check_includes.sh [ROOT]
#
# Says FILE:LINE of each include that its folder may not have. The include root is src/, so an include
# without a folder or with a relative path is a fault, too. Host and panel know no toolkit and no
# player: the host gets the standard library and POSIX, the panel the standard library and unistd.h.
set -euo pipefail
root=${1:-$(dirname "$0")/..}
cd "$root"

standard='<[a-z_0-9]+>'
name='[a-z0-9_]+\.h'

declare -A allowed=(
    [host]="$standard|<(dirent|fcntl|locale|poll|pthread|pwd|signal|spawn|unistd)\.h>|<sys/[a-z]+\.h>|\"host/$name\""
    [panel]="$standard|<unistd\.h>|\"(panel|host)/$name\""
    [process]="<[^Q>][^>]*>|\"(process|host)/$name\""
    [media]="<[^Q>][^>]*>|\"(media|host)/$name\""
    [player]="<[^Q>][^>]*>|\"(player|media|process|host)/$name\""
    [export]="<[^Q>][^>]*>|\"(export|media|host)/$name\""
    [app]="<[^Q>][^>]*>|\"(app|export|player|media|process|panel|host)/$name\""
    [cli]="<[^Q>][^>]*>|\"(cli|app|export|player|media|process|panel|host)/$name\""
    [desktop]="<[^>]+>|\"(desktop|cli|app|export|player|media|process|panel|host)/$name\""
    [.]="<[^>]+>|\"(desktop|cli|app|export|player|media|process|panel|host)/$name\""
)

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
    [[ $folder == */* ]] && folder=${folder%%/*} || folder=.
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
