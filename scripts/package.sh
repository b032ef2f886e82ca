#!/usr/bin/env bash
# Makes the Debian package of Arcavera: a Release build in BUILD_DIR (default
# build-package; a new folder builds the programs alone, without the tests and
# benchmarks), then `cpack -G DEB` there. Prints the package's path, and has
# lintian look at it when lintian is installed: an error of lintian's fails
# the script.
#
# A folder built before (CI passes the README's build, `build`) is reused as
# it is configured, so nothing is compiled again; it must be an optimized
# build without the sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build_dir=${BUILD_DIR:-build-package}
cache=$build_dir/CMakeCache.txt
if [ -f "$cache" ]; then
  build_type=$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$cache")
  case $build_type in
    Release | RelWithDebInfo | MinSizeRel) ;;
    *) echo "$build_dir is a '$build_type' build; a package is made from a Release build" >&2; exit 1 ;;
  esac
  if grep -Eqi '^ARCAVERA_(SANITIZE|FUZZ):BOOL=(1|ON|TRUE|YES)$' "$cache"; then
    echo "$build_dir is built with the sanitizers; a package is made from a build without them" >&2
    exit 1
  fi
else
  cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DARCAVERA_TESTS=OFF -DARCAVERA_BENCH=OFF >/dev/null
fi
cmake --build "$build_dir" --parallel "$(nproc)"

rm -f "$build_dir"/arcavera_*.deb
(cd "$build_dir" && cpack -G DEB) >"$build_dir/cpack.log" 2>&1 || { cat "$build_dir/cpack.log" >&2; exit 1; }
debs=("$build_dir"/arcavera_*.deb)
[ -f "${debs[0]}" ] || { echo "cpack made no package in $build_dir" >&2; exit 1; }
deb=$(realpath "${debs[0]}")
echo "$deb"

if command -v lintian >/dev/null; then
  # Errors fail; warnings and the notes (I:) are shown.
  lintian --display-info --fail-on error "$deb"
else
  echo "lintian is not installed: the package is not checked" >&2
fi
