#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Every file of the source tree says who holds its copyright and under which licence.
set -uo pipefail
script="$(realpath "$0")"
cd "$1"
if ! reuse lint; then
  echo
  echo "A new file starts with the two lines every source carries, in its own comment syntax:"
  sed -n '2,3p' "$script"
  echo "A file whose format has no comments (data, images, Markdown) gets a stanza in .reuse/dep5."
  exit 1
fi
