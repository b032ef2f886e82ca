#!/usr/bin/env bash
# Times `arcavera-cli list` on an archive of COUNT files (default 100000)
# with an internal list, against a plain loop over StormLib's own
# enumeration of the same archive. Prints both times and their ratio; the
# target is a ratio of 3 or less. Each is run RUNS times (default 3) and the
# best time counts.
set -euo pipefail
cd "$(dirname "$0")/.."
count=${COUNT:-100000}
runs=${RUNS:-3}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
archive="$work/big.mpq"
echo "Making an archive of $count files..."
"$build_dir/bench/arcavera-bench-make" "$archive" "$count"
ini="$work/bench.ini"   # no external lists, detection on: the defaults
: > "$ini"

source bench/best_time.sh

plain=$(best "$build_dir/bench/arcavera-bench-plain" "$archive" 2>/dev/null)
plain_rows=$("$build_dir/bench/arcavera-bench-plain" "$archive" 2>/dev/null | wc -l)
listing=$(best "$build_dir/arcavera-cli" --ini "$ini" list "$archive")
listing_rows=$("$build_dir/arcavera-cli" --ini "$ini" list "$archive" | wc -l)
ratio=$(awk -v a="$listing" -v b="$plain" 'BEGIN { printf "%.2f", a / b }')
printf 'files in archive:        %s\n' "$count"
printf 'plain enumeration:       %.3f s (%s rows)\n' "$plain" "$plain_rows"
printf 'arcavera-cli list:       %.3f s (%s rows)\n' "$listing" "$listing_rows"
printf 'ratio:                   %.2f (target: 3 or less)\n' "$ratio"
