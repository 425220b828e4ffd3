#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Makes the fuzzers' seed inputs from the image corpus: small copies of every image, in its own
# format with its metadata (orientation, colour profile, alpha, bit depth, frames), the first
# bytes of every refused or damaged file, and the stored forms of requirements and recipes.
# Usage: fuzz/make-seeds.sh CORPUS_DIR OUT_DIR  (OUT_DIR gets source/, fit/ and stored/)
set -euo pipefail
corpus=${1:?corpus folder}
out=${2:?seed folder}
edge=96           # a seed's longer edge: big enough for a 64 x 96 crop, small enough to run fast
head_bytes=16384  # how much of a refused or damaged file is kept

mkdir -p "$out/source" "$out/fit" "$out/stored"
export VIPS_WARNING=0

# A small copy of one image in the same format; the first bytes when libvips can't read it.
small_copy() {
  local in=$1 name=$2 suffix=${1##*.}
  local target="$out/source/$name"
  local pages=""
  case "$in" in */animated.gif|*/two-pages.tif) pages="[n=-1]" ;; esac
  local saver_options
  case "${suffix,,}" in
    jpg|jpeg) saver_options="[Q=60]" ;;
    tif|tiff) saver_options="[compression=deflate]" ;;
    heic|heif) saver_options="[Q=30]" ;;
    *) saver_options="" ;;
  esac
  if [ "${suffix,,}" = bmp ]; then
    vips thumbnail "$in" "$out/source/tmp.v" $edge 2>/dev/null &&
      vips magicksave "$out/source/tmp.v" "$target" --format bmp 2>/dev/null && rm -f "$out/source/tmp.v" && return
  elif [ -n "$pages" ]; then
    vips thumbnail "$in$pages" "$target$saver_options" $edge 2>/dev/null && return
  else
    # resize, unlike thumbnail, keeps orientation, profile, CMYK and 16 bits as they are.
    local width height
    width=$(vipsheader -f width "$in" 2>/dev/null) && height=$(vipsheader -f height "$in" 2>/dev/null) &&
      vips resize "$in" "$target$saver_options" "$(awk -v e=$edge -v w="$width" -v h="$height" 'BEGIN { print e / (w > h ? w : h) }')" \
        2>/dev/null && return
  fi
  rm -f "$out/source/tmp.v"
  head -c $head_bytes "$in" > "$target"
}

for folder in photos orientation alpha color formats reject corrupt; do
  for file in "$corpus/$folder"/*; do
    [ -f "$file" ] || continue
    name="$folder-$(basename "$file")"
    case "$folder/$(basename "$file")" in
      reject/animated.gif|reject/two-pages.tif) small_copy "$file" "$name" ;;
      reject/*|corrupt/*) head -c $head_bytes "$file" > "$out/source/$name" ;;
      *) small_copy "$file" "$name" ;;
    esac
  done
done
# A progressive JPEG and a one-pixel image of each format the engine writes or reads.
vips copy "$out/source/photos-Garden.jpg" "$out/source/progressive.jpg[interlace,Q=60]"
vips black "$out/source/one.v" 1 1 --bands 3
for suffix in jpg png gif tif heic; do vips copy "$out/source/one.v" "$out/source/one-pixel.$suffix"; done
vips magicksave "$out/source/one.v" "$out/source/one-pixel.bmp" --format bmp
rm -f "$out/source/one.v"
cp "$out/source/"* "$out/fit/"

settings='{"targetBytes":500000,"maxEdge":1920,"outputFormat":"auto","exactWidth":0,"exactHeight":0}'
exact='{"targetBytes":200000,"maxEdge":2560,"outputFormat":"jpeg","exactWidth":600,"exactHeight":800}'
printf '%s' "$settings" > "$out/stored/settings.json"
printf '%s' "$exact" > "$out/stored/exact-settings.json"
printf '[{"id":"6B29FC40-CA47-1067-B31D-00DD010662DA","name":"Shop photo","settings":%s},{"id":"6b29fc40-ca47-1067-b31d-00dd010662db","name":"  Caf\u00e9 \ud83d\udcf7  ","settings":%s}]' \
  "$settings" "$exact" > "$out/stored/recipes.json"
printf '[]' > "$out/stored/empty-library.json"
printf '[{"id":"6B29FC40-CA47-1067-B31D-00DD010662DA","name":"x","settings":%s},{"id":"6B29FC40-CA47-1067-B31D-00DD010662DA","name":"y","settings":{"targetBytes":5,"maxEdge":0,"outputFormat":"png","exactWidth":0,"exactHeight":0}}]' \
  "$settings" > "$out/stored/duplicate-ids.json"
echo "seeds: $(ls "$out/source" | wc -l) images, $(ls "$out/stored" | wc -l) stored forms in $out"
