#!/usr/bin/env bash
# Times a click on a folder of the Explorer style until its list is
# painted, offscreen, on archives of COUNT files in FOLDERS folders: by
# default 100,000 in 1,000 (target 50 ms) and 1,000,000 in 500 (target
# 300 ms). Prints the median and the slowest of up to 50 clicks.
set -euo pipefail
cd "$(dirname "$0")/.."
cases=${CASES:-"100000:1000:50 1000000:500:300"}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '%-10s %-8s %-7s %12s %12s %10s\n' files folders clicks "median ms" "slowest ms" "target ms"
for c in $cases; do
  IFS=: read -r count folders target <<< "$c"
  "$build_dir/bench/arcavera-bench-make" "$work/tree.mpq" "$count" "$folders"
  read -r clicks median slowest rows < <("$build_dir/bench/arcavera-bench-window" "$work/tree.mpq" --explorer 2>/dev/null)
  printf '%-10s %-8s %-7s %12s %12s %10s   (%s rows in the last folder)\n' "$count" "$folders" "$clicks" "$median" "$slowest" "$target" "$rows"
  rm -f "$work/tree.mpq"
done
