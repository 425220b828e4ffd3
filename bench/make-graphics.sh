#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Six crisp graphics for the benchmark, made with libvips's command line into OUT/photos/, so that
# `bash bench/peers.sh OUT` compares the tools on them as on photos: a cut-out signature and a
# logo (transparent PNG), a text screenshot as PNG and as JPEG, pixel art enlarged with nearest
# neighbour, and a slide of flat colours. Their copies at a smaller size are often larger files.
#
#   bash bench/make-graphics.sh OUT
set -euo pipefail

OUT=${1:?usage: bash bench/make-graphics.sh OUT}
mkdir -p "$OUT/photos"
WORK=$(mktemp -d "${TMPDIR:-/tmp}/parcelo-graphics.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
cd "$WORK"
# ink NAME WIDTH HEIGHT "R G B": NAME.v, one flat colour.
ink() { vips black "$1-black.v" "$2" "$3" --bands 3; vips linear "$1-black.v" "$1.v" "1 1 1" "$4" --uchar; }

# Signature: dark blue ink, antialiased, on a transparent 2796 × 524 canvas.
vips text mask.v "Jane Q. Doe" --font "DejaVu Serif Italic" --width 2000 --height 300
vips embed mask.v canvas.v 300 110 2796 524
ink sig 2796 524 "20 30 90"
vips bandjoin "sig.v canvas.v" signature.v
vips copy signature.v "$OUT/photos/signature.png" --interpretation srgb

# Logo: a disc and a word in one colour on transparency.
vips text word.v "parcel" --font "DejaVu Sans Bold" --width 1400 --height 500
vips embed word.v wordc.v 800 200 2400 900
vips black disc.v 2400 900
vips draw_circle disc.v 255 400 450 360 --fill
vips boolean disc.v wordc.v logomask.v or
ink logo 2400 900 "230 90 60"
vips bandjoin "logo.v logomask.v" logo2.v
vips copy logo2.v "$OUT/photos/logo.png" --interpretation srgb

# Text screenshot, 1960 × 1300: 45 lines of 10-point text, black on white.
for i in $(seq 0 44); do echo "The quick brown fox jumps over the lazy dog, and keeps jumping; line $i of the notes."; done >prose.txt
vips text text.v "$(cat prose.txt)" --font "DejaVu Sans 10" --width 1900 --dpi 96
vips invert text.v page.v
vips embed page.v pagec.v 30 40 1960 1300 --extend background --background 255
vips bandjoin "pagec.v pagec.v pagec.v" shot.v
vips copy shot.v "$OUT/photos/screenshot.png" --interpretation srgb
vips copy "$OUT/photos/screenshot.png" "$OUT/photos/screenshot-q92.jpg[Q=92]"

# Pixel art: four levels a channel in 16 × 16 squares, 2560 × 1600.
for seed in 1 2 3; do vips gaussnoise "noise$seed.v" 160 100 --sigma 90 --mean 128 --seed "$seed"; done
vips bandjoin "noise1.v noise2.v noise3.v" noise.v
vips linear noise.v quarter.v 0.015625 0
vips round quarter.v levels.v floor
vips linear levels.v art.v 64 0 --uchar
vips zoom art.v big.v 16 16
vips copy big.v "$OUT/photos/pixel-art.png" --interpretation srgb

# Slide, 2560 × 1440: a flat background, a band, a box and a title.
ink slide 2560 1440 "240 240 235"
ink band 2560 320 "30 60 120"
ink box 1000 600 "250 180 40"
vips insert slide.v band.v s1.v 0 1120
vips insert s1.v box.v s2.v 1400 440
vips text title.v "Quarterly results" --font "DejaVu Sans Bold" --width 2000 --height 300
vips invert title.v inverted.v
vips linear inverted.v grey.v 0.92 0 --uchar
vips bandjoin "grey.v grey.v grey.v" title3.v
vips insert s2.v title3.v s3.v 120 120
vips copy s3.v "$OUT/photos/slide.png" --interpretation srgb
