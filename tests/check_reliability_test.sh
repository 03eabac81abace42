#!/usr/bin/env bash
# Shows that check_reliability.sh finds proofs that are not there or are not run, in a tree that is made up here.
set -euo pipefail
check=$(realpath "$(dirname "$0")/check_reliability.sh")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

mkdir -p "$tree"/{tests,docs}
echo 'movane_test(a_test SOURCES a_test.cpp) movane_desktop_test(desktop_b_test SOURCES desktop_b_test.cpp)' \
    >"$tree/tests/all.cmake"
printf '%s\n' 'TEST(Plain, Holds)' '{' '}' 'TEST_F(WithFixture,' '       HoldsIn2Lines)' 'TEST_P(WithTable, Holds)' \
    >"$tree/tests/a_test.cpp"
printf '%s\n' 'class DesktopB : public QObject' '{' '    void Holds()' '    {' >"$tree/tests/desktop_b_test.cpp"
echo 'TEST(Unbuilt, Holds)' >"$tree/tests/unbuilt_test.cpp"

failures=0
# expect good|bad LINE…: asks the check for a document of these lines.
expect() {
    local wanted=$1 verdict=good said
    shift
    printf '%s\n' "$@" >"$tree/docs/reliability.md"
    said=$("$check" "$tree") || verdict=bad
    if [ "$verdict" != "$wanted" ]; then
        echo "'$*' is $wanted, the check says $verdict: $said"
        failures=$((failures + 1))
    fi
}

expect good '| a row | `Plain.Holds`, `WithFixture.HoldsIn2Lines`, `WithTable.Holds`, `DesktopB.Holds` |'
expect bad 'No test is named, `plain.Holds` and `std::string` are none.'
expect bad '`Plain.Holds`, `Plain.Fails`'
expect bad '`Missing.Holds`'
expect bad '`WithFixture.Holds`'
expect bad '`DesktopB.HoldsNot`'
expect bad '`DesktopA.Holds`'
expect bad '`Unbuilt.Holds`'

command="Run \`ctest --preset dev -R 'Plain|desktop_b'\`:"
expect good '## One' "$command" '`Plain.Holds`, `DesktopB.Holds`'
expect good '## One' "Run \`ctest -R" "'Plain|desktop_b'\`:" '`Plain.Holds`'
expect bad '## One' "$command" '`Plain.Holds`, `WithTable.Holds`'
expect bad '## One' "Run \`ctest -R 'DesktopB'\`:" '`DesktopB.Holds`'
expect bad '## One' 'Run `ctest -R Plain`:' '`Plain.Holds`'
expect good '`WithTable.Holds`' '## One' "$command" '### Two' '`Plain.Holds`' '## Three' '`WithTable.Holds`'
expect bad '## One' "$command" '### Two' '`WithTable.Holds`'

[ "$failures" -eq 0 ]
