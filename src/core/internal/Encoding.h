// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <vector>

#include <vips/vips8>

#include "FitGeometry.h"
#include "JpegTrial.h"

// Turning rendered bitmaps into files, and telling whether a bitmap has transparency.
namespace parcelo::detail {

// The JPEG encoder's 1–100 setting for a quality on the 0–1 scale; monotone.
int jpegQualitySetting(double quality);

// How a JPEG of this many pixels is encoded at this quality.
JpegTrialSettings jpegTrialSettings(geometry::PixelSize size, double quality);

// Encodes the bitmap as one PNG or JPEG file with no metadata of the source (no EXIF, GPS,
// XMP, IPTC or profile: the pixels are already sRGB and upright). A JPEG starts with a standard
// JFIF header and a PNG carries a physical-size chunk, both saying a 1:1 pixel aspect and no
// unit until stampResolution writes one. Throws FitError(cannotEncode).
std::vector<std::uint8_t> encode(const vips::VImage& image, bool png, double quality);

// The very file `encode` makes, or nothing as soon as more than byteLimit bytes of it have been
// written: the encoder writes the file from its start, so a file known to be too big is left
// unfinished. Throws FitError(cannotEncode).
std::optional<std::vector<std::uint8_t>> encodeWithin(const vips::VImage& image, bool png, double quality,
                                                      std::int64_t byteLimit);

// The JPEG file `encode` makes of an image still being computed (decoded, converted), written by
// libvips as its pipeline computes it, so that the two overlap and the pixels are never held whole.
std::vector<std::uint8_t> encodeWhileRendering(const vips::VImage& image, double quality);

// Writes the resolution, in dots per inch, into the header that encode wrote, in place: the
// file keeps its length, so a copy that fitted still fits.
void stampResolution(std::vector<std::uint8_t>& file, bool png, std::int64_t dpi);

// The resolution a file states, in whole dots per inch; 0 when it states none (or only an
// aspect). libvips reads a PNG's physical size without its unit, so a PNG's chunks are read
// from `png`, which is the file from its start; `png` is not used for other files.
std::int64_t statedDpi(const vips::VImage& header, bool isPNG, std::istream& png);

// No file of this many pixels encodes smaller: a bound that holds for every picture, so a size
// above the limit need not be encoded. A baseline JPEG codes at least two Huffman symbols of at
// least one bit for every 8 × 8 block (luminance, and two chroma blocks per 16 × 16 at the most
// subsampling); a PNG's deflate stream needs at least two bits per 258 bytes of filtered rows.
std::int64_t smallestEncodedBytes(geometry::PixelSize size, bool png, bool alpha);

// True when any pixel is not fully opaque: one alpha of 254 anywhere counts. A bitmap
// without an alpha band is never looked at.
bool containsTransparency(const vips::VImage& image);

}  // namespace parcelo::detail
