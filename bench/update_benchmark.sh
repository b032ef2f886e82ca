#!/usr/bin/env bash
# Times `arcavera-cli add` of one small file to an archive of SIZE_MB
# megabytes (default 1024) holding 1,000 files against StormLib's own open,
# add and close of the same file on a copy of the same archive. Ours keeps
# an undo journal of what the update may write over and syncs the archive
# before dropping it; the floor does neither. Each side runs RUNS times
# (default 5) on a fresh copy that is on the disk before the clock starts;
# the best time counts.
set -euo pipefail
cd "$(dirname "$0")/.."
size_mb=${SIZE_MB:-1024}
runs=${RUNS:-5}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
work=$(mktemp -d "${TMPDIR:-/var/tmp}/arcavera-update-XXXXXX")
trap 'rm -rf "$work"' EXIT

echo "Making an archive of $size_mb MB..."
mkdir -p "$work/src/big" "$work/src/small"
per_file=$(( size_mb * 1024 / 1000 ))  # KB per file
for i in $(seq 0 999); do
  head -c "${per_file}K" /dev/urandom > "$work/src/big/data$(printf %04d "$i").bin"
done
# Random bytes do not compress: store them plain.
printf '[Config]\nDefaultMaxFiles=4096\nExtCount=1\nExt1=.bin,0,0\n' > "$work/a.ini"
"$build_dir/arcavera-cli" --ini "$work/a.ini" add "$work/master.mpq" "$work/src/big"
rm -rf "$work/src/big"
head -c 3000 /dev/urandom | base64 > "$work/src/small/new.txt"

prepare() {  # each run on a fresh copy
  rm -f "$work/copy.mpq"
  cp "$work/master.mpq" "$work/copy.mpq"
  sync
}
source bench/best_time.sh

plain=$(best "$build_dir/bench/arcavera-bench-plain-update" "$work/copy.mpq" "$work/src/small/new.txt" new.txt)
ours=$(best "$build_dir/arcavera-cli" --ini "$work/a.ini" add "$work/copy.mpq" "$work/src/small/new.txt")
printf 'archive:                   %s bytes, 1000 files\n' "$(stat -c %s "$work/master.mpq")"
printf 'plain StormLib add of one: %.3f s\n' "$plain"
printf 'arcavera-cli add of one:   %.3f s   ratio %.2f\n' "$ours" \
  "$(awk -v a="$ours" -v b="$plain" 'BEGIN { print a / b }')"
