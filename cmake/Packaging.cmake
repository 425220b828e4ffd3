# SPDX-FileCopyrightText: 2026 The Parcelo developers
# SPDX-License-Identifier: GPL-3.0-or-later

# `make package`: a Debian package of Parcelo. The shared libraries it links come from
# dpkg-shlibdeps; what it loads at run time without linking (QML modules, the X11 and Wayland
# platform plugins, the image plugins, the icons and the font) is named here.
# The package is made from what the build folder holds: packing must not rebuild the programs,
# since the package test packs while other tests run them.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME parcelo)
set(CPACK_PACKAGE_VENDOR Parcelo)
set(CPACK_PACKAGE_CONTACT "Parcelo <support@parcelo.app>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Upload-ready copies of images within a size limit")
# Debian shows the description as it is written: lines of at most 79 characters.
set(CPACK_PACKAGE_DESCRIPTION "Parcelo makes upload-ready copies of whole batches of images for forms that
limit the file size, the largest edge or the exact pixel size. For each image
it finds the largest copy at the highest JPEG quality that fits, never
enlarged; copies are 8-bit sRGB, carry no metadata and are verified before
they are saved. Originals are never changed. Sources may be JPEG, PNG, HEIC,
HEIF, TIFF, BMP or GIF.
.
Includes parcelo-fit, the same engine on the command line for scripts.")
set(CPACK_PACKAGE_HOMEPAGE_URL https://parcelo.app)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
set(PARCELO_RUNTIME_PACKAGES
  qml6-module-qtquick qml6-module-qtquick-controls
  qml6-module-qtquick-layouts qml6-module-qtquick-templates qml6-module-qtquick-window
  qml6-module-qtqml-workerscript qml6-module-qtquick-shapes
  qt6-qpa-plugins qt6-wayland libqt6svg6 breeze-icon-theme fonts-inter)
list(JOIN PARCELO_RUNTIME_PACKAGES ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
include(CPack)
