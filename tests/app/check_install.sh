#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Installs the build into a scratch prefix and checks what the desktop will find there.
set -euo pipefail
build="$1"
prefix="$(mktemp -d)"
trap 'rm -rf "$prefix"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null
for file in bin/parcelo bin/parcelo-fit; do
  [ -x "$prefix/$file" ] || { echo "missing executable $file"; exit 1; }
done
desktop="$prefix/share/applications/app.parcelo.Parcelo.desktop"
icon="$prefix/share/icons/hicolor/scalable/apps/app.parcelo.Parcelo.svg"
metainfo="$prefix/share/metainfo/app.parcelo.Parcelo.metainfo.xml"
for file in "$desktop" "$icon" "$metainfo"; do
  [ -s "$file" ] || { echo "missing $file"; exit 1; }
done
desktop-file-validate "$desktop"
appstreamcli validate --no-net "$metainfo"
grep -qx 'Exec=parcelo %F' "$desktop"
grep -qx 'MimeType=image/jpeg;image/png;image/heic;image/heif;image/tiff;image/bmp;image/gif;' "$desktop"
echo "install layout and desktop files valid"
