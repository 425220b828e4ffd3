// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <vector>

#include <vips/vips8>

// Turning rendered bitmaps into files, and telling whether a bitmap has transparency.
namespace parcelo::detail {

// The JPEG encoder's 1–100 setting for a quality on the 0–1 scale; monotone.
int jpegQualitySetting(double quality);

// Encodes the bitmap as one PNG or JPEG file with no metadata of the source (no EXIF, GPS,
// XMP, IPTC or profile: the pixels are already sRGB and upright). Throws FitError(cannotEncode).
std::vector<std::uint8_t> encode(const vips::VImage& image, bool png, double quality);

// True when any pixel is not fully opaque: one alpha of 254 anywhere counts. A bitmap
// without an alpha band is never looked at.
bool containsTransparency(const vips::VImage& image);

}  // namespace parcelo::detail
