#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Parcelo's peak memory on the largest photo it accepts: a 10,000 × 10,000 JPEG (100 megapixels,
# made here once at quality 90) fitted at its original size (capped at 8,192 px) into 1,000 KB.
# A second, flat 100-megapixel JPEG fitted into 2,000 KB keeps its copy at 8,192 × 8,192: the
# most Parcelo ever holds at once. With the floor's program given too, the floor's peak for the
# very same copy is shown beside each.
#
#   bash bench/memory.sh PATH/TO/parcelo-fit [PATH/TO/parcelo-floor]
set -euo pipefail

FIT=${1:?usage: bash bench/memory.sh PATH/TO/parcelo-fit [PATH/TO/parcelo-floor]}
FLOOR=${2:-}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/parcelo-memory.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

# Colour blobs with fine detail, like a photo's: fixed-seed noise at 1,000 px enlarged ten times.
for seed in 1 2 3; do
    vips gaussnoise "$WORK/n$seed.v" 1000 1000 --mean 128 --sigma 40 --seed "$seed"
done
vips bandjoin "$WORK/n1.v $WORK/n2.v $WORK/n3.v" "$WORK/float.v"
vips cast "$WORK/float.v" "$WORK/uchar.v" uchar
vips copy "$WORK/uchar.v" "$WORK/noise.v" --interpretation srgb
vips resize "$WORK/noise.v" "$WORK/photo.jpg[Q=90]" 10
# One flat colour: the only kind of 100-megapixel image whose 8,192-pixel copy fits in 2,000 KB.
vips black "$WORK/black.v" 10000 10000 --bands 3
vips linear "$WORK/black.v" "$WORK/grey.v" 1 200 --uchar
vips copy "$WORK/grey.v" "$WORK/flat-srgb.v" --interpretation srgb
vips copy "$WORK/flat-srgb.v" "$WORK/flat.jpg[Q=90]"
rm -f "$WORK"/*.v

# "NNN MB (NNN KiB), wall H:MM:SS" from the report of GNU time -v.
peak() {
    awk -F': ' '/Maximum resident set size/ { kib = $2 } /Elapsed \(wall clock\)/ { wall = $2 }
        END { printf "%.0f MB (%d KiB), wall %s", kib * 1024 / 1e6, kib, wall }' "$1"
}

measure() {  # name kb
    local name=$1 kb=$2 output width height
    mkdir -p "$WORK/$name-out"
    cat "$WORK/$name.jpg" >/dev/null
    /usr/bin/time -v "$FIT" --json --max-edge 0 --kb "$kb" --out "$WORK/$name-out" "$WORK/$name.jpg" \
        >"$WORK/$name.json" 2>"$WORK/$name-time.txt" || true
    echo
    echo "Memory: 10000×10000 $name JPEG ($(stat -c %s "$WORK/$name.jpg") bytes), --max-edge 0 --kb $kb"
    echo "  parcelo-fit maximum resident set size: $(peak "$WORK/$name-time.txt")"
    echo "  copy: $(jq -r '"\(.width)×\(.height) \(.format), \(.bytes) bytes, error: \(.error)"' "$WORK/$name.json")"
    output=$(jq -r '.output // empty' "$WORK/$name.json")
    if [[ -n $FLOOR && -n $output ]]; then
        read -r width height < <(jq -r '"\(.width) \(.height)"' "$WORK/$name.json")
        /usr/bin/time -v "$FLOOR" "$WORK/$name.jpg" "$WORK/$name-floor.jpg" "$width" "$height" \
            "$(identify -format %Q "$output")" 2>"$WORK/$name-floor-time.txt" || true
        echo "  floor, same copy, maximum resident set size: $(peak "$WORK/$name-floor-time.txt")"
    fi
}

measure photo 1000
measure flat 2000
