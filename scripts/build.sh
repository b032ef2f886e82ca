#!/usr/bin/env bash
# Configures and builds Arcavera into BUILD_DIR (default: build).
#   ARCAVERA_SANITIZE=1  AddressSanitizer and UndefinedBehaviorSanitizer
#   ARCAVERA_FUZZ=1      clang, the sanitizers and the fuzzing targets of fuzz/
#                        as well (the suite runs in that build too)
#   ARCAVERA_BENCH=0     without the benchmark programs of bench/
#   BUILD_TYPE           CMake build type (default Release, or RelWithDebInfo
#                        with the sanitizers, whose reports name lines;
#                        Debug for a debugger)
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build_dir=${BUILD_DIR:-build}
build_type=Release
if [ "${ARCAVERA_FUZZ:-0}" = 1 ]; then
  export CC=clang CXX=clang++
  build_type=RelWithDebInfo
fi
[ "${ARCAVERA_SANITIZE:-0}" = 1 ] && build_type=RelWithDebInfo
cmake -S . -B "$build_dir" -G Ninja \
  -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-$build_type}" \
  -DARCAVERA_SANITIZE="${ARCAVERA_SANITIZE:-0}" \
  -DARCAVERA_FUZZ="${ARCAVERA_FUZZ:-0}" \
  -DARCAVERA_BENCH="${ARCAVERA_BENCH:-1}" \
  -DARCAVERA_WERROR="${ARCAVERA_WERROR:-0}" >/dev/null
cmake --build "$build_dir" --parallel "$(nproc)"
