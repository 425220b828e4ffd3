// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <vector>

#include <vips/vips8>

#include "CancellationCheck.h"
#include "CropPosition.h"
#include "FitError.h"
#include "FitGeometry.h"

// The search for the best copy of a decoded image: the largest size first, and at that size
// the highest JPEG quality, that meets the byte limit.
namespace parcelo::detail {

struct Found {
    std::vector<std::uint8_t> data;
    geometry::PixelSize size;
    int setting = 0;  // the JPEG encoder's setting of the file (PNG: 0)
};

// Whether the first-quality file at the decoded size is likely to fit, the limit being generous
// for the number of pixels: then it is worth encoding while the source is still being decoded.
bool startsAtFirstQuality(geometry::PixelSize size, std::int64_t targetBytes);

// The first-quality JPEG of an opaque image encoded while it is still being decoded, so the two
// overlap and the pixels are never held whole. Nothing when decoding failed: the caller's full
// decode then reports the file.
std::optional<std::vector<std::uint8_t>> encodeStreamedAtFirstQuality(const vips::VImage& scaled);

// Size mode: the decoded size first, then each size 0.8 times as large, down to the smallest
// useful edge. Throws FitError (targetUnreachable, cannotEncode) or CancellationError.
// firstQualityBytes: the size of the first-quality file at the decoded size when it is already
// known to be too big.
Found searchSizes(const vips::VImage& decoded, std::int64_t targetBytes, bool usePNG, bool keepAlpha,
                  std::optional<std::int64_t> firstQualityBytes, const std::stop_token& stopToken);

// Exact mode: the one frame cut at the crop position; never a smaller copy. Throws FitError
// (exactTargetUnreachable, cannotEncode) or CancellationError.
Found searchExact(const vips::VImage& decoded, geometry::PixelSize exact, CropPosition crop, std::int64_t targetBytes,
                  bool usePNG, bool keepAlpha, const std::stop_token& stopToken);

}  // namespace parcelo::detail
