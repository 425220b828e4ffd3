// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

#include <vips/vips8>

#include "FitGeometry.h"
#include "ImageFitter.h"

// Opening a user's file safely: what it is, how big it is, and its pixels at a bounded size.
namespace parcelo::detail {

// The seven container types a source may be.
enum class SourceType { jpeg, png, gif, tiff, bmp, heic, heif };

// Recognises a container from its first bytes (at least 32 are best). HEIF-family files are
// told apart by their ftyp brands; AVIF is not accepted as HEIF.
std::optional<SourceType> sniffSourceType(std::span<const std::uint8_t> head);

// HEIC and HEIF: decoded by libde265, which prints some errors to the standard error itself.
inline bool isHeifFamily(SourceType type) { return type == SourceType::heic || type == SourceType::heif; }

struct ValidatedSource {
    std::filesystem::path path;
    SourceType type = SourceType::jpeg;
    std::int64_t fileSize = 0;
    geometry::PixelSize stored;  // before any orientation is applied
    std::optional<int> orientation;
    bool colourManaged = false;  // carries a colour profile, or is CMYK: its pixels need converting to sRGB
    bool sixteenBit = false;
    // A JPEG whose decoder warns only of slips that leave every pixel intact (stray bytes
    // before a marker): decoded failing on errors and truncation only.
    bool harmlessWarnings = false;
};

// Checks type, byte and pixel limits and frame count from the file system and the header
// alone. Throws FitError (unreadable, tooLarge, multipleFrames).
ValidatedSource validatedSource(const std::filesystem::path& path);

// The header of the source's image 0 with its metadata, read by the loader of its sniffed type
// alone. Throws FitError(unreadable).
vips::VImage readHeader(const ValidatedSource& source);

// Image 0 upright, in 8-bit sRGB, with its longer edge at most maxEdge, described but not yet
// decoded: its pixels are produced as they are read. Throws FitError(unreadable).
vips::VImage openScaled(const ValidatedSource& source, std::int64_t maxEdge);

// Decodes an image from openScaled into memory. Throws FitError(unreadable).
vips::VImage decodeNow(const vips::VImage& scaled);

// Decodes image 0 upright, in 8-bit sRGB (alpha kept when present), with its longer edge at
// most maxEdge, and holds the pixels in memory. Throws FitError(unreadable).
vips::VImage scaledDecode(const ValidatedSource& source, std::int64_t maxEdge);

// The scaled decode of image 0, upright, as packed 8-bit sRGB RGBA bytes for display.
// Throws FitError(unreadable).
Bitmap displayDecode(const ValidatedSource& source, std::int64_t maxEdge);

// Whether the bitmap's last band is alpha (grey + alpha, or RGB + alpha).
bool hasAlphaBand(const vips::VImage& image);

}  // namespace parcelo::detail
