#!/usr/bin/env bash
# Times `arcavera-cli add` of COUNT small files (default 20000) in a folder
# tree against a plain loop of StormLib's own add calls on the same files,
# then `arcavera-cli extract` of them all against a plain loop of StormLib's
# own reads and file writes. Both sides make an archive with room for the
# files and compress with the standard (PKWARE) compression. Each is run RUNS
# times (default 3) and the best time counts; the target is a ratio of 1.5 or
# less for both.
set -euo pipefail
cd "$(dirname "$0")/.."
count=${COUNT:-20000}
runs=${RUNS:-3}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "Making $count files..."
files="$work/files"
awk -v n="$count" -v root="$files" 'BEGIN {
  srand(7)
  for (i = 0; i < n; i++) {
    dir = sprintf("%s/folder%03d", root, i % 200)
    if (i < 200) system("mkdir -p " dir)
    f = sprintf("%s/file%05d.dat", dir, i)
    size = 200 + int(rand() * 3800)
    line = ""
    while (length(line) < size) line = line sprintf("%d:%s ", i, substr("abcdefghijklmnopqrstuvwxyz", 1 + int(rand() * 26), 1 + int(rand() * 20)))
    printf "%s", substr(line, 1, size) > f
    close(f)
  }
}'
max=$((count + count / 2))
ini="$work/bench.ini"
printf '[Config]\nDefaultMaxFiles=%s\nExtCount=0\n' "$max" > "$ini"

source bench/best_time.sh

prepare() { rm -f "$work/plain.mpq" "$work/ours.mpq"; }
plain_add=$(best "$build_dir/bench/arcavera-bench-plain-add" "$work/plain.mpq" "$files" "$max")
ours_add=$(best "$build_dir/arcavera-cli" --ini "$ini" add "$work/ours.mpq" "$files")
"$build_dir/bench/arcavera-bench-plain-add" "$work/plain.mpq" "$files" "$max" 2>/dev/null
"$build_dir/arcavera-cli" --ini "$ini" add "$work/ours.mpq" "$files"

prepare() { rm -rf "$work/out-plain" "$work/out-ours"; }
plain_extract=$(best "$build_dir/bench/arcavera-bench-plain-extract" "$work/ours.mpq" "$work/out-plain")
ours_extract=$(best "$build_dir/arcavera-cli" --ini "$ini" extract "$work/ours.mpq" --to "$work/out-ours")
"$build_dir/arcavera-cli" --ini "$ini" extract "$work/ours.mpq" --to "$work/out-ours"
extracted=$(find "$work/out-ours" -name '*.dat' -type f | wc -l)
diff -r -x '~unknowns' -x '(listfile)' -x '(attributes)' "$files" "$work/out-ours" > /dev/null && same=yes || same=NO

printf 'files:                     %s (%s extracted, identical: %s)\n' "$count" "$extracted" "$same"
printf 'plain StormLib add:        %.3f s\n' "$plain_add"
printf 'arcavera-cli add:          %.3f s   ratio %.2f (target: 1.5 or less)\n' "$ours_add" \
  "$(awk -v a="$ours_add" -v b="$plain_add" 'BEGIN { print a / b }')"
printf 'plain StormLib extract:    %.3f s\n' "$plain_extract"
printf 'arcavera-cli extract:      %.3f s   ratio %.2f (target: 1.5 or less)\n' "$ours_extract" \
  "$(awk -v a="$ours_extract" -v b="$plain_extract" 'BEGIN { print a / b }')"
