#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# Builds the Debian package from the build folder, as `make package` does, and checks it as a
# distribution would: lintian finds no error and no warning, the programs are hardened and look
# for libraries only where the system keeps them, it pulls in what it loads at run time, and its
# changelog and AppStream releases name the version it carries.
# Usage: check_package.sh BUILD_DIR VERSION SOURCE_DIR
set -euo pipefail
build="$1" version="$2" source_dir="$3"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=0
fail() { echo "FAIL: $*"; failed=1; }

cpack --config "$build/CPackConfig.cmake" -B "$scratch" >/dev/null
deb=$(echo "$scratch"/parcelo_"$version"_*.deb)
[ -f "$deb" ] || { echo "FAIL: no package parcelo_${version}_*.deb"; exit 1; }

# Every tag lintian has for the package is shown, so that a new note is seen; an error or a
# warning fails.
lintian --display-level '>=pedantic' --fail-on error,warning "$deb" >"$scratch/lintian" 2>&1 ||
  fail "lintian reports an error or a warning"
grep -v 'running with root privileges' "$scratch/lintian" || true

dpkg-deb -x "$deb" "$scratch/root"
for binary in "$scratch"/root/usr/bin/*; do
  name=$(basename "$binary")
  dynamic=$(readelf --dynamic --wide "$binary")
  headers=$(readelf --program-headers --wide "$binary")
  symbols=$(readelf --dyn-syms --wide "$binary")
  grep -qE '\((RPATH|RUNPATH)\)' <<<"$dynamic" && fail "$name has a RUNPATH: $(grep -E 'R(UN)?PATH' <<<"$dynamic")"
  grep -qE 'FLAGS_1.*\bPIE\b' <<<"$dynamic" || fail "$name is not a position-independent executable"
  grep -qE 'FLAGS.*\bBIND_NOW\b|FLAGS_1.*\bNOW\b' <<<"$dynamic" || fail "$name binds lazily (no BIND_NOW)"
  grep -q 'GNU_RELRO' <<<"$headers" || fail "$name has no RELRO segment"
  grep -q '__stack_chk_fail' <<<"$symbols" || fail "$name is built without the stack protector"
  grep -qE '__[a-z_]+_chk\b' <<<"$(grep -v __stack_chk_fail <<<"$symbols")" || fail "$name calls no fortified function"
done

depends=$(dpkg-deb --field "$deb" Depends)
for package in qt6-wayland qt6-qpa-plugins; do
  grep -qE "(^|, )$package(,|$| )" <<<"$depends" || fail "the package does not depend on $package"
done

changelog_version=$(dpkg-parsechangelog -l "$source_dir/data/debian/changelog" -S Version)
[ "$changelog_version" = "$version" ] || fail "the changelog's latest version is $changelog_version, the project's $version"
release_date=$(date -u -d "$(dpkg-parsechangelog -l "$source_dir/data/debian/changelog" -S Date)" +%F)
grep -q "<release version=\"$version\" date=\"$release_date\">" "$source_dir/data/app.parcelo.Parcelo.metainfo.xml" ||
  fail "the AppStream metadata has no release $version of $release_date, as the changelog has"

[ $failed -eq 0 ] && echo "the package is lintian-clean, hardened and complete"
exit $failed
