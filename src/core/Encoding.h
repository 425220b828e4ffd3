// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <vips/vips8>

#include "FitGeometry.h"

// Turning rendered bitmaps into files, and telling whether a bitmap has transparency.
namespace parcelo::detail {

// The JPEG encoder's 1–100 setting for a quality on the 0–1 scale; monotone.
int jpegQualitySetting(double quality);

// Encodes the bitmap as one PNG or JPEG file with no metadata of the source (no EXIF, GPS,
// XMP, IPTC or profile: the pixels are already sRGB and upright). Throws FitError(cannotEncode).
std::vector<std::uint8_t> encode(const vips::VImage& image, bool png, double quality);

// The very file `encode` makes, or nothing as soon as more than byteLimit bytes of it have been
// written: the encoder writes the file from its start, so a file known to be too big is left
// unfinished. Throws FitError(cannotEncode).
std::optional<std::vector<std::uint8_t>> encodeWithin(const vips::VImage& image, bool png, double quality,
                                                      std::int64_t byteLimit);

// No file of this many pixels encodes smaller: a bound that holds for every picture, so a size
// above the limit need not be encoded. A baseline JPEG codes at least two Huffman symbols of at
// least one bit for every 8 × 8 block (luminance, and two chroma blocks per 16 × 16 at the most
// subsampling); a PNG's deflate stream needs at least two bits per 258 bytes of filtered rows.
std::int64_t smallestEncodedBytes(geometry::PixelSize size, bool png, bool alpha);

// True when any pixel is not fully opaque: one alpha of 254 anywhere counts. A bitmap
// without an alpha band is never looked at.
bool containsTransparency(const vips::VImage& image);

}  // namespace parcelo::detail
