#!/usr/bin/env bash
# Parcelo's peak memory on the largest photo it accepts: a 10,000 × 10,000 JPEG (100 megapixels,
# made here once at quality 90) fitted at its original size (capped at 8,192 px) into 1,000 KB.
# With the floor's program given too, the floor's peak for the very same copy is shown beside it.
#
#   bash bench/memory.sh PATH/TO/parcelo-fit [PATH/TO/parcelo-floor]
set -euo pipefail

FIT=${1:?usage: bash bench/memory.sh PATH/TO/parcelo-fit [PATH/TO/parcelo-floor]}
FLOOR=${2:-}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/parcelo-memory.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

# Smooth colour blobs, like a photo's: noise at 1,000 px enlarged ten times.
for band in r g b; do vips gaussnoise "$WORK/$band.v" 1000 1000 --mean 128 --sigma 40; done
vips bandjoin "$WORK/r.v $WORK/g.v $WORK/b.v" "$WORK/noise.v"
vips resize "$WORK/noise.v" "$WORK/big.jpg[Q=90]" 10
rm -f "$WORK"/*.v
cat "$WORK/big.jpg" >/dev/null

# "NNN MB (NNN KiB), wall H:MM:SS" from the report of GNU time -v.
peak() {
    awk -F': ' '/Maximum resident set size/ { kib = $2 } /Elapsed \(wall clock\)/ { wall = $2 }
        END { printf "%.0f MB (%d KiB), wall %s", kib * 1024 / 1e6, kib, wall }' "$1"
}

mkdir -p "$WORK/out"
/usr/bin/time -v "$FIT" --json --max-edge 0 --kb 1000 --out "$WORK/out" "$WORK/big.jpg" \
    >"$WORK/fit.json" 2>"$WORK/fit-time.txt" || true

echo
echo "Memory: 10000×10000 JPEG ($(stat -c %s "$WORK/big.jpg") bytes), --max-edge 0 --kb 1000"
echo "  parcelo-fit maximum resident set size: $(peak "$WORK/fit-time.txt")"
echo "  copy: $(jq -r '"\(.width)×\(.height) \(.format), \(.bytes) bytes, error: \(.error)"' "$WORK/fit.json")"

output=$(jq -r '.output // empty' "$WORK/fit.json")
if [[ -n $FLOOR && -n $output ]]; then
    read -r width height < <(jq -r '"\(.width) \(.height)"' "$WORK/fit.json")
    /usr/bin/time -v "$FLOOR" "$WORK/big.jpg" "$WORK/floor.jpg" "$width" "$height" \
        "$(identify -format %Q "$output")" 2>"$WORK/floor-time.txt" || true
    echo "  floor (same copy)  maximum resident set size: $(peak "$WORK/floor-time.txt")"
fi
