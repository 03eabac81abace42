#!/usr/bin/env bash
# Shows that check_format.sh finds a line out of form, in a tree that is made up here.
set -euo pipefail
command -v clang-format-14 >/dev/null || { echo "Skipped: clang-format-14 is not installed."; exit 77; }
here=$(realpath "$(dirname "$0")")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

mkdir -p "$tree"/{src/host,tests,fuzz,bench}
cp "$here/../.clang-format" "$tree"
failures=0
# expect good|bad FILE TEXT
expect() {
    local verdict=good
    echo "$3" >"$tree/$2"
    "$here/check_format.sh" "$tree" >/dev/null 2>&1 || verdict=bad
    rm "$tree/$2"
    if [ "$verdict" != "$1" ]; then
        echo "'$3' in $2 is $1, the check says $verdict"
        failures=$((failures + 1))
    fi
}

for place in src/host/a.h src/host/a.cpp tests/a_test.cpp fuzz/a.cpp bench/a.cpp; do
    expect good "$place" "int Number = 1;"
    expect bad "$place" "int  Number=1;"
done
if "$here/check_format.sh" "$tree" >/dev/null 2>&1; then
    echo "an empty tree passes"
    failures=$((failures + 1))
fi
[ "$failures" -eq 0 ]
