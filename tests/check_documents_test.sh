#!/usr/bin/env bash
# Shows that check_documents.sh finds what is named and not there, in a tree that is made up here.
set -euo pipefail
check=$(realpath "$(dirname "$0")/check_documents.sh")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

mkdir -p "$tree"/{src/host,src/cli,tests,script,docs,build/dev}
touch "$tree"/src/host/{log.h,log.cpp,core.h} "$tree"/src/main.cpp "$tree"/tests/log_test.cpp \
    "$tree"/docs/keys.md "$tree"/CMakeLists.txt "$tree"/build/dev/made.h "$tree"/script/plain
printf '#!/bin/sh\n' >"$tree/script/run"
chmod +x "$tree/script/run"
write_documents() {
    echo 'Says `script/run`.' >"$tree/README.md"
    printf '%s\n' '`log.{h,cpp}` logs.' '`src/host/core.h` is the core, `main.cpp` the start.' >"$tree/ARCHITECTURE.md"
    echo '' >"$tree/CONTRIBUTING.md"
    echo '' >"$tree/CHANGES.md"
}

failures=0
# expect good|bad WHAT: asks the check for the tree as it is, then writes the documents anew.
expect() {
    local verdict=good said
    said=$("$check" "$tree") || verdict=bad
    write_documents
    if [ "$verdict" != "$1" ]; then
        echo "$2 is $1, the check says $verdict: $said"
        failures=$((failures + 1))
    fi
}

write_documents
expect good "the tree as it was made"
for document in README ARCHITECTURE CONTRIBUTING CHANGES; do
    rm "$tree/$document.md"
    expect bad "a tree without $document.md"
done

there=(log.h host/log.h src/host/log.h src/host/log.cpp src/host/ src/host tests/log_test.cpp
    CMakeLists.txt ARCHITECTURE.md docs/keys.md 'src/host/log.{h,cpp}' 'src/host/*.h' './script/run'
    'NAME.h' 'tests/NAME_test.cpp' 'FILE.csv' '/etc/other.txt' '~/other.txt' '$HOME/other.txt'
    'https://example.org/other.md' 'std::string' '-Wall')
missing=(missing.h missing.cpp missing.md missing.sh missing.txt missing.cmake missing.csv
    host/missing.h cli/log.h src/log.h src/missing src/missing/ tests/missing_test.cpp script/missing
    docs/missing.png 'src/host/log.{h,txt}' 'src/host/core.{h,cpp}' 'src/cli/*.h' made.h)

{
    printf 'See `%s`, please.\n' "${there[@]}"
    printf '```sh\n'
    printf 'script/run %s # so\n' "${there[@]}"
    printf '%s\n' 'movane export --clips missing.csv' 'build/release/src/movane missing.md' '```'
    printf '%s\n' 'Without code: missing.h and script/missing.' 'See `movane export --clips missing.csv`.' \
        '[keys](docs/keys.md#all) and [home](https://example.org/x.md)'
} >"$tree/CONTRIBUTING.md"
expect good "a document that names what is there"

# Every line of this document is at fault, but for the fences of code blocks.
{
    printf 'See `%s`.\n' "${missing[@]}"
    printf 'See `log.h` and `script/run %s`, please.\n' "${missing[@]}"
    printf '```sh\n'
    printf 'script/run %s # so\n' "${missing[@]}"
    printf '```\n'
    printf '%s\n' 'See `script/plain`.' '[keys](docs/missing.md)' '![picture](docs/missing.png)'
} >"$tree/README.md"
said=$("$check" "$tree" || true)
line=0
while IFS= read -r text; do
    line=$((line + 1))
    [[ $text == '```'* ]] || [[ $said == *"README.md:$line: "* ]] || {
        echo "the check passes the line: $text"
        failures=$((failures + 1))
    }
done <"$tree/README.md"
expect bad "a document that names what is not there"

touch "$tree/src/cli/unnamed.cpp"
expect bad "a source that ARCHITECTURE.md does not name"
echo 'An unnamed.cpp without backticks.' >>"$tree/ARCHITECTURE.md"
expect bad "a source that ARCHITECTURE.md names as plain words"
echo 'See `unnamed`.' >>"$tree/ARCHITECTURE.md"
expect good "a source that ARCHITECTURE.md names without its ending"
echo 'See `cli/unnamed.cpp`.' >>"$tree/ARCHITECTURE.md"
expect good "a source that ARCHITECTURE.md names with its folder"

[ "$failures" -eq 0 ]
