#!/usr/bin/env bash
# Checks that what the documents name is there.
#
#     tests/check_documents.sh [ROOT]
#
# In README, ARCHITECTURE, CONTRIBUTING and CHANGES: each file name in backticks, in a code block or in
# a link exists (a path from the root, or a name that some file in the tree has), each command script/X
# can be executed. ARCHITECTURE names every pair of sources in src/, as `name`, `name.h`, `name.cpp` or
# `name.{h,cpp}`, with or without its folder.
#
# Not taken for files of the tree: placeholders in capitals (`NAME.h`), patterns without a match to ask
# for (`*.h`), absolute and home paths, URLs, and in a code block what `movane` is called with, which are
# the reader's own files.
set -euo pipefail
root=${1:-$(dirname "$0")/..}
cd "$root"
set -f # words with a star stay words

documents=(README.md ARCHITECTURE.md CONTRIBUTING.md CHANGES.md)
status=0
fault() {
    echo "$*"
    status=1
}

# The words in code and the targets of links, one a line with its line number in front.
code_words() {
    awk '
        function say(text,   n, i, words) {
            gsub(/["'\''()<>|=]/, " ", text)
            n = split(text, words, /[ \t]+/)
            for (i = 1; i <= n; ++i) {
                sub(/^\.\//, "", words[i])
                sub(/[,;:.!?]+$/, "", words[i])
                if (words[i] != "") print NR ":" words[i]
            }
        }
        /^ *(```|~~~)/ { fenced = !fenced; next }
        fenced {
            line = $0
            # The call of the program: only the program itself, and a comment behind it, are of the tree.
            if (line ~ /^ *([$] )?([^ ]*\/)?movane( |$)/) { sub(/^ *([$] )?/, "", line); sub(/ .*/, "", line) }
            say(line)
            next
        }
        {
            n = split($0, parts, /`/)
            for (i = 2; i <= n; i += 2) {
                text = parts[i]
                if (text ~ /^([^ ]*\/)?movane /) sub(/ .*/, "", text)
                say(text)
            }
            line = $0
            while (match(line, /\]\([^)]+\)/)) {
                target = substr(line, RSTART + 2, RLENGTH - 3)
                sub(/#.*/, "", target)
                print NR ":link:" target
                line = substr(line, RSTART + RLENGTH)
            }
        }' "$1"
}

# a{b,c}d as two words.
each_of_braces() {
    if [[ $1 =~ ^([^{]*)\{([^}]*)\}(.*)$ ]]; then
        local before=${BASH_REMATCH[1]} inner=${BASH_REMATCH[2]} after=${BASH_REMATCH[3]} part
        local IFS=,
        for part in $inner; do
            each_of_braces "$before$part$after"
        done
    else
        echo "$1"
    fi
}

mapfile -t tree < <(find . \( -name .git -o -path ./build \) -prune -o -print | sed 's|^\./||')
declare -A is_name=() is_path=()
for path in "${tree[@]}"; do
    is_path[$path]=1
    # Each tail of the path, so that host/log.h is found as well as log.h.
    while [[ $path == */* ]]; do
        path=${path#*/}
        is_name[$path]=1
    done
done

exists() {
    local path=${1%/}
    [[ -n ${is_path[$path]:-} ]] && return 0
    [[ $path =~ ^(src|tests|script|docs)/ ]] && { [[ $path == *\** ]] && matches "$path"; return; }
    [[ -n ${is_name[$path]:-} ]] || { [[ $path == *\** ]] && matches "*/$path"; }
}

matches() {
    local path
    for path in "${tree[@]}"; do
        # shellcheck disable=SC2053 # a pattern is meant
        [[ $path == $1 ]] && return 0
    done
    return 1
}

is_file_name() {
    case $1 in
    *://* | /* | '~'* | '$'*) return 1 ;;
    '*.'*) return 1 ;;
    esac
    # A placeholder: the name before the ending is in capitals.
    [[ ${1##*/} =~ ^[A-Z_]+(_test)?\.(h|cpp|sh|txt|cmake|csv)$ ]] && return 1
    [[ $1 =~ (^|/)[A-Z]+(/|$) ]] && return 1
    [[ ${1##*/} =~ ^[A-Z]+_test\.cpp$ ]] && return 1
    [[ $1 =~ ^(src|tests|script|docs)/ || $1 =~ \.(h|cpp|md|sh|txt|cmake|csv)$ ]]
}

word_count=0
declare -A is_named=()
for document in "${documents[@]}"; do
    if [ ! -f "$document" ]; then
        fault "$document is missing"
        continue
    fi
    while IFS=: read -r line word; do
        if [[ $word == link:* ]]; then
            target=${word#link:}
            case $target in
            '' | *://* | mailto:*) ;;
            *) [ -e "$target" ] || fault "$document:$line: links to $target, which does not exist" ;;
            esac
            continue
        fi
        while IFS= read -r one; do
            [ "$document" != ARCHITECTURE.md ] || is_named[${one%/}]=1
            is_file_name "$one" || continue
            word_count=$((word_count + 1))
            exists "$one" || fault "$document:$line: $one does not exist"
            if [[ $one =~ ^script/[^/]+$ && -f $one && ! -x $one ]]; then
                fault "$document:$line: $one can't be executed"
            fi
        done < <(each_of_braces "$word")
    done < <(code_words "$document")
done

if [ -f ARCHITECTURE.md ]; then
    while IFS= read -r stem; do
        inner=${stem#src/}
        found=
        for name in "$stem" "$inner" "${inner##*/}"; do
            for ending in '' .h .cpp; do
                [ -z "${is_named[$name$ending]:-}" ] || found=1
            done
        done
        [ -n "$found" ] || fault "ARCHITECTURE.md: $stem is not named"
    done < <(printf '%s\n' "${tree[@]}" | sed -nE 's|^(src/.*)\.(h\|cpp)$|\1|p' | sort -u)
fi

[ "$status" -ne 0 ] || echo "documents: $word_count names"
exit "$status"
