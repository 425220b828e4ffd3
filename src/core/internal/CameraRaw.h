// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <filesystem>

// Camera RAW files built on TIFF (DNG, NEF, CR2, ARW, PEF, SRW, 3FR, ERF …) open as TIFF, and the
// TIFF loader would show the small preview stored in their first directory. They are not
// supported images, whatever their file name says.
namespace parcelo::detail {

// True when a file that starts like a TIFF is a camera's raw sensor file: Canon's "CR" mark after
// the header, a DNG version tag, a directory of colour-filter-array or linear raw pixels or of a
// camera maker's own compression, or a first directory that is only the reduced-size preview of
// an image kept in a sub-directory.
bool isCameraRaw(const std::filesystem::path& path);

}  // namespace parcelo::detail
