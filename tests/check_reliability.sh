#!/usr/bin/env bash
# Checks that each test that docs/reliability.md names as a proof is there, and that the command that a
# section gives, `ctest … -R 'SUITES'`, runs each test that the section names.
#
#     tests/check_reliability.sh [ROOT]
#
# A proof is written `Suite.Rule`; a test of the desktop, `Class.Rule`, is a slot of that name.
set -euo pipefail
root=${1:-$(dirname "$0")/..}
cd "$root"

# By `Suite.Rule`: what ctest calls it. A source that no program is made of has no tests.
declare -A run_as
while read -r test name; do
    run_as[$test]=$name
done < <(
    for file in tests/*.cpp tests/*/*.cpp; do
        [ -f "$file" ] || continue
        stem=$(basename "$file" .cpp)
        grep -qw "$stem\.cpp" tests/*.cmake || continue
        tr '\n' ' ' <"$file" | grep -oE '\bTEST(_F|_P)?\( *\w+, *\w+ *\)' |
            sed -E 's/.*\( *(\w+), *(\w+).*/\1.\2 \1.\2/' || true
        class=$(sed -nE 's/^class (\w+) : public QObject.*/\1/p' "$file" | tail -1)
        [ -z "$class" ] || sed -nE "s/^ *void (\w+)\(\).*/$class.\1 $stem/p" "$file"
    done
)

status=0 count=0 section=
check_section() {
    local command chosen='' test
    command=$(tr '\n' ' ' <<<"$section" | grep -oE '`ctest [^`]+`' || true)
    if [[ $command =~ -R\ +\'([^\']+)\' ]]; then
        chosen=${BASH_REMATCH[1]}
    elif [ -n "$command" ]; then
        echo "docs/reliability.md gives $command, which names no suites in apostrophes"
        status=1
    fi
    for test in $(grep -oE '`[A-Z][A-Za-z0-9]+\.[A-Z][A-Za-z0-9]+`' <<<"$section" | tr -d '`' | sort -u); do
        count=$((count + 1))
        if [ -z "${run_as[$test]-}" ]; then
            echo "docs/reliability.md names $test, which is no test"
            status=1
        elif ! [[ ${run_as[$test]} =~ $chosen ]]; then
            echo "docs/reliability.md names $test, which $command does not run"
            status=1
        fi
    done
    section=
}
while IFS= read -r line; do
    [[ $line != '## '* ]] || check_section
    section+=$line$'\n'
done <docs/reliability.md
check_section

[ "$count" -gt 0 ] || { echo "docs/reliability.md names no test"; exit 1; }
[ "$status" != 0 ] || echo "reliability: $count proofs named, all there and run"
exit "$status"
