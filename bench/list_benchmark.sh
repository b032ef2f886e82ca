#!/usr/bin/env bash
# Times `arcavera-cli list`, and the window from its start to a filled,
# painted list (offscreen), on archives of each of COUNTS files (default
# "100000 1000000") with an internal list, against a plain loop over
# StormLib's own enumeration of the same archive, the floor. Prints the time
# and peak memory of each, and the ratios. Targets: list within 1.5 times the
# loop in time and memory; the window within 2 times the loop in time and,
# at 100,000 files, within the loop's memory and 200 bytes a row (printed
# as it is and net of what each costs on an archive of ten files). Each is run
# RUNS times (default 3), in turns: the best time, the highest peak.
set -euo pipefail
cd "$(dirname "$0")/.."
counts=${COUNTS:-"100000 1000000"}
runs=${RUNS:-3}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
command -v /usr/bin/time >/dev/null || { echo "needs GNU time (Debian package time)" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ini="$work/bench.ini"   # no external lists, detection on: the defaults
: > "$ini"
source bench/best_time.sh

# What each costs before it holds a file: the loop and the window on an
# archive of ten files. The window's fixed cost (Qt's widgets, fonts, the
# offscreen platform) is far above the loop's whole run at 100,000 files, so
# its bytes a row are also given net of both start-up costs.
tiny="$work/tiny.mpq"
"$build_dir/bench/arcavera-bench-make" "$tiny" 10
loop0_kb=$(runs=1 best_with_memory "$build_dir/bench/arcavera-bench-plain" "$tiny" | cut -d' ' -f2)
win0_kb=$(runs=1 best_with_memory "$build_dir/bench/arcavera-bench-window" "$tiny" | cut -d' ' -f2)

printf '%-10s %-22s %10s %10s %10s %10s\n' files what seconds MB "x time" "x memory"
for count in $counts; do
  archive="$work/big-$count.mpq"
  "$build_dir/bench/arcavera-bench-make" "$archive" "$count"
  # The three take turns, run by run.
  loop_s="" loop_kb=0 list_s="" list_kb=0 win_s="" win_kb=0
  for _ in $(seq "$runs"); do
    keep_best loop $(runs=1 best_with_memory "$build_dir/bench/arcavera-bench-plain" "$archive")
    keep_best list $(runs=1 best_with_memory "$build_dir/arcavera-cli" --ini "$ini" list "$archive")
    keep_best win $(runs=1 best_with_memory "$build_dir/bench/arcavera-bench-window" "$archive")
  done
  rows=$("$build_dir/arcavera-cli" --ini "$ini" list "$archive" | wc -l)
  row() { awk -v c="$count" -v w="$1" -v s="$2" -v k="$3" -v ls="$loop_s" -v lk="$loop_kb" \
    'BEGIN { printf "%-10s %-22s %10.3f %10.1f %10.2f %10.2f\n", c, w, s, k / 1024, s / ls, k / lk }'; }
  row "StormLib loop (floor)" "$loop_s" "$loop_kb"
  row "arcavera-cli list" "$list_s" "$list_kb"
  row "window, list painted" "$win_s" "$win_kb"
  awk -v r="$rows" -v w="$win_kb" -v l="$loop_kb" -v w0="$win0_kb" -v l0="$loop0_kb" 'BEGIN {
    printf "%-10s %-22s %10.0f bytes a row above the loop (%s rows)\n", "", "window memory", (w - l) * 1024 / r, r
    printf "%-10s %-22s %10.0f bytes a row above the loop, net of start-up (window %.1f MB, loop %.1f MB)\n", "", "", ((w - w0) - (l - l0)) * 1024 / r, w0 / 1024, l0 / 1024 }'
  rm -f "$archive"
done
