#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Each program answers --version with the project's version and --help without opening a
# window; its manual page documents every option its --help lists and no other; the bash
# completion of parcelo-fit offers the same options and the values of --format and --recipe.
# Usage: check_programs.sh SOURCE_DIR VERSION PARCELO_FIT [PARCELO]
set -euo pipefail
source_dir="$1" version="$2"
shift 2
failed=0
fail() { echo "FAIL: $*"; failed=1; }

# The options a --help text defines: those that start a line of its option list.
help_options() { grep -oE '^ +-{1,2}[a-z][-a-z]*(, --[a-z][-a-z]*)?' | grep -oE -- '-{1,2}[a-z][-a-z]*' | sort -u; }
# The options a manual page defines: those that head a tagged paragraph (.TP).
manual_options() {
  sed 's/\\-/-/g' "$1" | awk 'tagged { print; tagged = 0 } /^\.TP/ { tagged = 1 }' |
    grep -oE '(^|[ "])-{1,2}[a-z][-a-z]*' | grep -oE -- '-{1,2}[a-z][-a-z]*' | sort -u
}

for program in "$@"; do
  name=$(basename "$program")
  # Without a display a window could not even be tried: an answer proves none was opened.
  run() { env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb "$program" "$@"; }
  [ "$(run --version)" = "$name $version" ] || fail "$name --version says “$(run --version 2>&1)”, not “$name $version”"
  help=$(run --help) || fail "$name --help failed"
  grep -q "^Usage: $name " <<<"$help" || fail "$name --help shows no usage"
  page="$source_dir/data/man/$name.1"
  if ! difference=$(diff <(help_options <<<"$help") <(manual_options "$page")); then
    fail "the options of $name --help (<) and of $name(1) (>) differ:"
    echo "$difference"
  fi
done

# The completion, as bash runs it for a user who typed the words given and pressed Tab; the
# user has saved no recipes, so the examples are the recipes offered.
fit="$1"
no_preferences=$(mktemp -d)
trap 'rm -rf "$no_preferences"' EXIT
completions() {
  XDG_CONFIG_HOME="$no_preferences" bash -c '
    source /usr/share/bash-completion/bash_completion
    source "$1"; shift
    COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMP_LINE="$*"; COMP_POINT=${#COMP_LINE}
    _parcelo_fit "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    printf "%s\n" "${COMPREPLY[@]}" | sort' completion "$source_dir/data/bash-completion/parcelo-fit" "$fit" "$@"
}
expect_completions() {
  local expected="$1"; shift
  local got; got=$(completions "$@")
  [ "$got" = "$expected" ] || fail "completing “$*” offers “${got//$'\n'/ }”, not “${expected//$'\n'/ }”"
}
expect_completions "$(help_options <<<"$("$fit" --help)" | grep -- "^--")" --
expect_completions $'auto\njpeg\npng' --format ''
expect_completions 'jpeg' --format=j
expect_completions 'Square\ thumbnail' --recipe Sq
expect_completions '' --kb ''

[ $failed -eq 0 ] && echo "versions, manual pages and completion agree with the programs"
exit $failed
