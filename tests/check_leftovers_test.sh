#!/usr/bin/env bash
# Shows that check_leftovers.sh finds what is left, in a tree that is made up here.
set -euo pipefail
check=$(realpath "$(dirname "$0")/check_leftovers.sh")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

mkdir -p "$tree"/{src/host,tests,bench,script,docs,data}
failures=0
# expect good|bad FILE TEXT
expect() {
    local verdict=good
    echo "$3" >"$tree/$2"
    "$check" "$tree" >/dev/null || verdict=bad
    rm "$tree/$2"
    if [ "$verdict" != "$1" ]; then
        echo "'$3' in $2 is $1, the check says $verdict"
        failures=$((failures + 1))
    fi
}

word="TO""DO"
other="FIX""ME"
expect good src/host/a.cpp '// All is done.'
expect good src/host/a.cpp "// The ${word}list."
expect bad src/host/a.cpp "// $word: later"
expect bad src/host/a.h "/* $other */"
expect bad src/host/a.h "// ${word,,} later"
expect bad tests/a_test.cpp "// $word(me)"
expect bad script/a "# $other"
expect bad bench/a.cpp "// $word"
expect bad data/a.desktop "# $word"
expect bad docs/a.md "- $word"
expect bad README.md "$word"

rm -r "${tree:?}"/*
if "$check" "$tree" >/dev/null; then
    echo "an empty tree passes"
    failures=$((failures + 1))
fi
[ "$failures" -eq 0 ]
