#!/usr/bin/env bash
# Checks the shape of the source tree that the compiler alone does not catch:
# which layer may include what, and how long a source file may grow.
#
#   engine  src/engine  StormLib, no Qt
#   core    src/core    Qt Core, the engine; no widgets (QImage privately in preview/)
#   forms   src/forms   Qt Widgets, the core
#   window  src/shell   everything above; nobody includes it
#   cli     src/cli     the core; never the engine's header
set -euo pipefail
cd "$(dirname "$0")/.."

status=0
complain() { echo "layers: $*" >&2; status=1; }

# $1: files, $2: pattern of forbidden includes, $3: what is wrong.
forbid() {
  local hits
  hits=$(grep -nE "^[[:space:]]*#[[:space:]]*include[[:space:]]*[<\"]($2)" $1 2>/dev/null || true)
  [ -z "$hits" ] || complain "$3:"$'\n'"$hits"
}

sources() { find "$@" -name '*.cpp' -o -name '*.h' | sort; }

forbid "$(sources src/core src/forms src/shell src/cli)" 'StormLib\.h' "only the engine includes StormLib.h"
forbid "$(sources src/engine)" 'Q[A-Za-z]|qt' "the engine uses no Qt"
forbid "$(sources src/core)" 'QtWidgets|QtGui|Q(Widget|Dialog|Application|Action|Menu|Label|Icon|Pixmap|Painter|Color|Font)\b' \
  "the core uses Qt Core only"
forbid "$(sources src/cli)" 'mpq/' "the command-line tool goes through the core, not the engine"

# Inside the core each folder may include only itself and the folders before
# it: base (text encoding, paths, refusals, reports, folder walks, scratch
# folders), the child process boundary, the listing, the settings, editing,
# the previews, the tools, then the properties and the session.
core_order=(base boundary listing config editing preview tools properties session)
for ((i = 0; i < ${#core_order[@]}; i++)); do
  above=$(IFS='|'; echo "${core_order[*]:i+1}")
  [ -z "$above" ] || forbid "$(sources "src/core/${core_order[i]}")" "($above)/" \
    "src/core/${core_order[i]} includes a part of the core above it"
done
unlisted=$(comm -23 <(ls src/core | grep -v CMakeLists.txt | sort) <(printf '%s\n' "${core_order[@]}" | sort))
[ -z "$unlisted" ] || complain "core folders without a place in the order: $unlisted"
forbid "$(sources src/engine src/core src/forms src/cli)" 'shell/' "only the window includes src/shell"

# StormLib's own structures, laid out as one version lays them, and the
# functions it exports without declaring them are read in one file alone.
storm_internals='TMPQArchive|TMPQFile|TFileEntry|TMPQHash|AllocateSectorBuffer|AllocateSectorOffsets|CalculateRawSectorOffset|SAttrLoadAttributes'
hits=$(grep -nwE "$storm_internals" $(sources src tests bench fuzz tools | grep -vx 'src/engine/mpq/mpq_storm.cpp') || true)
[ -z "$hits" ] || complain "only src/engine/mpq/mpq_storm.cpp reads StormLib's structures:"$'\n'"$hits"

while read -r count file; do
  [ "$count" -le 700 ] || complain "$file has $count non-blank lines (at most 700)"
done < <(for f in $(sources src); do echo "$(grep -cv '^[[:space:]]*$' "$f") $f"; done)

exit $status
