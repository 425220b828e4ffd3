#!/usr/bin/env bash
# Parcelo side by side with ImageMagick and with the floor (the least work any tool could do for
# the same copies), on the same images in the same run; then Parcelo's peak memory on a
# 100-megapixel photo, a two-worker folder run, and the expansion of a 19,999-entry folder tree.
#
#   bash bench/peers.sh CORPUS
#
# CORPUS holds photos/, orientation/, color/, formats/ and alpha/; every supported image there is
# used. PARCELO_BUILD_DIR names the build folder (default: build). PARCELO_BENCH_FILES=N keeps
# only the first N images, for a quick run while developing. All outputs go to a temporary
# folder that is removed at the end.
set -euo pipefail

CORPUS=${1:?usage: bash bench/peers.sh CORPUS}
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD=${PARCELO_BUILD_DIR:-$ROOT/build}
case $BUILD in /*) ;; *) BUILD=$ROOT/$BUILD ;; esac
FIT=$BUILD/src/cli/parcelo-fit
FLOOR=$BUILD/bench/parcelo-floor
EXPAND=$BUILD/bench/parcelo-expand
# The real ImageMagick 6 binary, not a wrapper that would add its own start-up to every call.
CONVERT=/usr/bin/convert
[[ -x $CONVERT ]] || CONVERT=$(command -v convert)
IDENTIFY=$(command -v identify)

for tool in "$FIT" "$FLOOR" "$CONVERT" "$IDENTIFY" /usr/bin/time; do
    [[ -x $tool ]] || { echo "peers.sh: missing $tool (build first: make build)" >&2; exit 2; }
done
command -v jq >/dev/null || { echo "peers.sh: jq is needed to read parcelo-fit --json" >&2; exit 2; }

WORK=$(mktemp -d "${TMPDIR:-/tmp}/parcelo-bench.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

mapfile -t FILES < <(find "$CORPUS"/photos "$CORPUS"/orientation "$CORPUS"/color \
    "$CORPUS"/formats "$CORPUS"/alpha -type f \( -iname '*.jpg' -o -iname '*.jpeg' \
    -o -iname '*.png' -o -iname '*.heic' -o -iname '*.heif' -o -iname '*.tif' -o -iname '*.tiff' \
    -o -iname '*.bmp' -o -iname '*.gif' \) | LC_ALL=C sort)
if [[ ${PARCELO_BENCH_FILES:-0} -gt 0 ]]; then FILES=("${FILES[@]:0:$PARCELO_BENCH_FILES}"); fi
[[ ${#FILES[@]} -gt 0 ]] || { echo "peers.sh: no images under $CORPUS" >&2; exit 2; }

# Every tool reads the images from a warm file cache.
cat "${FILES[@]}" >/dev/null

now() { echo "$EPOCHREALTIME"; }
elapsed() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", b - a }'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "n/a" }'; }

# Prints "produced within meanBytesOverLimit meanMegapixels meanJpegQuality" for a folder of copies.
summarize() {
    local dir=$1 limit=$2 file
    for file in "$dir"/*; do
        [[ -f $file ]] || continue
        printf '%s %s\n' "$(stat -c %s "$file")" "$("$IDENTIFY" -ping -format '%w %h %m %Q' "$file")"
    done | awk -v limit="$limit" '
        { n++; if ($1 <= limit) within++; share += $1 / limit; px += $2 * $3
          if ($4 == "JPEG") { jpegs++; q += $5 } }
        END { if (n == 0) { print "0 0 0 0 -"; exit }
              printf "%d %d %.3f %.2f %s\n", n, within, share / n, px / n / 1e6,
                     jpegs ? sprintf("%.1f", q / jpegs) : "-" }'
}

row() {  # tool seconds summary failed
    local tool=$1 seconds=$2 failed=$4
    read -r produced within share mp quality <<<"$3"
    printf '  %-13s %8s s  %5s/%-5s %11s  %9s MP  %6s  %6s\n' \
        "$tool" "$seconds" "$within" "$produced" "$share" "$mp" "$quality" "$failed"
}

header() {
    printf '  %-13s %10s  %11s %11s  %12s  %6s  %6s\n' tool time "within" "bytes÷limit" \
        "mean pixels" "mean Q" failed
}

# ImageMagick's convert on one image; "original size" has no -resize.
magick_one() {  # in out edge bytes
    local resize=()
    [[ $3 -gt 0 ]] && resize=(-resize "$3x$3>")
    "$CONVERT" "$1" -auto-orient -strip -colorspace sRGB "${resize[@]}" \
        -define "jpeg:extent=$4" "$2"
}

# One "IN OUT W H Q" job per fitted copy, with the quality Parcelo chose read back from the copy.
floor_jobs() {  # json outdir
    local source output width height index=0 quality
    jq -r 'select(.error == null) | [.source, .output, .width, .height] | @tsv' "$1" |
    while IFS=$'\t' read -r source output width height; do
        index=$((index + 1))
        if [[ $output == *.png ]]; then
            printf '%s\t%s/%03d.png\t%s\t%s\tpng\n' "$source" "$2" "$index" "$width" "$height"
        else
            quality=$("$IDENTIFY" -format '%Q' "$output")
            printf '%s\t%s/%03d.jpg\t%s\t%s\t%s\n' "$source" "$2" "$index" "$width" "$height" "$quality"
        fi
    done
}

compare_set() {  # kb edge
    local kb=$1 edge=$2 limit=$(($1 * 1000)) name="$1kb-$2px" start end i
    local label="$kb KB, longest edge $edge px"
    [[ $edge -eq 0 ]] && label="$kb KB, original size"
    local fitDir=$WORK/$name-parcelo magickDir=$WORK/$name-magick floorDir=$WORK/$name-floor
    mkdir -p "$fitDir" "$magickDir" "$floorDir"

    start=$(now)
    "$FIT" --jobs 1 --json --kb "$kb" --max-edge "$edge" --out "$fitDir" "${FILES[@]}" \
        >"$WORK/$name.json" 2>"$WORK/$name-parcelo.err" || true
    end=$(now)
    local fitSeconds; fitSeconds=$(elapsed "$start" "$end")
    local fitFailed; fitFailed=$(jq -s 'map(select(.error != null)) | length' "$WORK/$name.json")

    local magickFailed=0
    start=$(now)
    for i in "${!FILES[@]}"; do
        local stem; stem=$(basename "${FILES[$i]}"); stem=${stem%.*}
        magick_one "${FILES[$i]}" "$magickDir/$(printf %03d "$i")-$stem.jpg" "$edge" "$limit" \
            2>>"$WORK/$name-magick.err" || magickFailed=$((magickFailed + 1))
    done
    end=$(now)
    local magickSeconds; magickSeconds=$(elapsed "$start" "$end")

    floor_jobs "$WORK/$name.json" "$floorDir" >"$WORK/$name-floor.jobs"
    local pngs; pngs=$(grep -c $'\tpng$' "$WORK/$name-floor.jobs" || true)
    local floorFailed=0
    start=$(now)
    "$FLOOR" - <"$WORK/$name-floor.jobs" 2>"$WORK/$name-floor.err" || floorFailed=1
    end=$(now)
    local floorSeconds; floorSeconds=$(elapsed "$start" "$end")
    [[ $floorFailed -eq 0 ]] || floorFailed=$(grep -c '^parcelo-floor:' "$WORK/$name-floor.err" || true)

    echo
    echo "$label — ${#FILES[@]} images, limit $limit bytes"
    header
    row parcelo-fit "$fitSeconds" "$(summarize "$fitDir" "$limit")" "$fitFailed"
    row imagemagick "$magickSeconds" "$(summarize "$magickDir" "$limit")" "$magickFailed"
    row floor "$floorSeconds" "$(summarize "$floorDir" "$limit")" "$floorFailed"
    echo "  Parcelo's time ÷ ImageMagick's: $(ratio "$fitSeconds" "$magickSeconds")" \
         "   ÷ the floor's: $(ratio "$fitSeconds" "$floorSeconds")" \
         "   (the floor made Parcelo's $pngs PNG copies as one PNG encode each)"
    if [[ $fitFailed -gt 0 ]]; then
        echo "  parcelo-fit failures:"
        jq -r 'select(.error != null) | "    \(.source): \(.error)"' "$WORK/$name.json"
    fi
    if [[ $magickFailed -gt 0 ]]; then sed 's/^/    /' "$WORK/$name-magick.err" | head -n 5; fi
}

echo "Parcelo benchmark: $(nproc) cores, $(date -u +%Y-%m-%dT%H:%M:%SZ)"
echo "  parcelo-fit: $FIT"
echo "  ImageMagick: $("$CONVERT" -version | head -n 1)"
echo "  libvips:     $(vips --version)"
echo "  columns: wall time for all images; copies within the byte limit / copies made;"
echo "  mean of bytes ÷ limit; mean pixels per copy; mean JPEG quality (identify %Q); failed images"

compare_set 500 1920
compare_set 100 0

# Two workers on a folder: parcelo-fit --jobs 2 against ImageMagick fed by xargs -P 2.
folder_run() {
    local kb=500 edge=1920 limit=500000 folder=$WORK/folder i start end
    mkdir -p "$folder" "$WORK/folder-parcelo" "$WORK/folder-magick"
    for i in "${!FILES[@]}"; do cp "${FILES[$i]}" "$folder/$(printf %03d "$i")-$(basename "${FILES[$i]}")"; done
    cat "$folder"/* >/dev/null

    start=$(now)
    "$FIT" --jobs 2 --json --kb "$kb" --max-edge "$edge" --out "$WORK/folder-parcelo" "$folder" \
        >"$WORK/folder.json" 2>/dev/null || true
    end=$(now)
    local fitSeconds; fitSeconds=$(elapsed "$start" "$end")

    export -f magick_one
    export CONVERT
    start=$(now)
    # xargs puts the image last: $1 output folder, $2 edge, $3 limit, $4 image.
    find "$folder" -type f -print0 | xargs -0 -P 2 -n 1 bash -c \
        'stem=$(basename "$4"); magick_one "$4" "$1/${stem%.*}.jpg" "$2" "$3"' _ \
        "$WORK/folder-magick" "$edge" "$limit" 2>/dev/null || true
    end=$(now)
    local magickSeconds; magickSeconds=$(elapsed "$start" "$end")

    echo
    echo "Folder of ${#FILES[@]} images, two at a time, $kb KB, longest edge $edge px"
    header
    row "parcelo-fit" "$fitSeconds" "$(summarize "$WORK/folder-parcelo" "$limit")" \
        "$(jq -s 'map(select(.error != null)) | length' "$WORK/folder.json")"
    row "imagemagick" "$magickSeconds" "$(summarize "$WORK/folder-magick" "$limit")" -
    echo "  Parcelo's time ÷ ImageMagick's: $(ratio "$fitSeconds" "$magickSeconds")"
}
folder_run

bash "$ROOT/bench/memory.sh" "$FIT"

echo
if [[ -x $EXPAND ]]; then "$EXPAND"; else echo "expand: $EXPAND not built"; fi
