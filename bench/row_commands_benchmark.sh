#!/usr/bin/env bash
# Times the window's row commands (select all, invert, find, find next, the
# sort of every column, delete of a thousand scattered rows and of every row,
# the refresh after them) on an archive of COUNT files (default 100000),
# offscreen. The target is 2 seconds or less for every command.
set -euo pipefail
cd "$(dirname "$0")/.."
count=${COUNT:-100000}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "Making an archive of $count files..."
"$build_dir/bench/arcavera-bench-make" "$work/big.mpq" "$count"
"$build_dir/bench/arcavera-bench-rows" "$work/big.mpq" 2>/dev/null
