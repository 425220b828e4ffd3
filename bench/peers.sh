#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Parcelo side by side with ImageMagick and with the floor (the least work any tool could do for
# the same copies), on the same images in the same run; then the window's thumbnails, Parcelo's
# peak memory on a 100-megapixel photo, a two-worker folder run, and the expansion of a
# 19,999-entry folder tree.
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
PREVIEW=$BUILD/bench/parcelo-preview
BATCH=$BUILD/bench/parcelo-batch-bench
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

ROUNDS=${PARCELO_BENCH_ROUNDS:-2}

# Runs a command under GNU time and appends "wall cpu" seconds (cpu = user + system, children
# included) to the file named first. Other work on the machine stretches wall time far more than
# CPU time, so both are kept, and the best of the rounds counts.
timed() {
    local record=$1 raw; shift
    raw=$(mktemp "$WORK/time.XXXXXX")
    /usr/bin/time -f '%e %U %S' -o "$raw" "$@" || true
    tail -n 1 "$raw" | awk '{ printf "%.2f %.2f\n", $1, $2 + $3 }' >>"$record"
    rm -f "$raw"
}
# "wall cpu": the smallest of each over the rounds recorded.
best() { sort -n -k1,1 "$1" | head -n 1 | cut -d' ' -f1; sort -n -k2,2 "$1" | head -n 1 | cut -d' ' -f2; }
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

row() {  # tool wall cpu summary failed
    local tool=$1 wall=$2 cpu=$3 failed=$5
    read -r produced within share mp quality <<<"$4"
    printf '  %-12s %8s s %8s s  %5s/%-5s %11s  %8s MP  %6s  %6s\n' \
        "$tool" "$wall" "$cpu" "$within" "$produced" "$share" "$mp" "$quality" "$failed"
}

header() {
    printf '  %-12s %10s %10s  %11s %11s  %11s  %6s  %6s\n' tool wall cpu "within" \
        "bytes÷limit" "mean pixels" "mean Q" failed
}

ratios() {  # label parcelo-wall parcelo-cpu other-wall other-cpu
    printf '  Parcelo ÷ %-12s wall %5s   cpu %5s\n' "$1:" "$(ratio "$2" "$4")" "$(ratio "$3" "$5")"
}

# ImageMagick's convert on one image, as a script of its own so that xargs can run it too;
# "original size" has no -resize. Arguments: image, output, edge (0: original size), bytes.
MAGICK_ONE=$WORK/magick-one.sh
cat >"$MAGICK_ONE" <<EOF
resize=()
[[ \$3 -gt 0 ]] && resize=(-resize "\$3x\$3>")
exec "$CONVERT" "\$1" -auto-orient -strip -colorspace sRGB "\${resize[@]}" -define "jpeg:extent=\$4" "\$2"
EOF

# ImageMagick over a list of images, one convert each, named by their place in the list.
MAGICK_LIST=$WORK/magick-list.sh
cat >"$MAGICK_LIST" <<EOF
i=0
while IFS= read -r image; do
    stem=\$(basename "\$image")
    bash "$MAGICK_ONE" "\$image" "\$2/\$(printf %03d \$i)-\${stem%.*}.jpg" "\$3" "\$4" || true
    i=\$((i + 1))
