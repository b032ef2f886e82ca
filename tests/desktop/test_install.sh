#!/usr/bin/env bash
# cmake --install into a fresh prefix gives a desktop program that the
# desktop's own tools accept: the desktop entry and the metainfo validate, the
# manual pages format without warnings, the entry's icon is installed, both
# programs tell their version, and with the prefix's share in XDG_DATA_DIRS
# the MIME database that the install updated knows archives, maps and
# replays, by name and by content, while Scheme source named .scm stays
# Scheme; the map thumbnailer names the map types and writes a map's preview.
#
# Usage: test_install.sh CMAKE BUILD_DIR VERSION   (exit 77: a tool is missing)
set -euo pipefail
cmake=$1 build=$2 version=$3
for tool in desktop-file-validate appstreamcli groff xdg-mime mimetype update-mime-database; do
  command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
prefix=$work/prefix share=$work/prefix/share id=io.github.arcavera.Arcavera
"$cmake" --install "$build" --prefix "$prefix" >/dev/null

desktop-file-validate "$share/applications/$id.desktop"
appstreamcli validate --no-net "$share/metainfo/$id.metainfo.xml" >"$work/appstream" || { cat "$work/appstream"; exit 1; }
for page in arcavera arcavera-cli; do
  warnings=$(groff -man -ww -z "$share/man/man1/$page.1" 2>&1)
  [ -z "$warnings" ] || { echo "$page.1: $warnings"; exit 1; }
done
icon=$(sed -n 's/^Icon=//p' "$share/applications/$id.desktop")
ls "$share/icons/hicolor/scalable/apps/$icon.svg" "$share/icons/hicolor/48x48/apps/$icon.png" >/dev/null
[ "$("$prefix/bin/arcavera" --version)" = "arcavera $version" ]
[ "$("$prefix/bin/arcavera-cli" --version)" = "arcavera-cli $version" ]

# The installed window, started with an empty home, keeps its settings in the
# user's configuration folder and writes nothing beside itself. Its first start
# waits on the language question, so it is stopped after a while.
mkdir -p "$HOME"
(cd "$HOME" && QT_QPA_PLATFORM=offscreen timeout 5 "$prefix/bin/arcavera" >/dev/null 2>&1) || true
[ -s "$XDG_CONFIG_HOME/arcavera/Arcavera.ini" ] || { echo "no settings in $XDG_CONFIG_HOME/arcavera" >&2; exit 1; }
[ "$(ls "$prefix/bin")" = "$(printf 'arcavera\narcavera-cli')" ] || { ls "$prefix/bin" >&2; exit 1; }

# Without a desktop session xdg-mime asks File::MimeInfo's mimetype, which
# reads the prefix's database as any desktop does.
unset XDG_CURRENT_DESKTOP DESKTOP_SESSION KDE_FULL_SESSION GNOME_DESKTOP_SESSION_ID
export XDG_DATA_DIRS=$share:${XDG_DATA_DIRS:-/usr/local/share:/usr/share}
"$prefix/bin/arcavera-cli" create "$work/plain.mpq" >/dev/null
for name in map.scx map.scm game.SC2Replay map.SC2Map map.s2ma; do cp "$work/plain.mpq" "$work/$name"; done
{ printf 'HM3W'; head -c 508 /dev/zero; cat "$work/plain.mpq"; } >"$work/map.w3x"
# A replay: the user data header, then user data that opens with its signature;
# the archive 1024 bytes in.
{ printf 'MPQ\x1b\0\4\0\0\0\4\0\0\x40\0\0\0\5\x08\0\2\x2cStarCraft II replay\x1b11'; head -c 981 /dev/zero
  cat "$work/plain.mpq"; } >"$work/replay"
printf '(define (square x) (* x x))\n' >"$work/source.scm"
status=0
expect() {  # FILE TYPE...: the desktop gives FILE one of the TYPEs
  local got
  got=$(xdg-mime query filetype "$work/$1")
  for want in "${@:2}"; do [ "$got" = "$want" ] && return; done
  echo "$1 is $got, not one of:" "${@:2}" >&2
  status=1
}
expect plain.mpq application/x-mpq
expect map.w3x application/x-warcraft3-map
expect map.scx application/x-starcraft-map
expect game.SC2Replay application/x-starcraft2-replay
expect replay application/x-starcraft2-replay
expect map.SC2Map application/x-starcraft2-map
expect map.s2ma application/x-starcraft2-map
expect source.scm text/x-scheme
# A map named .scm, whose glob Scheme's outweighs, is told by its magic; the
# mimetype of File::MimeInfo asks no magic below 80 once a glob names a type,
# so GNOME's reading is the one asked.
if command -v gio >/dev/null; then XDG_CURRENT_DESKTOP=GNOME expect map.scm application/x-starcraft-map; fi

# The thumbnailer names the map types and, run as a file manager runs it,
# writes the sample map's preview as a picture no larger than asked.
thumbnailer=$share/thumbnailers/$id.thumbnailer
maps=$(sed -n 's/^MimeType=//p' "$thumbnailer")
[ "$maps" = "application/x-warcraft3-map;application/x-starcraft-map;application/x-starcraft2-map;" ] || { echo "thumbnailer types: $maps" >&2; status=1; }
exec_line=$(sed -n 's/^Exec=//p' "$thumbnailer")
exec_line=${exec_line//%i/$build/sample/sample.w3x}
exec_line=${exec_line//%o/$work/thumb.png}
${exec_line//%s/48}
# Debian's Python, which has python3-pil, whatever python3 comes first on the PATH.
/usr/bin/python3 - "$work/thumb.png" <<'PY' || status=1
import sys
from PIL import Image
picture = Image.open(sys.argv[1]).convert("RGBA")
colours = picture.getcolors(1 << 16) or []
assert max(picture.size) <= 48 and len(colours) > 1, (picture.size, len(colours))
PY
exit $status
