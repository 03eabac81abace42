#!/usr/bin/env bash
# Checks that each test that docs/reliability.md names as a proof is there.
#
#     tests/check_reliability.sh [ROOT]
#
# A proof is written `Suite.Rule`; a test of the desktop, `Class.Rule`, is a slot of that name.
set -euo pipefail
root=${1:-$(dirname "$0")/..}
cd "$root"
named=$(grep -oE '`[A-Z][A-Za-z0-9]+\.[A-Z][A-Za-z0-9]+`' docs/reliability.md | tr -d '`' | sort -u)
[ -n "$named" ] || { echo "docs/reliability.md names no test"; exit 1; }
status=0
for test in $named; do
    suite=${test%.*} rule=${test#*.}
    if ! cat tests/*.cpp | tr -d '\n' | grep -qE "TEST(_F|_P)?\($suite, *$rule\)" &&
        ! { grep -lE "class $suite\b" tests/*.cpp | xargs -r grep -qE "void $rule\(\)"; }; then
        echo "docs/reliability.md names $test, which is no test"
        status=1
    fi
done
[ "$status" != 0 ] || echo "reliability: $(wc -w <<<"$named") tests named, all there"
exit "$status"
