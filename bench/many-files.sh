#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Whether parcelo-fit's memory stays flat with the number of files: its peak resident memory
# over 20 and over 5,000 images in nested folders (hard links to the given images taken in
# turn, 50 to a folder, two folders deep), the second as a ratio to the first; then its peak
# while it looks through a folder of 50,000 names, more than a selection may hold, which it
# refuses after counting, beside its peak given an empty folder.
#
#   bash bench/many-files.sh PATH/TO/parcelo-fit IMAGE...
#
# The images are taken largest file first, so that the 20 hold the heaviest decodes and the
# ratio shows only what the number of files adds. Each is fitted to 50 KB at a longest edge of
# 400 px: every source is still decoded, and the run stays short.
set -euo pipefail

FIT=${1:?usage: bash bench/many-files.sh PATH/TO/parcelo-fit IMAGE...}
shift
[[ $# -gt 0 ]] || { echo "many-files.sh: no images given" >&2; exit 2; }
WORK=$(mktemp -d "${TMPDIR:-/tmp}/parcelo-many.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

mapfile -t IMAGES < <(ls -S -- "$@")

# COUNT hard links (copies where the file system refuses a link), 50 to a folder, two deep.
tree() {  # folder count
    local index image
    for ((index = 0; index < $2; index++)); do
        local dir=$1/$((index / 500))/$((index / 50 % 10))
        [[ -d $dir ]] || mkdir -p "$dir"
        image=${IMAGES[index % ${#IMAGES[@]}]}
        ln "$image" "$dir/$index-$(basename "$image")" 2>/dev/null || cp "$image" "$dir/$index-$(basename "$image")"
    done
}

# "peakKiB wallSeconds cpuSeconds" of one parcelo-fit run (cpu = user + system).
peak() {  # the arguments of parcelo-fit
    local report=$WORK/time.txt
    /usr/bin/time -f '%M %e %U %S' -o "$report" "$FIT" "$@" >/dev/null 2>&1 || true
    tail -n 1 "$report" | awk '{ printf "%s %s %.2f\n", $1, $2, $3 + $4 }'
}

echo
echo "Memory over many files: parcelo-fit --jobs 2 --kb 50 --max-edge 400 over N images in nested folders"
base=0
for count in ${PARCELO_MANY_COUNTS:-20 5000}; do
    tree "$WORK/in-$count" "$count"
    mkdir -p "$WORK/out-$count"
    read -r kib seconds cpu <<<"$(peak --jobs 2 --kb 50 --max-edge 400 --out "$WORK/out-$count" "$WORK/in-$count")"
    made=$(find "$WORK/out-$count" -type f | wc -l)
    [[ $base -gt 0 ]] || base=$kib
    printf '  %5d images: %4.0f MB peak, %.2f × the peak over 20 (%d copies made, %s s wall, %s s cpu)\n' "$count" \
        "$(awk -v k="$kib" 'BEGIN { print k * 1024 / 1e6 }')" "$(awk -v a="$kib" -v b="$base" 'BEGIN { print a / b }')" \
        "$made" "$seconds" "$cpu"
    rm -rf "$WORK/in-$count" "$WORK/out-$count"
done

# 50,000 names in one folder: empty files, refused as more than a selection may hold, beside
# the same command given an empty folder (what the process itself takes).
mkdir -p "$WORK/wide" "$WORK/empty" "$WORK/wide-out"
(cd "$WORK/wide" && seq -f 'f%.0f.jpg' 1 50000 | xargs touch)
read -r kib seconds _ <<<"$(peak --jobs 2 --kb 50 --out "$WORK/wide-out" "$WORK/wide")"
read -r emptyKib _ <<<"$(peak --jobs 2 --kb 50 --out "$WORK/wide-out" "$WORK/empty")"
printf '  a folder of 50,000 names: %.0f MB peak, refused in %s s; an empty folder: %.0f MB\n' \
    "$(awk -v k="$kib" 'BEGIN { print k * 1024 / 1e6 }')" "$seconds" "$(awk -v k="$emptyKib" 'BEGIN { print k * 1024 / 1e6 }')"
