// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <vips/vips8>

#include "CropPosition.h"
#include "FitGeometry.h"

// Drawing the decoded source into the bitmap that gets encoded: sRGB, 8 bits, either with
// its alpha (premultiplied while resampling) or flattened onto white. Every size is
// resampled from the decoded bitmap itself, never from an already shrunk one.
namespace parcelo::detail {

// The whole decoded image at `size` (its own size: no resampling). Throws FitError(cannotEncode).
vips::VImage renderAtSize(const vips::VImage& decoded, geometry::PixelSize size, bool keepAlpha);

// An opaque image at its own size, as it is encoded, computed while the source is still being
// decoded: the same pixels as renderAtSize gives for it once decoded.
vips::VImage renderStreamed(const vips::VImage& scaled);

// The decoded image scaled to cover the exact frame and cut at the crop position.
// Throws FitError(cannotEncode).
vips::VImage renderCover(const vips::VImage& decoded, geometry::PixelSize exact, CropPosition crop,
                         bool keepAlpha);

// The decoded image as display pixels: sRGB with an alpha band.
vips::VImage withAlphaForDisplay(const vips::VImage& decoded);

}  // namespace parcelo::detail
