#!/usr/bin/env bash
# Checks that each promise of docs/reliability.md has a proof, that each proof is there, and that docs/proofs.md is
# what script/proofs makes of the tests.
#
#     tests/check_reliability.sh [ROOT]
set -euo pipefail
proofs=$(realpath "$(dirname "$0")/../script/proofs")
cd "${1:-$(dirname "$0")/..}"

page=$("$proofs" --print .)
diff docs/proofs.md - <<<"$page" || { echo "docs/proofs.md is out of date: script/proofs writes it"; exit 1; }
echo "reliability: $(grep -c '^- ' docs/proofs.md) rules, all there"
