#!/usr/bin/env bash
# Times `arcavera-cli extract ARCHIVE --to FOLDER` of every file of an
# archive of FILES small files (default 1000000: 72 bytes to under 1 KB each,
# in 500 folders of 37 subfolders each, as bench/make_big_archive.cpp makes
# them) against a plain loop of StormLib's own enumeration, reads and file
# writes (bench/plain_extract.cpp), the floor; and the peak memory of each.
# Target: within 1.1 times the floor. Each is run RUNS times (default 3), in
# turns, the folder removed before each run and not timed: the best time, the
# highest peak. The last run of each is checked against the other: the count
# of files written and a checksum of their names and contents.
#
# The work goes to BENCH_DIR, by default /dev/shm (else /tmp): on a disk,
# removing a million files between the runs takes longer than the runs, and
# the disk's own work (write-back, discards, reused inodes) swamps what is
# measured. A million files take some 5 GB of memory there, one run's at a
# time.
set -euo pipefail
cd "$(dirname "$0")/.."
files=${FILES:-1000000}
runs=${RUNS:-3}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
command -v /usr/bin/time >/dev/null || { echo "needs GNU time (Debian package time)" >&2; exit 1; }
source bench/best_time.sh
work_folder extract-all
archive="$work/big.mpq"
dest="$work/out"   # not "out": best_with_memory has a variable of that name
"$build_dir/bench/arcavera-bench-make" "$archive" "$files"

prepare() { rm -rf "$dest"; }
# The two take turns, run by run, so that both meet the same load of the
# machine; each keeps its best time and its highest peak.
plain_s="" plain_kb=0 ours_s="" ours_kb=0
for turn in $(seq "$runs"); do
  keep_best plain $(runs=1 best_with_memory "$build_dir/bench/arcavera-bench-plain-extract" "$archive" "$dest")
  [ "$turn" = "$runs" ] && plain_print=$(fingerprint "$dest")
  keep_best ours $(runs=1 best_with_memory "$build_dir/arcavera-cli" --ini "$ini" extract "$archive" --to "$dest")
  [ "$turn" = "$runs" ] && ours_print=$(fingerprint "$dest")
done
prepare
[ "$ours_print" = "$plain_print" ] && same=yes || same=NO

printf 'files: %s stored; written: %s by the floor, %s by arcavera-cli (with the internal list); identical: %s\n' \
  "$files" "${plain_print%% *}" "${ours_print%% *}" "$same"
printf '%-24s %10s %10s\n' what seconds MB
awk -v s="$plain_s" -v k="$plain_kb" 'BEGIN { printf "%-24s %10.3f %10.1f\n", "plain loop (floor)", s, k / 1024 }'
awk -v s="$ours_s" -v k="$ours_kb" 'BEGIN { printf "%-24s %10.3f %10.1f\n", "arcavera-cli extract", s, k / 1024 }'
awk -v a="$ours_s" -v b="$plain_s" 'BEGIN { printf "ratio: %.2f (target: 1.1 or less)\n", a / b }'
