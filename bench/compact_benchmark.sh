#!/usr/bin/env bash
# Times `arcavera-cli compact` of an archive of about 1 GB, FILES files of
# SIZE_KB kilobytes each (default 2000 of 512; one in four text, stored
# compressed, the rest random bytes stored plain), every other one of them
# deleted with `arcavera-cli delete`, against `cp` of the same archive
# followed by `sync`, the floor. Target: within 2 times the floor. The two
# take turns RUNS times (default 3), each on a fresh copy that is on the disk
# before the clock starts; the best time counts. StormLib's own compaction of
# a copy, in place and without a sync, is timed once beside them. The
# compacted archive must extract to the files that stayed.
set -euo pipefail
cd "$(dirname "$0")/.."
files=${FILES:-2000}
size_kb=${SIZE_KB:-512}
runs=${RUNS:-3}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
work=$(mktemp -d "${BENCH_DIR:-/var/tmp}/arcavera-compact-XXXXXX")
trap 'rm -rf "$work"' EXIT
# .bin stored plain, .txt compressed with deflate.
printf '[Config]\nDefaultMaxFiles=4096\nExtCount=2\nExt1=.bin,0,0\nExt2=.txt,2,0\n' > "$work/bench.ini"
cli=("$build_dir/arcavera-cli" --ini "$work/bench.ini")

echo "Making an archive of $files files of $size_kb KB..."
mkdir -p "$work/src"
texts=$((files / 4))
head -c "$(( (files - texts) * size_kb ))K" /dev/urandom |
  split -b "${size_kb}K" -d -a 5 --additional-suffix=.bin - "$work/src/data"
head -c "$(( texts * size_kb * 3 / 4 ))K" /dev/urandom | base64 |
  split -b "${size_kb}K" -d -a 5 --additional-suffix=.txt - "$work/src/text"
"${cli[@]}" add "$work/master.mpq" "$work/src" > /dev/null
mapfile -t gone < <(cd "$work/src" && ls | awk 'NR % 2 == 0')
"${cli[@]}" delete "$work/master.mpq" "${gone[@]}" > /dev/null
(cd "$work/src" && rm -f "${gone[@]}")

prepare() {  # each run on a fresh copy
  rm -f "$work/copy.mpq" "$work/floor.mpq"
  cp "$work/master.mpq" "$work/copy.mpq"
  sync
}
source bench/best_time.sh
floor_s="" ours_s=""
for _ in $(seq "$runs"); do
  keep_best floor "$(runs=1 best bash -c "cp '$work/copy.mpq' '$work/floor.mpq' && sync")" 0
  keep_best ours "$(runs=1 best "${cli[@]}" compact "$work/copy.mpq")" 0
done
compacted=$(stat -c %s "$work/copy.mpq")
"${cli[@]}" extract "$work/copy.mpq" --to "$work/out" > /dev/null
rm -f "$work/out/(listfile)" "$work/out/(attributes)"
same=yes
diff -rq "$work/src" "$work/out" > /dev/null || same=NO
[ "$compacted" -lt "$(stat -c %s "$work/master.mpq")" ] || same="NO, not compacted"
storm_s=$(runs=1 best "$build_dir/bench/arcavera-bench-plain-compact" "$work/copy.mpq")

printf 'archive: %s bytes, %s files, every other one deleted; compacted: %s bytes\n' \
  "$(stat -c %s "$work/master.mpq")" "$files" "$compacted"
printf '%-34s %8s\n' what seconds
printf '%-34s %8.3f\n' "cp + sync (floor)" "$floor_s"
printf '%-34s %8.3f\n' "arcavera-cli compact" "$ours_s"
printf '%-34s %8.3f\n' "StormLib's compaction, no sync" "$storm_s"
awk -v a="$ours_s" -v b="$floor_s" 'BEGIN { printf "ratio: %.2f (target: 2.0 or less)\n", a / b }'
echo "files identical: $same"
