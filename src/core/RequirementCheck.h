// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "FitSettings.h"

// Whether a file already meets the requirements as it is, so that it can be uploaded unchanged.
namespace parcelo {

// The kinds of metadata that a copy never carries.
struct SourceMetadata {
    bool exif = false;
    bool gps = false;  // location tags, kept inside the EXIF block
    bool xmp = false;
    bool iptc = false;
    bool comments = false;

    [[nodiscard]] bool any() const { return exif || gps || xmp || iptc || comments; }
};

// What a file is, as far as the requirements and a copy's promises look at it.
struct SourceFacts {
    std::string format;  // "jpeg", "png", "heic", "heif", "tiff", "bmp" or "gif"
    std::int64_t bytes = 0;
    std::int64_t width = 0;  // upright: after its orientation is applied
    std::int64_t height = 0;
    std::int64_t dpi = 0;  // the resolution it states, in whole dots per inch; 0 when none
    int orientation = 1;  // as recorded; 1 is upright
    SourceMetadata metadata;
    bool sRGB = true;  // no colour profile, or an sRGB one; never CMYK
};

// The conditions a file may fail, in the order they are told.
enum class Requirement { format, bytes, minimum, pixels, resolution, upright, metadata, colour };

// Reads the file's facts from the file system and its header, and its pixels once, small, with
// the same refusals as a fit, damage included. Throws FitError (unreadable, tooLarge, multipleFrames).
SourceFacts inspectSource(const std::filesystem::path& path);

// The conditions the file fails: JPEG or PNG as the format allows, at most the size limit and at
// least the minimum size, the longest edge within the maximum edge or exactly the exact size, the
// resolution asked for, upright, no metadata, sRGB.
// Empty when it meets the requirements as it is.
std::vector<Requirement> unmetRequirements(const SourceFacts& facts, const FitSettings& settings);

// The first five of those, which every fitted copy is held to when it is verified: format, size
// limit, minimum, pixels and resolution. A copy is upright, bare and sRGB by how it is made.
std::vector<Requirement> unmetLimits(const SourceFacts& facts, const FitSettings& settings);

}  // namespace parcelo
