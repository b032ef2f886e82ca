#!/usr/bin/env bash
# The cost of recovering names. Times `arcavera-cli list` with the recovery
# of names (the default) against the same listing with --no-scan, on:
#   - a map of COUNT files (default 10000) without its internal list, whose
#     script and import list mention three quarters of them;
#   - the same without any mention, so that nothing is found;
#   - an archive of BIG named files (default 100000), where nothing is
#     nameless and the recovery must cost nothing.
# Prints both times, the ratio, and what stays nameless. Targets: a ratio of
# 2 or less for the maps, about 1 for the named archive. Each listing is run
# RUNS times (default 3) and the best time counts.
set -euo pipefail
cd "$(dirname "$0")/.."
count=${COUNT:-10000}
big=${BIG:-100000}
runs=${RUNS:-3}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ini="$work/bench.ini"   # no external lists, detection and recovery on: the defaults
: > "$ini"
cli="$build_dir/arcavera-cli"

source bench/best_time.sh

compare() {  # label archive target
  local floor ours nameless_floor nameless_ours
  floor=$(best "$cli" --ini "$ini" --no-scan list "$2")
  nameless_floor=$("$cli" --ini "$ini" --no-scan list "$2" | grep -c '^~unknowns' || true)
  ours=$(best "$cli" --ini "$ini" list "$2")
  nameless_ours=$("$cli" --ini "$ini" list "$2" | grep -c '^~unknowns' || true)
  printf '%s\n' "$1"
  printf '  without recovery (floor): %.3f s, %s nameless\n' "$floor" "$nameless_floor"
  printf '  with recovery (ours):     %.3f s, %s nameless\n' "$ours" "$nameless_ours"
  printf '  ratio:                    %s (target: %s)\n' \
    "$(awk -v a="$ours" -v b="$floor" 'BEGIN { printf "%.2f", a / b }')" "$3"
}

"$build_dir/bench/arcavera-bench-nameless" "$work/map.w3x" "$count"
"$build_dir/bench/arcavera-bench-nameless" "$work/plain.w3x" "$count" unmentioned
echo "Making an archive of $big named files..."
"$build_dir/bench/arcavera-bench-make" "$work/big.mpq" "$big"
compare "map of $count files without its list, three quarters mentioned" "$work/map.w3x" "2 or less"
compare "map of $count files without its list, none mentioned" "$work/plain.w3x" "2 or less"
compare "archive of $big named files" "$work/big.mpq" "about 1"
