#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Installs the Debian packages that Parcelo needs to build, test, run and benchmark.
# Does nothing when every package is already present.
set -euo pipefail

packages=(
  # build
  cmake g++ make pkg-config
  # engine
  libvips-dev libvips-tools libjpeg-dev libicu-dev nlohmann-json3-dev liblcms2-dev
  # tests (the view tests draw through OpenGL on a virtual X server; zlib checksums hand-made PNGs)
  libgtest-dev libgmock-dev xvfb zlib1g-dev
  # application
  qt6-base-dev qt6-declarative-dev qml6-module-qtquick qml6-module-qtquick-controls
  qml6-module-qtquick-layouts qml6-module-qtquick-templates
  qml6-module-qtquick-window qml6-module-qtqml-workerscript qml6-module-qtquick-shapes
  qt6-qpa-plugins
  # the type descriptions of QtQml itself (the Qt namespace, Connections, point/size/rect), which
  # qmllint reads to check the views
  qml6-module-qtqml qml6-module-qtqml-models
  # the look: Inter, and Breeze symbols drawn through Qt’s SVG plugins
  fonts-inter breeze-icon-theme libqt6svg6
  # the desktop's file chooser through the XDG desktop portal, tested in a private D-Bus session
  xdg-desktop-portal dbus-daemon
  # desktop integration: validators for the desktop entry and AppStream data, the .deb's dependencies
  desktop-file-utils appstream dpkg-dev
  # what a distribution checks: every file's licence, the package, the shell completion; the
  # window on Wayland under a compositor of its own
  reuse lintian bash-completion qt6-wayland weston python3
  # benchmarks and test tools
  imagemagick time jq
  # fuzzing (make fuzz): libFuzzer and the sanitizers' runtime come with clang
  clang-14 libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
