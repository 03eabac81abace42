#!/usr/bin/env bash
# Shows that check_includes.sh finds each kind of bad include, in a tree that is made up here.
set -euo pipefail
check=$(realpath "$(dirname "$0")/check_includes.sh")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

mkdir -p "$tree"/src/{base,host,panel,media,cli,desktop/look,desktop/actions}
for file in base/a.h desktop/look/a.h desktop/actions/a.h host/a.h host/b.h panel/a.h media/a.h cli/a.h desktop/a.h; do
    echo '#pragma once' >"$tree/src/$file"
done

failures=0
# expect good|bad FILE INCLUDE: adds a file with that one include, and asks the check.
expect() {
    local wanted=$1 file=$tree/src/$2 include=$3 verdict=good
    printf '// A file.\n\n%s\n' "$include" >"$file"
    local said
    said=$("$check" "$tree") || verdict=bad
    rm "$file"
    if [ "$verdict" != "$wanted" ] || { [ "$wanted" = bad ] && [[ $said != *"src/$2"* ]]; }; then
        echo "$2 with $include is $wanted, the check says $verdict: $said"
        failures=$((failures + 1))
    fi
}

expect good base/x.cpp '#include <sys/stat.h>'
expect good base/x.cpp '#include <fcntl.h>'
expect bad base/x.cpp '#include "host/a.h"'
expect bad base/x.cpp '#include <QString>'

expect good host/x.cpp '#include "host/a.h"'
expect good host/x.cpp '#include <vector>'
expect good host/x.cpp '#include <unistd.h>'
expect good host/x.cpp '#include "base/a.h"'
expect bad host/x.cpp '#include <fcntl.h>'
expect good host/x.cpp 'int i = 0;'
expect bad host/x.cpp '#include "panel/a.h"'
expect bad host/x.cpp '#include "media/a.h"'
expect bad host/x.cpp '#include "cli/a.h"'
expect bad host/x.cpp '#include "desktop/a.h"'
expect bad host/x.h '  #  include   "panel/a.h" // why'
expect bad host/x.cpp '#include"panel/a.h"'
expect bad host/x.cpp '#include "a.h"'
expect bad host/x.cpp '#include "../panel/a.h"'
expect bad host/x.cpp '#include "host/../panel/a.h"'
expect bad host/x.cpp '#include <panel/a.h>'
expect bad host/x.cpp '#include "host/missing.h"'
expect bad host/x.cpp '#include HEADER'
expect bad host/x.cpp '#include <QWidget>'
expect bad host/x.cpp '#include <QtCore/QString>'
expect bad host/x.cpp '#include <qwidget.h>'
expect bad host/x.cpp '#include <mpv/client.h>'
expect bad host/x.cpp '#include <spdlog/spdlog.h>'

expect good panel/x.cpp '#include "panel/a.h"'
expect good panel/x.cpp '#include "host/a.h"'
expect good panel/x.cpp '#include <string_view>'
expect good panel/x.cpp '#include <unistd.h>'
expect bad panel/x.cpp '#include "media/a.h"'
expect bad panel/x.cpp '#include "cli/a.h"'
expect bad panel/x.cpp '#include "desktop/a.h"'
expect bad panel/x.cpp '#include <fcntl.h>'
expect bad panel/x.cpp '#include <sys/stat.h>'
expect bad panel/x.cpp '#include <mpv/client.h>'
expect bad panel/x.cpp '#include <QString>'

expect good media/x.cpp '#include "media/a.h"'
expect good media/x.cpp '#include "base/a.h"'
expect bad media/x.cpp '#include "host/a.h"'
expect good media/x.cpp '#include <mpv/client.h>'
expect bad media/x.cpp '#include "panel/a.h"'
expect bad media/x.cpp '#include "cli/a.h"'
expect bad media/x.cpp '#include "desktop/a.h"'
expect bad media/x.cpp '#include <QImage>'

expect good cli/x.cpp '#include "media/a.h"'
expect good cli/x.cpp '#include "panel/a.h"'
expect good cli/x.cpp '#include <CLI/CLI.hpp>'
expect bad cli/x.cpp '#include "desktop/a.h"'
expect bad cli/x.cpp '#include <QApplication>'

expect bad panel/x.cpp '#include "base/a.h"'
expect bad desktop/x.cpp '#include "cli/a.h"'
expect good desktop/x.cpp '#include "desktop/actions/a.h"'
expect good desktop/actions/x.cpp '#include "desktop/look/a.h"'
expect good desktop/actions/x.cpp '#include "desktop/actions/a.h"'
expect good desktop/actions/x.cpp '#include "media/a.h"'
expect bad desktop/actions/x.cpp '#include "desktop/a.h"'
expect bad desktop/look/x.cpp '#include "desktop/actions/a.h"'
expect good desktop/x.cpp '#include "panel/a.h"'
expect good desktop/x.cpp '#include <QWidget>'
expect good main.cpp '#include "desktop/a.h"'
expect good main.cpp '#include "cli/a.h"'

mkdir "$tree/src/other"
expect bad other/x.cpp '#include <vector>'

rm -r "${tree:?}/src"
mkdir "$tree/src"
if "$check" "$tree" >/dev/null; then
    echo "a tree without sources passes"
    failures=$((failures + 1))
fi

[ "$failures" -eq 0 ]
