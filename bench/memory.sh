#!/usr/bin/env bash
# Parcelo's peak memory on the largest photo it accepts: a 10,000 × 10,000 JPEG (100 megapixels,
# made here once at quality 90) fitted at its original size (capped at 8,192 px) into 1,000 KB.
#
#   bash bench/memory.sh PATH/TO/parcelo-fit
set -euo pipefail

FIT=${1:?usage: bash bench/memory.sh PATH/TO/parcelo-fit}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/parcelo-memory.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

# Smooth colour blobs, like a photo's: noise at 1,000 px enlarged ten times.
for band in r g b; do vips gaussnoise "$WORK/$band.v" 1000 1000 --mean 128 --sigma 40; done
vips bandjoin "$WORK/r.v $WORK/g.v $WORK/b.v" "$WORK/noise.v"
vips resize "$WORK/noise.v" "$WORK/big.jpg[Q=90]" 10
rm -f "$WORK"/*.v
cat "$WORK/big.jpg" >/dev/null

mkdir -p "$WORK/out"
/usr/bin/time -v "$FIT" --json --max-edge 0 --kb 1000 --out "$WORK/out" "$WORK/big.jpg" \
    >"$WORK/fit.json" 2>"$WORK/time.txt" || true

kbytes=$(awk -F': ' '/Maximum resident set size/ { print $2 }' "$WORK/time.txt")
wall=$(awk -F': ' '/Elapsed \(wall clock\)/ { print $2 }' "$WORK/time.txt")
echo
echo "Memory: 10000×10000 JPEG ($(stat -c %s "$WORK/big.jpg") bytes), --max-edge 0 --kb 1000"
echo "  maximum resident set size: $(awk -v k="$kbytes" 'BEGIN { printf "%.0f MB (%d KiB)", k * 1024 / 1e6, k }')"
echo "  wall time: $wall"
echo "  result: $(jq -r '"\(.width)×\(.height) \(.format), \(.bytes) bytes, error: \(.error)"' "$WORK/fit.json")"
