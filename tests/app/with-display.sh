#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Runs a view test beside an X server of its own. Offscreen, Qt Quick draws with its software
# renderer, which leaves out shader effects (shadows, gradients); with an X display the offscreen
# platform renders through OpenGL (Mesa's llvmpipe), so screenshots show what a user sees.
# Xvfb picks a free display number itself, so parallel tests never share one. The private folder
# that passes the number on is the test's runtime folder too, as a desktop session has one.
set -euo pipefail

folder=$(mktemp -d)
fifo="$folder/display"
mkfifo "$fifo"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$fifo" 2>/dev/null &
server=$!
trap 'kill "$server" 2>/dev/null; rm -rf "$folder"' EXIT
read -r display <"$fifo"
DISPLAY=":$display" XDG_RUNTIME_DIR="$folder" "$@"
