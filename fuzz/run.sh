#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Runs each fuzzer in turn, at low priority, for SECONDS each, growing its corpus in the build
# folder, then replays that corpus to check that nothing but libFuzzer itself printed a line.
# Usage: fuzz/run.sh BUILD_DIR CORPUS_DIR SECONDS [TARGET...]   (targets: source fit stored scan)
set -euo pipefail
build=${1:?build folder}
corpus=${2:?image corpus folder}
seconds=${3:?seconds per target}
shift 3
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(source fit stored scan)
here=$(cd "$(dirname "$0")" && pwd)

[ -d "$build/fuzz-seeds/source" ] || bash "$here/make-seeds.sh" "$corpus" "$build/fuzz-seeds"

for target in "${targets[@]}"; do
  case $target in
    source|fit) options=(-dict="$here/formats.dict" -max_len=65536) ;;
    stored) options=(-dict="$here/stored.dict" -max_len=8192) ;;
    scan) options=(-max_len=2048) ;;
    *) echo "unknown target $target" >&2; exit 2 ;;
  esac
  work="$build/fuzz-corpus/$target"
  findings="$build/fuzz-findings/$target"
  log="$build/fuzz-logs/$target.log"
  mkdir -p "$work" "$findings" "$(dirname "$log")" "$build/fuzz-seeds/$target"
  echo "== fuzz_$target for ${seconds}s (log: $log)"
  status=0
  # A unit that runs 2 s is reported as slow, one that runs 10 s is a fault; 2 GB bounds memory.
  # Leaks are looked for in the replay below, once for all inputs: checking after every input
  # halves the speed.
  nice -n 10 "$build/fuzz/fuzz_$target" "${options[@]}" -max_total_time="$seconds" -timeout=10 -detect_leaks=0 \
    -report_slow_units=2 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings/" \
    "$work" "$build/fuzz-seeds/$target" >"$log" 2>&1 || status=$?
  grep -E 'DONE|Slowest unit' "$log" || true
  if [ $status -ne 0 ]; then
    echo "fuzz_$target found a fault (status $status); the input is in $findings" >&2
    grep -E 'ERROR|SUMMARY|==[0-9]+==' "$log" | head -n 5 >&2 || true
    exit 1
  fi
done

# Replays every corpus input once, with leak checking: any line that is not libFuzzer's own is
# a library talking, or a sanitizer's report.
for target in "${targets[@]}"; do
  stray=$(find "$build/fuzz-corpus/$target" "$build/fuzz-seeds/$target" -type f -print0 |
    xargs -0 -n 500 nice -n 10 "$build/fuzz/fuzz_$target" -runs=1 2>&1 |
    grep -vE '^(INFO|Running:|Executed|MERGE|\*\*\*|$)|^[A-Za-z_]+\.cpp' | grep -vE "^$build/fuzz/fuzz_$target:" || true)
  if [ -n "$stray" ]; then
    echo "fuzz_$target: library messages on the terminal:" >&2
    echo "$stray" | head -n 20 >&2
    exit 1
  fi
  echo "fuzz_$target: $(find "$build/fuzz-corpus/$target" -type f | wc -l) corpus inputs replayed without a stray line"
done
