#!/usr/bin/env bash
# Shows that check_hardening.sh sees each thing that is missing, in a program that is built without it.
#
#     tests/check_hardening_test.sh COMPILER
set -euo pipefail
check=$(realpath "$(dirname "$0")/check_hardening.sh")
compiler=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cat >"$folder/program.cpp" <<'SOURCE'
#include <cstdio>
#include <cstring>
int main(int argc, char** argv)
{
    char text[16];
    std::strcpy(text, argv[argc - 1]);
    return std::puts(text) < 0 ? 1 : 0;
}
SOURCE

all=(-O2 -fPIE -pie -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
    -Wl,-z,relro,-z,now,-z,noexecstack)
failures=0
# expect FAULT OPTION…: a program that is built with these options, too, has that fault alone.
expect() {
    local said
    "$compiler" "${all[@]}" "${@:2}" "$folder/program.cpp" -o "$folder/program"
    said=$("$check" "$folder/program" || true)
    if [ "$said" != "$1" ]; then
        echo "with ${*:2} it says: $said"
        failures=$((failures + 1))
    fi
}

expect "hardening: all of it"
expect "$folder/program always lies at the same address
$folder/program always lies at the same address: it is a library" -no-pie -fno-pie
expect "$folder/program always lies at the same address: it is a library" -shared -fPIC
expect "$folder/program has a table of addresses that can be written" -Wl,-z,norelro
expect "$folder/program fills its table of addresses as it goes" -Wl,-z,lazy
expect "$folder/program does not watch its stack" -fno-stack-protector
expect "$folder/program does not check the sizes of its buffers" -U_FORTIFY_SOURCE
expect "$folder/program has a stack that can be run as code" -Wl,-z,execstack
[ "$failures" -eq 0 ]
