#!/usr/bin/env bash
# Shows that check_reliability.sh finds proofs that are not there, promises without one and a stale page, in a
# tree that is made up here.
set -euo pipefail
check=$(realpath "$(dirname "$0")/check_reliability.sh")
proofs=$(realpath "$(dirname "$0")/../script/proofs")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

mkdir -p "$tree"/{tests,docs}
echo 'movane_test(a_test SOURCES a_test.cpp) movane_desktop_test(desktop_b_test SOURCES desktop_b_test.cpp)' \
    >"$tree/tests/all.cmake"
printf '%s\n' 'TEST(Plain, Holds)' '{' '}' 'TEST_F(WithFixture,' '       HoldsIn2Lines)' 'TEST_P(WithTable, Holds)' \
    >"$tree/tests/a_test.cpp"
printf '%s\n' 'class DesktopB : public QObject' '{' 'private Q_SLOTS:' '    void init()' '    void Holds()' '    {' \
    'private:' '    void Helps()' '};' >"$tree/tests/desktop_b_test.cpp"
echo 'TEST(Unbuilt, Holds)' >"$tree/tests/unbuilt_test.cpp"

failures=0
# expect good|bad LINE…: asks the check for a document of these lines, with the page that belongs to it.
expect() {
    local wanted=$1 verdict=good said
    shift
    printf '%s\n' "$@" >"$tree/docs/reliability.md"
    "$proofs" --print "$tree" >"$tree/docs/proofs.md" 2>/dev/null || true
    said=$("$check" "$tree" 2>&1) || verdict=bad
    if [ "$verdict" != "$wanted" ]; then
        echo "'$*' is $wanted, the check says $verdict: $said"
        failures=$((failures + 1))
    fi
}

expect good '- All: `Plain`, `WithFixture`, `WithTable.Holds`, `DesktopB.Holds`' '' '## Limits' '- Not this.'
expect good '- A promise' '  in two lines. `Plain`' '- Another. `tests/a_test.cpp`'
expect bad 'No test is named, `plain.Holds` and `std::string` are none.'
expect bad '- `Plain.Holds`, `Plain.Fails`'
expect bad '- `Missing`'
expect bad '- `WithFixture.Holds`'
expect bad '- `DesktopB.HoldsNot`'
expect bad '- `DesktopB.Helps`'
expect bad '- `DesktopB.init`'
expect bad '- `DesktopA`'
expect bad '- `Unbuilt`'
expect bad '- `Plain`, `script/missing`'
expect bad '- A promise without a proof.' '- One with a proof. `Plain`'
expect bad '- `Plain`' '- A promise without a proof.' '' '## Limits' '- `Plain`'

expect good '- `Plain`' '- `WithFixture`'
[ "$(tail -n 7 "$tree/docs/proofs.md")" = "## Plain

- holds

## WithFixture

- holds in 2 lines" ] || { echo "the page says: $(cat "$tree/docs/proofs.md")"; failures=$((failures + 1)); }
echo 'TEST(Plain, HoldsToo)' >>"$tree/tests/a_test.cpp"
! "$check" "$tree" >/dev/null 2>&1 || { echo "a stale page is not found"; failures=$((failures + 1)); }

[ "$failures" -eq 0 ]
