#!/usr/bin/env bash
# Builds Arcavera and runs the whole test suite. The window's tests run on
# Qt's offscreen platform, so no display is needed.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
build_dir=${BUILD_DIR:-build}
cd "$build_dir"
QT_QPA_PLATFORM=offscreen ctest --output-on-failure --parallel "$(nproc)"
