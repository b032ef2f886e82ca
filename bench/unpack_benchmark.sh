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
command -v /usr/bin/time >/dev/null || { echo "needs GNU time (Debian package time)" >&2; exit 1; }
source bench/best_time.sh
work_folder unpack
archive="$work/big.mpq"
dest="$work/out"   # not "out": best_with_memory has a variable of that name
"$build_dir/bench/arcavera-bench-make" "$archive" "$files" > /dev/null

prepare() { rm -rf "$dest"; }
# The two take turns, run by run, so that both meet the same load of the
# machine; each keeps its best time and its highest peak. The manifest and
# the internal list are left out of the comparison.
plain_s="" plain_kb=0 ours_s="" ours_kb=0
for turn in $(seq "$runs"); do
  keep_best plain $(runs=1 best_with_memory "$build_dir/bench/arcavera-bench-plain-extract" "$archive" "$dest")
  [ "$turn" = "$runs" ] && plain_print=$(fingerprint "$dest" ! -name '(listfile)')
  keep_best ours $(runs=1 best_with_memory "$build_dir/arcavera-cli" --ini "$ini" unpack "$archive" "$dest")
  [ "$turn" = "$runs" ] && ours_print=$(fingerprint "$dest" ! -name .arcavera-manifest ! -name '(listfile)') &&
    manifest_lines=$(wc -l < "$dest/.arcavera-manifest")
done
prepare
[ "$ours_print" = "$plain_print" ] && same=yes || same=NO
printf 'files: %s stored; written: %s by the floor, %s by arcavera-cli unpack (manifest of %s lines); identical: %s\n' \
  "$files" "${plain_print%% *}" "${ours_print%% *}" "$manifest_lines" "$same"
printf '%-24s %10s %10s\n' what seconds MB
awk -v s="$plain_s" -v k="$plain_kb" 'BEGIN { printf "%-24s %10.3f %10.1f\n", "plain loop (floor)", s, k / 1024 }'
awk -v s="$ours_s" -v k="$ours_kb" 'BEGIN { printf "%-24s %10.3f %10.1f\n", "arcavera-cli unpack", s, k / 1024 }'
awk -v a="$ours_s" -v b="$plain_s" 'BEGIN { printf "ratio: %.2f (target: 1.1 or less)\n", a / b }'
