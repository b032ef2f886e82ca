#!/usr/bin/env bash
# Fuzzing of what opening an archive does (open, Classic listing with type
# detection, a read of every listed file) with libFuzzer, built by clang with
# AddressSanitizer and UndefinedBehaviorSanitizer into BUILD_DIR (default
# build-fuzz/), where the corpus, the findings and the logs stay.
#
#   scripts/fuzz.sh build              build the target and make the seeds
#   scripts/fuzz.sh smoke              a fixed number of runs from the seeds
#                                      with a fixed seed, one to three minutes;
#                                      fails on any crash or sanitizer finding
#                                      (CI runs it); passes over time-outs
#   scripts/fuzz.sh campaign [SECONDS] a long run (default 7200 s) of a copy of
#                                      the target that goes on past findings;
#                                      findings in BUILD_DIR/campaign/artifacts/
#   scripts/fuzz.sh run INPUT...       runs the target once on each input
#
# TARGET=image fuzzes the image reader instead (arcavera-fuzz-image: BLP,
# DDS, TGA, PNG, JPEG, BMP), with its own seeds and work folders beside the
# archive target's.
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=$(realpath -m "${BUILD_DIR:-build-fuzz}")
mode=${1:-smoke}
[ $# -gt 0 ] && shift

bash scripts/install-deps.sh
# A build folder made by scripts/build.sh with ARCAVERA_FUZZ=1 (as CI's
# sanitizer build is) is used as it stands; otherwise one of the fuzzing
# targets alone is set up.
if ! grep -q '^ARCAVERA_FUZZ:BOOL=\(ON\|1\)' "$build_dir/CMakeCache.txt" 2>/dev/null; then
  CC=clang CXX=clang++ cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DARCAVERA_FUZZ=ON -DARCAVERA_TESTS=OFF >/dev/null
fi
case "${TARGET:-archive}" in
archive) name=arcavera-fuzz-archive seed_maker=arcavera-fuzz-seeds suffix= ;;
image) name=arcavera-fuzz-image seed_maker=arcavera-fuzz-image-seeds suffix=-image ;;
*) echo "TARGET is archive (the default) or image" >&2; exit 1 ;;
esac
cmake --build "$build_dir" --parallel "$(nproc)" --target "$name" "$seed_maker"

target=$build_dir/fuzz/$name
seeds=$build_dir/seeds$suffix
rm -rf "$seeds" && mkdir -p "$seeds"
"$build_dir/fuzz/$seed_maker" "$seeds"

export ASAN_OPTIONS=${ASAN_OPTIONS:-allocator_may_return_null=1:detect_leaks=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
common=(-timeout=10 -rss_limit_mb=2048 -max_len=131072 -print_final_stats=1)

case "$mode" in
build) ;;
smoke)
  # A fresh corpus each time, so that every run does the same work.
  work=$build_dir/smoke$suffix
  rm -rf "$work" && mkdir -p "$work/corpus" "$work/artifacts"
  cp "$seeds"/* "$work/corpus/"
  # StormLib's endless loops are the program's watchdog's to end (it reads
  # archives in a child process): a run that times out is passed over, a
  # crash or a sanitizer's finding fails.
  TMPDIR=$work "$target" "${common[@]}" -seed=1 -runs="${FUZZ_RUNS:-20000}" -max_total_time=600 \
    -fork=1 -ignore_timeouts=1 -artifact_prefix="$work/artifacts/" "$work/corpus"
  ;;
campaign)
  seconds=${1:-7200}
  work=$build_dir/campaign$suffix
  mkdir -p "$work/corpus" "$work/artifacts" "$work/tmp"
  cp "$seeds"/* "$work/corpus/"
  # A copy of its own, so that rebuilding meanwhile leaves the run alone.
  cp "$target" "$work/$name"
  cd "$work"
  TMPDIR=$work/tmp exec "./$name" "${common[@]}" -fork=1 -ignore_crashes=1 \
    -ignore_timeouts=1 -ignore_ooms=1 -max_total_time="$seconds" -artifact_prefix="$work/artifacts/" \
    "$work/corpus"
  ;;
run)
  "$target" "${common[@]}" "$@"
  ;;
*)
  echo "usage: $0 build | smoke | campaign [SECONDS] | run INPUT..." >&2
  exit 1
  ;;
esac