done <"\$1"
EOF

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
    local kb=$1 edge=$2 limit=$(($1 * 1000)) name="$1kb-$2px" round
    local label="$kb KB, longest edge $edge px"
    [[ $edge -eq 0 ]] && label="$kb KB, original size"
    local fitDir=$WORK/$name-parcelo magickDir=$WORK/$name-magick floorDir=$WORK/$name-floor
    printf '%s\n' "${FILES[@]}" >"$WORK/$name.list"

    for ((round = 1; round <= ROUNDS; round++)); do
        rm -rf "$fitDir" "$magickDir" "$floorDir"
        mkdir -p "$fitDir" "$magickDir" "$floorDir"
        timed "$WORK/$name-parcelo.time" "$FIT" --jobs 1 --json --kb "$kb" --max-edge "$edge" \
            --out "$fitDir" "${FILES[@]}" >"$WORK/$name.json" 2>"$WORK/$name-parcelo.err"
        timed "$WORK/$name-magick.time" bash "$MAGICK_LIST" "$WORK/$name.list" "$magickDir" "$edge" "$limit" 2>>"$WORK/$name-magick.err"
        [[ $round -eq 1 ]] && floor_jobs "$WORK/$name.json" "$floorDir" >"$WORK/$name-floor.jobs"
        timed "$WORK/$name-floor.time" "$FLOOR" - <"$WORK/$name-floor.jobs" 2>"$WORK/$name-floor.err"
    done

    local fitFailed; fitFailed=$(jq -s 'map(select(.error != null)) | length' "$WORK/$name.json")
    local magickMade; magickMade=$(find "$magickDir" -type f | wc -l)
    local floorFailed; floorFailed=$(grep -c '^parcelo-floor:' "$WORK/$name-floor.err" || true)
    local pngs; pngs=$(grep -c $'\tpng$' "$WORK/$name-floor.jobs" || true)
    local fitTimes magickTimes floorTimes
    mapfile -t fitTimes < <(best "$WORK/$name-parcelo.time")
    mapfile -t magickTimes < <(best "$WORK/$name-magick.time")
    mapfile -t floorTimes < <(best "$WORK/$name-floor.time")

    echo
    echo "$label — ${#FILES[@]} images, limit $limit bytes, best of $ROUNDS rounds"
    header
    row parcelo-fit "${fitTimes[@]}" "$(summarize "$fitDir" "$limit")" "$fitFailed"
    row imagemagick "${magickTimes[@]}" "$(summarize "$magickDir" "$limit")" $((${#FILES[@]} - magickMade))
    row floor "${floorTimes[@]}" "$(summarize "$floorDir" "$limit")" "$floorFailed"
    ratios ImageMagick "${fitTimes[@]}" "${magickTimes[@]}"
    ratios "the floor" "${fitTimes[@]}" "${floorTimes[@]}"
    printf '  images per second (wall / per CPU second): Parcelo %s / %s, ImageMagick %s / %s, floor %s / %s\n' \
        "$(ratio ${#FILES[@]} "${fitTimes[0]}")" "$(ratio ${#FILES[@]} "${fitTimes[1]}")" \
        "$(ratio ${#FILES[@]} "${magickTimes[0]}")" "$(ratio ${#FILES[@]} "${magickTimes[1]}")" \
        "$(ratio ${#FILES[@]} "${floorTimes[0]}")" "$(ratio ${#FILES[@]} "${floorTimes[1]}")"
    echo "  (the floor made Parcelo's $pngs PNG copies of transparent images with one PNG encode each)"
    if [[ $fitFailed -gt 0 ]]; then
        echo "  parcelo-fit failures:"
        jq -r 'select(.error != null) | "    \(.source): \(.error)"' "$WORK/$name.json"
    fi
    if [[ -s $WORK/$name-magick.err ]]; then
        echo "  ImageMagick said:"; sort -u "$WORK/$name-magick.err" | head -n 5 | sed 's/^/    /'
    fi
}

echo "Parcelo benchmark: $(nproc) cores, $(date -u +%Y-%m-%dT%H:%M:%SZ)"
echo "  parcelo-fit: $FIT"
echo "  ImageMagick: $("$CONVERT" -version | head -n 1)"
echo "  libvips:     $(vips --version)"
echo "  load average before the run: $(cut -d' ' -f1-3 /proc/loadavg)"
echo "  columns: wall and CPU (user + system) seconds for all images; copies within the byte limit"
echo "  / copies made; mean of bytes ÷ limit; mean pixels per copy; mean JPEG quality (identify %Q)"
echo "  of the JPEG copies; images without a copy"

# PARCELO_BENCH_PARTS picks parts of the run (default: all of them).
PARTS=${PARCELO_BENCH_PARTS:-500 100 folder previews batch memory many expand}
wants() { [[ " $PARTS " == *" $1 "* ]]; }

wants 500 && compare_set 500 1920
wants 100 && compare_set 100 0

# Two workers on a folder: parcelo-fit --jobs 2 against ImageMagick fed by xargs -P 2.
folder_run() {
    local kb=500 edge=1920 limit=500000 folder=$WORK/folder i round
    mkdir -p "$folder"
    for i in "${!FILES[@]}"; do cp "${FILES[$i]}" "$folder/$(printf %03d "$i")-$(basename "${FILES[$i]}")"; done
    cat "$folder"/* >/dev/null
    # xargs hands each image to a small script: $1 output folder, $2 edge, $3 limit, $4 image.
    cat >"$WORK/magick-each.sh" <<EOF
stem=\$(basename "\$4")
bash "$MAGICK_ONE" "\$4" "\$1/\${stem%.*}.jpg" "\$2" "\$3"
EOF
    printf '%s\0' "$folder"/* >"$WORK/folder.list"

    for ((round = 1; round <= ROUNDS; round++)); do
        rm -rf "$WORK/folder-parcelo" "$WORK/folder-magick"
        mkdir -p "$WORK/folder-parcelo" "$WORK/folder-magick"
        timed "$WORK/folder-parcelo.time" "$FIT" --jobs 2 --json --kb "$kb" --max-edge "$edge" \
            --out "$WORK/folder-parcelo" "$folder" >"$WORK/folder.json" 2>/dev/null
        timed "$WORK/folder-magick.time" xargs -0 -P 2 -n 1 -a "$WORK/folder.list" \
            bash "$WORK/magick-each.sh" "$WORK/folder-magick" "$edge" "$limit" 2>/dev/null
    done

    local fitTimes magickTimes magickMade
    mapfile -t fitTimes < <(best "$WORK/folder-parcelo.time")
    mapfile -t magickTimes < <(best "$WORK/folder-magick.time")
    magickMade=$(find "$WORK/folder-magick" -type f | wc -l)
    echo
    echo "Folder of ${#FILES[@]} images, two at a time, $kb KB, longest edge $edge px, best of $ROUNDS rounds"
    header
    row parcelo-fit "${fitTimes[@]}" "$(summarize "$WORK/folder-parcelo" "$limit")" \
        "$(jq -s 'map(select(.error != null)) | length' "$WORK/folder.json")"
    row imagemagick "${magickTimes[@]}" "$(summarize "$WORK/folder-magick" "$limit")" \
        $((${#FILES[@]} - magickMade))
    ratios ImageMagick "${fitTimes[@]}" "${magickTimes[@]}"
    both_cores "$folder" "$kb" "$edge"
}

# Whether two workers use both cores: the wall time of --jobs 2 against the CPU time the same
# work takes in one thread (--jobs 1, VIPS_CONCURRENCY=1). On two quiet cores the ratio can
# reach 0.5; other work on the machine stretches the wall time, so the CPU time of --jobs 2
# against the one thread's is printed too: it is the work that running two at once adds, and
# other load hardly moves it.
both_cores() {  # folder kb edge
    local round oneTimes twoTimes
    for ((round = 1; round <= ROUNDS; round++)); do
        rm -rf "$WORK/cores-one" "$WORK/cores-two"
        mkdir -p "$WORK/cores-one" "$WORK/cores-two"
        timed "$WORK/cores-one.time" env VIPS_CONCURRENCY=1 "$FIT" --jobs 1 --kb "$2" --max-edge "$3" \
            --out "$WORK/cores-one" "$1" >/dev/null 2>&1
        timed "$WORK/cores-two.time" "$FIT" --jobs 2 --kb "$2" --max-edge "$3" \
            --out "$WORK/cores-two" "$1" >/dev/null 2>&1
    done
    mapfile -t oneTimes < <(best "$WORK/cores-one.time")
    mapfile -t twoTimes < <(best "$WORK/cores-two.time")
    echo "  Both cores: --jobs 1 in one thread ${oneTimes[0]} s wall, ${oneTimes[1]} s cpu; --jobs 2 ${twoTimes[0]} s wall, ${twoTimes[1]} s cpu"
    echo "    wall(--jobs 2) ÷ cpu(one thread) $(ratio "${twoTimes[0]}" "${oneTimes[1]}") (0.50 is both cores fully used; load now $(cut -d' ' -f1 /proc/loadavg))"
    echo "    cpu(--jobs 2) ÷ cpu(one thread)  $(ratio "${twoTimes[1]}" "${oneTimes[1]}") (the work two at once adds)"
}
wants folder && folder_run

# The previews of large progressive JPEGs (the list's 400-pixel thumbnails and the preview stage's
# 1,600 pixels) against vipsthumbnail at the same size: each tool makes every preview in one
# process, and only the decoded pixels count (vipsthumbnail writes them raw, as .v files).
previews() {
    local large=() file edge round
    for file in "${FILES[@]}"; do
        [[ $file == *.jpg || $file == *.jpeg ]] || continue
        [[ $("$IDENTIFY" -ping -format '%[interlace] %[fx:max(w,h)]' "$file") =~ ^JPEG\ ([0-9]+)$ ]] || continue
        [[ ${BASH_REMATCH[1]} -gt 1600 ]] && large+=("$file")
    done
    echo
    if [[ ! -x $PREVIEW || ${#large[@]} -eq 0 ]]; then
        echo "Previews: no parcelo-preview or no progressive JPEG over 1,600 px"; return
    fi
    echo "Previews of the ${#large[@]} progressive JPEGs over 1,600 px ($(for file in "${large[@]}"; do basename "$file"; done | paste -sd' ')), best of $ROUNDS rounds"
    mkdir -p "$WORK/thumbs"
    for edge in 400 1600; do
        for ((round = 1; round <= ROUNDS; round++)); do
            timed "$WORK/preview-$edge.time" "$PREVIEW" "$edge" "${large[@]}"
            timed "$WORK/thumbnail-$edge.time" vipsthumbnail -s "$edge" -o "$WORK/thumbs/%s-$edge.v" "${large[@]}"
        done
        local ours theirs
        mapfile -t ours < <(best "$WORK/preview-$edge.time")
        mapfile -t theirs < <(best "$WORK/thumbnail-$edge.time")
        printf '  %4d px: parcelo %s s wall, %s s cpu; vipsthumbnail %s s wall, %s s cpu\n' "$edge" "${ours[@]}" "${theirs[@]}"
        ratios vipsthumbnail "${ours[@]}" "${theirs[@]}"
    done
}
wants previews && previews

# The window's thumbnails: 200 of the corpus's photos added to the real window, drawn offscreen;
# the round with the most thumbnails per second is shown. Only when the app was built.
batch() {
    local round best=0 rate
    echo
    if [[ ! -x $BATCH ]]; then echo "Batch: no parcelo-batch-bench (the app was not built)"; return; fi
    echo "A batch of 200 photos in the window (parcelo-batch-bench), best of $ROUNDS rounds"
    for ((round = 1; round <= ROUNDS; round++)); do
        QT_QPA_PLATFORM=offscreen "$BATCH" "$CORPUS" 200 >"$WORK/batch-$round.txt" 2>/dev/null || true
        rate=$(awk '/^thumbnails/ { print $(NF - 4) }' "$WORK/batch-$round.txt")
        if awk -v a="${rate:-0}" -v b="$best" 'BEGIN { exit !(a > b) }'; then best=$rate; cp "$WORK/batch-$round.txt" "$WORK/batch.txt"; fi
    done
    if [[ -s $WORK/batch.txt ]]; then sed 's/^/  /' "$WORK/batch.txt"; else echo "  parcelo-batch-bench failed"; fi
}
wants batch && batch

wants memory && bash "$ROOT/bench/memory.sh" "$FIT" "$FLOOR"

wants many && bash "$ROOT/bench/many-files.sh" "$FIT" "${FILES[@]}"

echo
if wants expand; then
    if [[ -x $EXPAND ]]; then "$EXPAND"; else echo "expand: $EXPAND not built"; fi
fi
