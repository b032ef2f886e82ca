#!/usr/bin/env bash
# Builds Arcavera and opens the window on ARCHIVE, or on the sample archive
# that the build makes.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
build_dir=${BUILD_DIR:-build}
archive=${1:-$build_dir/sample/sample.mpq}
exec "$build_dir/arcavera" "$(realpath "$archive")"
