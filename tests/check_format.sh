#!/usr/bin/env bash
# Checks that the sources are laid out as .clang-format says.
#
#     tests/check_format.sh [ROOT]
#
# The layout is that of clang-format 14. Where only another version is installed, what that one would change is
# shown, and the check returns 77: skipped.
set -euo pipefail
root=${1:-$(dirname "$0")/..}
cd "$root"
mapfile -t sources < <(find src tests fuzz bench -name '*.h' -o -name '*.cpp')
[ ${#sources[@]} -gt 0 ] || { echo "there are no sources in $PWD"; exit 1; }
if ! command -v clang-format-14 >/dev/null; then
    ! command -v clang-format >/dev/null || clang-format --dry-run "${sources[@]}"
    echo "Skipped: clang-format-14 is not installed."
    exit 77
fi
clang-format-14 --dry-run --Werror "${sources[@]}"
echo "format: ${#sources[@]} files"
