#!/usr/bin/env bash
# Configures and builds Arcavera into BUILD_DIR (default: build).
# ARCAVERA_SANITIZE=1 builds with AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build_dir=${BUILD_DIR:-build}
cmake -S . -B "$build_dir" -G Ninja \
  -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" \
  -DARCAVERA_SANITIZE="${ARCAVERA_SANITIZE:-0}" \
  -DARCAVERA_WERROR="${ARCAVERA_WERROR:-0}"
cmake --build "$build_dir" --parallel "$(nproc)"
