#!/usr/bin/env bash
# Checks that the sources are laid out as .clang-format says.
#
#     tests/check_format.sh [ROOT]
set -euo pipefail
root=${1:-$(dirname "$0")/..}
cd "$root"
mapfile -t sources < <(find src tests fuzz bench -name '*.h' -o -name '*.cpp')
[ ${#sources[@]} -gt 0 ] || { echo "there are no sources in $PWD"; exit 1; }
clang-format-14 --dry-run --Werror "${sources[@]}"
echo "format: ${#sources[@]} files"
