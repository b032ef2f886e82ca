#!/usr/bin/env bash
# Renders the PNG sizes of the icons from their SVGs into icons/hicolor. The
# PNGs are kept in the tree, so a build needs no SVG renderer; run this after
# changing an SVG. Needs rsvg-convert (Debian: librsvg2-bin).
set -euo pipefail
cd "$(dirname "$0")/icons/hicolor"
for svg in scalable/*/*.svg; do
  context=$(basename "$(dirname "$svg")")
  name=$(basename "$svg" .svg)
  for size in 16 22 24 32 48 64 128 256; do
    mkdir -p "${size}x${size}/$context"
    rsvg-convert --width "$size" --height "$size" "$svg" --output "${size}x${size}/$context/$name.png"
  done
done
