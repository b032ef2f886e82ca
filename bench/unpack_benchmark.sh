#!/usr/bin/env bash
# Times `arcavera-cli unpack ARCHIVE FOLDER` of an archive of FILES small
# files (default 1000000, as bench/make_big_archive.cpp makes them) against
# the floor of bench/extract_all_benchmark.sh: a plain loop of StormLib's
# own enumeration, reads and file writes (bench/plain_extract.cpp). Unpack
# does all that extraction does, and reads the archive's shape and writes
# the manifest besides. Target: within 1.1 times the floor. RUNS runs each
# (default 3), in turns, the folder removed before each run and not timed:
# the best time. The last runs are checked against each other: the files
# written (the manifest and the internal list aside) and their contents.
# The work goes to BENCH_DIR, by default /dev/shm (else /tmp), as in
# extract_all_benchmark.sh and for the same reasons.
set -euo pipefail
cd "$(dirname "$0")/.."
files=${FILES:-1000000}
runs=${RUNS:-3}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
bench_dir=${BENCH_DIR:-/dev/shm}
[ -d "$bench_dir" ] && [ -w "$bench_dir" ] || bench_dir=/tmp
work=$(mktemp -d "$bench_dir/arcavera-unpack-XXXXXX")
trap 'rm -rf "$work"' EXIT
ini="$work/bench.ini"
: > "$ini"
archive="$work/big.mpq"
dest="$work/out"
"$build_dir/bench/arcavera-bench-make" "$archive" "$files" > /dev/null
source bench/best_time.sh

# "COUNT CHECKSUM" of the stored files below $1: names in order, then contents.
fingerprint() {
  (cd "$1" && find . -type f ! -name .arcavera-manifest ! -name '(listfile)' | LC_ALL=C sort > "$work/names"
   { cat "$work/names"; xargs -d '\n' cat < "$work/names"; } | md5sum | cut -d' ' -f1 > "$work/sum"
   echo "$(wc -l < "$work/names") $(cat "$work/sum")")
}

prepare() { rm -rf "$dest"; }
plain_s="" ours_s=""
for turn in $(seq "$runs"); do
  t=$(runs=1 best "$build_dir/bench/arcavera-bench-plain-extract" "$archive" "$dest")
  [ -z "$plain_s" ] || awk -v t="$t" -v b="$plain_s" 'BEGIN { exit !(t >= b) }' || plain_s=$t
  [ -n "$plain_s" ] || plain_s=$t
  [ "$turn" = "$runs" ] && plain_print=$(fingerprint "$dest")
  t=$(runs=1 best "$build_dir/arcavera-cli" --ini "$ini" unpack "$archive" "$dest")
  [ -z "$ours_s" ] || awk -v t="$t" -v b="$ours_s" 'BEGIN { exit !(t >= b) }' || ours_s=$t
  [ -n "$ours_s" ] || ours_s=$t
  [ "$turn" = "$runs" ] && ours_print=$(fingerprint "$dest") && manifest_lines=$(wc -l < "$dest/.arcavera-manifest")
done
prepare
[ "$ours_print" = "$plain_print" ] && same=yes || same=NO
printf 'files: %s stored; written: %s by the floor, %s by arcavera-cli unpack (manifest of %s lines); identical: %s\n' \
  "$files" "${plain_print%% *}" "${ours_print%% *}" "$manifest_lines" "$same"
printf '%-24s %10s\n' what seconds
awk -v s="$plain_s" 'BEGIN { printf "%-24s %10.3f\n", "plain loop (floor)", s }'
awk -v s="$ours_s" 'BEGIN { printf "%-24s %10.3f\n", "arcavera-cli unpack", s }'
awk -v a="$ours_s" -v b="$plain_s" 'BEGIN { printf "ratio: %.2f (target: 1.1 or less)\n", a / b }'
