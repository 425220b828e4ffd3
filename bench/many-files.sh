#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Whether parcelo-fit's memory stays flat with the number of files: its peak resident memory
# over 20, 1,000 and 5,000 small images in nested folders (hard links to a few small pictures,
# 50 to a folder), each as a ratio to the peak over 20; then the peak while it looks through a
# folder of 50,000 names, more than a selection may hold, which it refuses after counting.
#
#   bash bench/many-files.sh PATH/TO/parcelo-fit
set -euo pipefail

FIT=${1:?usage: bash bench/many-files.sh PATH/TO/parcelo-fit}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/parcelo-many.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

# Four small pictures with some detail, so that each fit encodes a few times.
for seed in 1 2 3 4; do
    vips gaussnoise "$WORK/n$seed.v" 160 120 --mean 128 --sigma 40 --seed "$seed"
    vips bandjoin_const "$WORK/n$seed.v" "$WORK/b$seed.v" "128 90"
    vips cast "$WORK/b$seed.v" "$WORK/c$seed.v" uchar
    vips copy "$WORK/c$seed.v" "$WORK/pic$seed.jpg[Q=95]" --interpretation srgb
done
rm -f "$WORK"/*.v

# COUNT hard links, 50 to a folder, two folders deep.
tree() {  # folder count
    local index
    for ((index = 0; index < $2; index++)); do
        local dir=$1/$((index / 500))/$((index / 50 % 10))
        [[ -d $dir ]] || mkdir -p "$dir"
        ln "$WORK/pic$((index % 4 + 1)).jpg" "$dir/img$index.jpg"
    done
}

# Maximum resident set size in KiB of one parcelo-fit run.
peakKib() {  # label, then the arguments of parcelo-fit
    local report=$WORK/time.txt; shift
    /usr/bin/time -v "$FIT" "$@" >/dev/null 2>"$report" || true
    awk -F': ' '/Maximum resident set size/ { print $2 }' "$report"
}

echo "Peak memory of parcelo-fit --jobs 2 --kb 10 over N small images in nested folders"
base=0
for count in 20 1000 5000; do
    tree "$WORK/in-$count" "$count"
    mkdir -p "$WORK/out-$count"
    kib=$(peakKib fit --jobs 2 --kb 10 --json --out "$WORK/out-$count" "$WORK/in-$count")
    made=$(find "$WORK/out-$count" -type f | wc -l)
    [[ $base -gt 0 ]] || base=$kib
    printf '  %5d images: %7d KiB peak, %.2f × the peak over 20 (%d copies made)\n' \
        "$count" "$kib" "$(awk -v a="$kib" -v b="$base" 'BEGIN { print a / b }')" "$made"
    rm -rf "$WORK/in-$count" "$WORK/out-$count"
done

# 50,000 names in one folder: empty files, refused as more than a selection may hold.
mkdir -p "$WORK/wide" "$WORK/wide-out"
(cd "$WORK/wide" && seq -f 'f%.0f.jpg' 1 50000 | xargs touch)
kib=$(peakKib list --jobs 2 --kb 10 --out "$WORK/wide-out" "$WORK/wide")
printf '  a folder of 50,000 names: %d KiB peak, %.2f × the peak over 20 images\n' \
    "$kib" "$(awk -v a="$kib" -v b="$base" 'BEGIN { print a / b }')"
