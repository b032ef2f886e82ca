#!/usr/bin/env bash
# The cost of a look at a texture. Times `arcavera-cli convert` of each large
# texture of a map (a read through the engine's child process, our decoder,
# a PNG written) against the floor: the file's bytes already on disk, decoded
# and written as a PNG by Pillow, the reference decoder. Prints both, the
# ratio, and our peak memory. Targets: within 1.5 times the floor, and a peak
# under 4 times the decoded image's bytes (4 bytes a pixel) plus 64 MB. SIDE
# (default 2048) is the textures' side; each command runs RUNS times (default
# 3) and the best time counts.
set -euo pipefail
cd "$(dirname "$0")/.."
side=${SIDE:-2048}
runs=${RUNS:-3}
build_dir=${BUILD_DIR:-build-bench}
BUILD_DIR="$build_dir" BUILD_TYPE=${BUILD_TYPE:-Release} bash scripts/build.sh >/dev/null
cmake --build "$build_dir" --target arcavera-bench-textures >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cli="$build_dir/arcavera-cli"
source bench/best_time.sh

"$build_dir/bench/arcavera-bench-textures" "$work/textures.w3x" "$side"
printf 'textures of %sx%s pixels (%s MB decoded)\n' "$side" "$side" $((side * side * 4 >> 20))
for name in dxt5.blp paletted.blp jpeg.blp plain.tga runs.tga; do
  "$cli" cat "$work/textures.w3x" "$name" > "$work/$name"
  floor=$(best /usr/bin/python3 -c 'import sys; from PIL import Image; Image.open(sys.argv[1]).save(sys.argv[2])' \
    "$work/$name" "$work/floor.png")
  read -r ours peak < <(best_with_memory "$cli" convert "$work/textures.w3x" "$name" "$work/ours.png")
  printf '%-13s floor (Pillow) %.3f s   ours %.3f s   ratio %s (target: 1.5 or less)   peak %s MB\n' \
    "$name" "$floor" "$ours" "$(awk -v a="$ours" -v b="$floor" 'BEGIN { printf "%.2f", a / b }')" $((peak >> 10))
done
