#!/usr/bin/env bash
# Times `arcavera-cli verify` of an archive of FILES files (default 1000) of
# SIZE_KB kilobytes each (default 1024: 1 GB in all), half random text and
# half lines that every file shares, compressed with zlib, with an
# "(attributes)" that holds each file's CRC32 and MD5, against a plain loop
# of StormLib's own calls on the same archive (arcavera-bench-plain-verify),
# the floor: each file opened, read whole in chunks of 1 MiB and the CRC32
# and the MD5 of its bytes reckoned, nothing compared. Ours also lists the
# archive first, reads in a child process behind the guards, checks the
# sector checksums and compares the CRC32s and MD5s. Target: within 1.2
# times the floor. The two take turns RUNS times (default 3); the best time
# of each counts.
set -euo pipefail
cd "$(dirname "$0")/.."
files=${FILES:-1000}
size_kb=${SIZE_KB:-1024}
runs=${RUNS:-3}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
work=$(mktemp -d "${TMPDIR:-/var/tmp}/arcavera-verify-XXXXXX")
trap 'rm -rf "$work"' EXIT

echo "Making an archive of $files files of $size_kb KB..."
mkdir -p "$work/src"
half=$((size_kb * 512))
seq -f 'row %g of the lines that every file shares' "$((size_kb * 20))" > "$work/lines.txt"
head -c "$half" "$work/lines.txt" > "$work/shared.txt"
for i in $(seq "$files"); do
  # base64 -w 0 writes 4 characters for every 3 bytes, and no line break.
  head -c "$((half / 4 * 3))" /dev/urandom | base64 -w 0 | cat - "$work/shared.txt" > "$work/src/data$(printf %04d "$i").txt"
done
ini="$work/bench.ini"  # every file compressed with zlib
printf '[Config]\nDefaultMaxFiles=%s\nDefaultCompression=1\nExtCount=0\n' "$((files + 16))" > "$ini"
"$build_dir/bench/arcavera-bench-plain-verify" --create "$work/big.mpq" "$((files + 16))"
"$build_dir/arcavera-cli" --ini "$ini" add "$work/big.mpq" "$work/src" > /dev/null
rm -rf "$work/src"
cat "$work/big.mpq" > /dev/null  # in the page cache for both

source bench/best_time.sh
floor_s="" ours_s=""
for _ in $(seq "$runs"); do
  keep_best floor "$(runs=1 best "$build_dir/bench/arcavera-bench-plain-verify" "$work/big.mpq")" 0
  keep_best ours "$(runs=1 best "$build_dir/arcavera-cli" --ini "$ini" verify "$work/big.mpq")" 0
done
found=$("$build_dir/arcavera-cli" --ini "$ini" verify "$work/big.mpq" | tail -n 1) || true

printf 'archive:                    %s bytes, %s files of %s KB, zlib, with (attributes)\n' \
  "$(stat -c %s "$work/big.mpq")" "$files" "$size_kb"
printf 'arcavera-cli verify says:   %s\n' "$found"
printf 'plain read and hash:        %.3f s (floor)\n' "$floor_s"
printf 'arcavera-cli verify:        %.3f s   ratio %.2f (target: 1.2 or less)\n' "$ours_s" \
  "$(awk -v a="$ours_s" -v b="$floor_s" 'BEGIN { print a / b }')"
