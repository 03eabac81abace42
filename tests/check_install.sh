#!/usr/bin/env bash
# Checks that an installed tree holds what a desktop and a reader of manuals look for.
#
#     tests/check_install.sh PREFIX VERSION
#
# Program, desktop entry, icons of their sizes, AppStream metainfo and man page, each found by its own
# checker. What the man page and the help say of options is the same.
set -euo pipefail
prefix=$1 version=$2
docdir=$prefix/share/doc/movane
status=0
fault() {
    echo "$*"
    status=1
}

program=$prefix/bin/movane
[ "$("$program" --version)" = "movane $version" ] || fault "bin/movane does not say version $version"
[ "$("$prefix/libexec/movane/movane-encoder" -version | head -c 7)" = "ffmpeg " ] || fault "libexec/movane/movane-encoder does not stand for ffmpeg"

entry=$prefix/share/applications/movane.desktop
desktop-file-validate "$entry" || fault "$entry is not valid"
for line in 'Exec=movane %F' 'Icon=movane' 'StartupWMClass=movane' 'Categories=AudioVideo;Video;AudioVideoEditing;'; do
    grep -qxF "$line" "$entry" || fault "$entry: no line $line"
done
grep -q '^MimeType=.*video/mp4;.*video/x-matroska;' "$entry" || fault "$entry: no MIME types"

metainfo=$prefix/share/metainfo/movane.metainfo.xml
appstreamcli validate --no-net "$metainfo" || fault "$metainfo is not valid"
grep -qF "<release version=\"$version\"" "$metainfo" || fault "$metainfo: no release $version"

icons=$prefix/share/icons/hicolor
grep -q '<svg ' "$icons/scalable/apps/movane.svg" || fault "there is no scalable icon"
for size in 16 24 32 48 64 128 256 512; do
    # Width and height stand behind the signature and the head of the first chunk of a PNG, big end first.
    found=$(od -An -tu1 -j16 -N8 "$icons/${size}x$size/apps/movane.png" | awk '{ print $3 * 256 + $4 "x" $7 * 256 + $8 }')
    [ "$found" = "${size}x$size" ] || fault "the icon of $size pixels has $found"
done

page=$prefix/share/man/man1/movane.1.gz
warnings=$(zcat "$page" | groff -man -ww -Tutf8 2>&1 >/dev/null)
[ -z "$warnings" ] || fault "$page: $warnings"
text=$(zcat "$page" | groff -man -Tutf8 -rLL=200n -P-cbou)
options() { grep -oE -- '(^|[ ,|[])--?[a-z][a-z-]*' | grep -oE -- '--?[a-z][a-z-]*' | sort -u; }
# Of the help only the lists of options: its prose holds examples.
listed=$({ "$program" --help && "$program" export --help; } | grep -E '^  -' | sed 's/   .*//' | options)
described=$(sed -n '/^OPTIONS/,/^EXIT STATUS/p' <<<"$text" | grep -E '^ +-' | options)
[ "$listed" = "$described" ] || fault "the man page has other options than the help:" "$(diff <(echo "$listed") <(echo "$described") || true)"
grep -qF "movane $version" <<<"$text" || fault "$page: no version $version"

grep -q '^Copyright: 2026 the Movane authors$' "$docdir/copyright" || fault "$docdir/copyright does not name the authors"
zcat "$docdir/changelog.gz" | head -1 | grep -qF "movane ($version)" || fault "$docdir/changelog.gz: no version $version"

[ "$status" -ne 0 ] || echo "install: all there"
exit "$status"
