#!/usr/bin/env bash
# Times `arcavera-cli extract` of FILES stored files of SIZE_MB megabytes
# each (default 3 of 300), stored plain, against `dd` copying the same bytes
# (the archive, in 1 MiB blocks), the floor; and the extraction's peak
# memory. Targets: within 1.5 times dd, under 64 MB. Each is run RUNS times
# (default 5), in turns: the best time, the highest peak.
set -euo pipefail
cd "$(dirname "$0")/.."
files=${FILES:-3}
size_mb=${SIZE_MB:-300}
runs=${RUNS:-5}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
command -v /usr/bin/time >/dev/null || { echo "needs GNU time (Debian package time)" >&2; exit 1; }
work=$(mktemp -d "${BENCH_DIR:-/tmp}/arcavera-extract-XXXXXX")
trap 'rm -rf "$work"' EXIT
ini="$work/bench.ini"   # .bin stored plain
printf '[Config]\nExtCount=1\nExt1=.bin,0,0\n' > "$ini"
mkdir -p "$work/in"
for i in $(seq "$files"); do head -c "$((size_mb * 1048576))" /dev/urandom > "$work/in/big$i.bin"; done
"$build_dir/arcavera-cli" --ini "$ini" add "$work/big.mpq" "$work/in" > /dev/null
source bench/best_time.sh

prepare() { rm -rf "$work/out" "$work/copy"; sync; }
# The two take turns, run by run, so that both meet the same load of the
# machine; each keeps its best time and its highest peak.
dd_s="" dd_kb=0 ours_s="" ours_kb=0
for _ in $(seq "$runs"); do
  keep_best dd $(runs=1 best_with_memory dd if="$work/big.mpq" of="$work/copy" bs=1M)
  keep_best ours $(runs=1 best_with_memory "$build_dir/arcavera-cli" --ini "$ini" extract "$work/big.mpq" --to "$work/out")
done
"$build_dir/arcavera-cli" --ini "$ini" extract "$work/big.mpq" --to "$work/out" > /dev/null
same=yes
for i in $(seq "$files"); do cmp -s "$work/in/big$i.bin" "$work/out/big$i.bin" || same=NO; done
printf '%-24s %10s %10s\n' what seconds MB
awk -v s="$dd_s" -v k="$dd_kb" 'BEGIN { printf "%-24s %10.3f %10.1f\n", "dd (floor)", s, k / 1024 }'
awk -v s="$ours_s" -v k="$ours_kb" 'BEGIN { printf "%-24s %10.3f %10.1f\n", "arcavera-cli extract", s, k / 1024 }'
awk -v a="$ours_s" -v b="$dd_s" 'BEGIN { printf "ratio: %.2f (target: 1.5 or less); peak memory target: under 64 MB\n", a / b }'
echo "files identical: $same"
