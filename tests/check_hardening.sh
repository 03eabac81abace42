#!/usr/bin/env bash
# Checks that a program of a release has what compiler and linker can do against its faults being used.
#
#     tests/check_hardening.sh PROGRAM
set -euo pipefail
program=$1
status=0
# expect FAULT COMMAND…: tells the fault when the command fails.
expect() {
    "${@:2}" >/dev/null || { echo "$program $1"; status=1; }
}
# has TEXT REGEX
has() { grep -qE "$2" <<<"$1"; }
lacks() { ! has "$@"; }

header=$(readelf --wide --file-header "$program")
segments=$(readelf --wide --program-headers "$program")
dynamic=$(readelf --wide --dynamic "$program")
symbols=$(readelf --wide --dyn-syms "$program")

expect "always lies at the same address" has "$header" '^ *Type: +DYN '
expect "always lies at the same address: it is a library" has "$dynamic" '\(FLAGS_1\).*\bPIE\b'
expect "has a table of addresses that can be written" has "$segments" '^ *GNU_RELRO '
expect "fills its table of addresses as it goes" has "$dynamic" 'BIND_NOW|\(FLAGS_1\).*\bNOW\b'
expect "does not watch its stack" has "$symbols" ' __stack_chk_fail\b'
expect "does not check the sizes of its buffers" has "$symbols" ' __[a-z]+_chk\b'
expect "does not say whether its stack is code" has "$segments" '^ *GNU_STACK '
expect "has a stack that can be run as code" lacks "$segments" '^ *GNU_STACK .* RWE '
[ "$status" -ne 0 ] || echo "hardening: all of it"
exit "$status"
