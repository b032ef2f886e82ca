#!/usr/bin/env bash
# Times `arcavera-cli embed` of an archive of SIZE bytes (default 2.5 GiB, so
# that every offset passes 2^31) behind a small executable, then `split` of
# the result into both parts, against `cat` of the same bytes. The archive is
# a sparse file with a header at its start, so making it costs nothing; the
# copies write every byte. Checks the layout: the archive at offset 1024,
# the split-out parts equal to the padded executable and the archive. The
# target is a ratio of 1.5 or less against `cat`. Needs about 3 x SIZE of
# free disk space in TMPDIR.
set -euo pipefail
cd "$(dirname "$0")/.."
size=${SIZE:-2684354560}
build_dir=${BUILD_DIR:-build-bench}
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-Release}" >/dev/null
cmake --build "$build_dir" --target arcavera-cli >/dev/null
cli="$build_dir/arcavera-cli"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

printf 'MZ' > "$work/game.exe"
head -c 998 /dev/zero | tr '\0' 'x' >> "$work/game.exe"
printf 'MPQ\x1a' > "$work/data.mpq"
truncate -s "$size" "$work/data.mpq"

seconds() {  # wall time of "$@" in seconds
  local start end
  start=$(date +%s.%N)
  "$@"
  end=$(date +%s.%N)
  awk -v a="$start" -v b="$end" 'BEGIN { printf "%.4f", b - a }'
}

echo "Archive of $size bytes"
plain=$(seconds sh -c "cat '$work/game.exe' '$work/data.mpq' > '$work/cat.bin'")
rm "$work/cat.bin"
embed=$(seconds "$cli" embed "$work/game.exe" "$work/data.mpq")
test "$(stat -c %s "$work/game.exe")" -eq $((1024 + size))
cmp -s -n 4 -i 1024:0 "$work/game.exe" "$work/data.mpq"
split=$(seconds "$cli" split "$work/game.exe" --exe "$work/part.exe" --mpq "$work/part.mpq")
test "$(stat -c %s "$work/part.exe")" -eq 1024
cmp -s "$work/part.mpq" "$work/data.mpq"
awk -v p="$plain" -v e="$embed" -v s="$split" 'BEGIN {
  printf "cat     %6.2f s\nembed   %6.2f s  (ratio %.2f)\nsplit   %6.2f s  (ratio %.2f)\n", p, e, e / p, s, s / p
}'
